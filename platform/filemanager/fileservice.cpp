#include "fileservice.h"

#include "imlog.h"
#include "sha256stream_p.h"

#include <QBuffer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <chrono>
#include <thread>

using filemanager::detail::isFileId;
using filemanager::detail::kChunkSize;
using filemanager::detail::Sha256Stream;

namespace {

// How long a held or delayed upload sleeps between two looks at its
// cancellation check.
constexpr std::chrono::milliseconds kSlice(5);

QString incomingDir(const QString& dir)
{
    return QDir(dir).filePath(QStringLiteral("incoming"));
}

void logLine(const QString& text)
{
    ImLog::instance()->error(text);
}

} // namespace

FileService::FileService(const QString& directory)
    : m_dir(QDir::cleanPath(QFileInfo(directory).absoluteFilePath()))
{
    QDir().mkpath(m_dir);
    // Left-overs of uploads that never finished.
    QDir incoming(incomingDir(m_dir));
    if (incoming.exists())
        incoming.removeRecursively();
    QDir().mkpath(incomingDir(m_dir));

    // Files stored by an earlier service on this directory.
    const QStringList buckets =
        QDir(m_dir).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& bucket : buckets) {
        if (bucket.size() != 2)
            continue;
        const QStringList files = QDir(QDir(m_dir).filePath(bucket)).entryList(QDir::Files);
        for (const QString& name : files) {
            if (isFileId(name) && name.startsWith(bucket))
                m_ids.insert(name);
        }
    }
}

FileService::~FileService() = default;

QString FileService::storedPath(const QString& fileId) const
{
    if (!isFileId(fileId))
        return QString();
    return QDir(m_dir).filePath(fileId.left(2) + QLatin1Char('/') + fileId);
}

FileService::UploadResult FileService::upload(const QString& fileId, const QString& localPath,
                                              const CancelCheck& cancelled, const ProgressReport& progress)
{
    QFile file(localPath);
    if (!file.open(QIODevice::ReadOnly)) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            ++m_attempts;
        }
        logLine(QStringLiteral("file service: cannot read %1: %2").arg(localPath, file.errorString()));
        return UploadFailed;
    }
    return store(fileId, &file, cancelled, progress);
}

FileService::UploadResult FileService::uploadData(const QString& fileId, const QByteArray& bytes,
                                                  const CancelCheck& cancelled)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return store(fileId, &buffer, cancelled);
}

FileService::UploadResult FileService::beforeStoring(const CancelCheck& cancelled)
{
    const auto isCancelled = [&cancelled] { return cancelled && cancelled(); };

    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_hold) {
        const quint64 generation = m_releaseGeneration;
        ++m_held;
        m_changed.notify_all();
        bool stop = false;
        while (m_hold && m_releaseGeneration == generation) {
            lock.unlock();
            stop = isCancelled();
            lock.lock();
            if (stop)
                break;
            m_changed.wait_for(lock, kSlice);
        }
        --m_held;
        m_changed.notify_all();
        if (stop)
            return UploadCancelled;
    }

    const auto delay = std::chrono::milliseconds(m_delayMs);
    lock.unlock();
    const auto end = std::chrono::steady_clock::now() + delay;
    while (std::chrono::steady_clock::now() < end) {
        if (isCancelled())
            return UploadCancelled;
        std::this_thread::sleep_for(kSlice);
    }
    if (isCancelled())
        return UploadCancelled;

    lock.lock();
    if (m_failNext > 0) {
        --m_failNext;
        return UploadFailed;
    }
    return UploadOk;
}

FileService::UploadResult FileService::store(const QString& fileId, QIODevice* source,
                                             const CancelCheck& cancelled, const ProgressReport& progress)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_attempts;
    }
    if (!isFileId(fileId)) {
        logLine(QStringLiteral("file service: refused the malformed file id \"%1\"").arg(fileId));
        return UploadFailed;
    }

    const UploadResult gate = beforeStoring(cancelled);
    if (gate != UploadOk)
        return gate;

    QTemporaryFile temp(QDir(incomingDir(m_dir)).filePath(QStringLiteral("upload-XXXXXX")));
    if (!QDir().mkpath(incomingDir(m_dir)) || !temp.open()) {
        logLine(QStringLiteral("file service: cannot write to %1").arg(incomingDir(m_dir)));
        return UploadFailed;
    }

    Sha256Stream hash;
    QByteArray buffer(kChunkSize, Qt::Uninitialized);
    qint64 stored = 0;
    if (progress)
        progress(0);
    for (;;) {
        if (cancelled && cancelled())
            return UploadCancelled;
        const qint64 n = source->read(buffer.data(), buffer.size());
        if (n < 0) {
            logLine(QStringLiteral("file service: reading the upload of %1 failed").arg(fileId));
            return UploadFailed;
        }
        if (n == 0)
            break;
        hash.update(buffer.constData(), n);
        if (temp.write(buffer.constData(), n) != n) {
            logLine(QStringLiteral("file service: writing the upload of %1 failed").arg(fileId));
            return UploadFailed;
        }
        stored += n;
        if (progress)
            progress(stored);
    }
    if (!temp.flush())
        return UploadFailed;

    const QString digest = hash.finalHex();
    if (digest != fileId) {
        logLine(QStringLiteral("file service: refused an upload whose bytes hash to %1 under the id %2")
                    .arg(digest, fileId));
        return UploadHashMismatch;
    }

    const QString target = storedPath(fileId);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ids.contains(fileId) && QFileInfo::exists(target))
        return UploadOk; // the same bytes are already stored; the copy goes away
    if (!QDir().mkpath(QFileInfo(target).absolutePath())) {
        logLine(QStringLiteral("file service: cannot create %1").arg(QFileInfo(target).absolutePath()));
        return UploadFailed;
    }
    QFile::remove(target);
    temp.close();
    if (!temp.rename(target)) {
        logLine(QStringLiteral("file service: cannot store %1: %2").arg(target, temp.errorString()));
        return UploadFailed;
    }
    temp.setAutoRemove(false);
    m_ids.insert(fileId);
    return UploadOk;
}

bool FileService::contains(const QString& fileId) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ids.contains(fileId);
}

QByteArray FileService::read(const QString& fileId) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_ids.contains(fileId))
        return QByteArray();
    QFile file(storedPath(fileId));
    if (!file.open(QIODevice::ReadOnly)) {
        logLine(QStringLiteral("file service: cannot read the stored %1").arg(fileId));
        return QByteArray();
    }
    QByteArray bytes = file.readAll();
    if (bytes.isNull())
        bytes = QByteArray(""); // held but empty: not null
    return bytes;
}

bool FileService::remove(const QString& fileId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_ids.contains(fileId))
        return false;
    const QString path = storedPath(fileId);
    if (QFileInfo::exists(path) && !QFile::remove(path)) {
        logLine(QStringLiteral("file service: cannot delete %1").arg(path));
        return false;
    }
    m_ids.remove(fileId);
    return true;
}

int FileService::count() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return int(m_ids.size());
}

void FileService::failNextUploads(int n)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_failNext = qMax(0, n);
}

void FileService::setUploadDelay(int ms)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_delayMs = qMax(0, ms);
}

void FileService::holdUploads(bool hold)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_hold = hold;
    m_changed.notify_all();
}

void FileService::releaseHeld()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_releaseGeneration;
    m_changed.notify_all();
}

int FileService::heldCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_held;
}

bool FileService::waitForHeld(int n, int timeoutMs) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [this, n] { return m_held >= n; });
}

int FileService::uploadAttempts() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_attempts;
}
