#pragma once

#include <QMutex>
#include <QString>
#include <QStringList>

// The host log. Every line goes to the log file in the data directory (once
// one is set) and to stderr (unless switched off), and the most recent lines
// are kept in memory so that tests can read what was logged.
class ImLog
{
public:
    static ImLog* instance();

    void error(const QString& text);

    // Directory that holds "im.log"; an empty path writes no file.
    void setLogDirectory(const QString& dir);
    QString logFilePath() const;
    void setEchoToStderr(bool echo);

    // The last lines logged (text only, without time stamp), oldest first.
    QStringList recentLines() const;
    void clearRecentLines();

private:
    ImLog() = default;

    mutable QMutex m_mutex;
    QString m_dir;
    bool m_echo = true;
    QStringList m_recent;
};
