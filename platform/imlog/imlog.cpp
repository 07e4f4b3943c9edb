#include "imlog.h"

#include "synclocker.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <cstdio>

namespace {
constexpr int kRecentLimit = 1000;
const char kFileName[] = "im.log";
}

ImLog* ImLog::instance()
{
    // Function-local statics are initialised once, thread-safely.
    static ImLog* const log = [] {
        static ImLog instance;
        instance.m_echo = qEnvironmentVariable("IMLOG_QUIET") != QLatin1String("1");
        return &instance;
    }();
    return log;
}

void ImLog::error(const QString& text)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    const QByteArray line = (stamp + QLatin1String(" ERROR ") + text + QLatin1Char('\n')).toUtf8();

    SyncLocker lock(&m_mutex);
    if (!m_dir.isEmpty()) {
        QDir().mkpath(m_dir);
        QFile file(QDir(m_dir).filePath(QLatin1String(kFileName)));
        if (file.open(QIODevice::WriteOnly | QIODevice::Append)) {
            file.write(line);
            file.close();
        }
    }
    if (m_echo) {
        std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stderr);
        std::fflush(stderr);
    }
    m_recent.append(text);
    while (m_recent.size() > kRecentLimit)
        m_recent.removeFirst();
}

void ImLog::setLogDirectory(const QString& dir)
{
    SyncLocker lock(&m_mutex);
    m_dir = dir;
    if (!m_dir.isEmpty())
        QDir().mkpath(m_dir);
}

QString ImLog::logFilePath() const
{
    SyncLocker lock(&m_mutex);
    if (m_dir.isEmpty())
        return QString();
    return QDir(m_dir).filePath(QLatin1String(kFileName));
}

void ImLog::setEchoToStderr(bool echo)
{
    SyncLocker lock(&m_mutex);
    m_echo = echo;
}

QStringList ImLog::recentLines() const
{
    SyncLocker lock(&m_mutex);
    return m_recent;
}

void ImLog::clearRecentLines()
{
    SyncLocker lock(&m_mutex);
    m_recent.clear();
}
