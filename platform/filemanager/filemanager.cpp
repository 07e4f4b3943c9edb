#include "filemanager.h"

#include "basefile.h"
#include "contentitem.h"
#include "filedatamgr.h"
#include "fileitem.h"
#include "fileservice.h"
#include "fileservicecmd.h"
#include "imlog.h"
#include "mediasendermodel.h"
#include "userstorageprovider.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <atomic>

namespace {

void logLine(const QString& text)
{
    ImLog::instance()->error(text);
}

} // namespace

// One queued or running upload. The files are copied out of the content
// when the upload is queued, so the worker never touches the content.
struct FileManager::Task
{
    struct File
    {
        QString fileId;
        QString path;
    };
    QSharedPointer<UploadMultiFileFilter> filter;
    std::function<void(int, int)> callback;
    QString remindId;
    QList<File> files;
    std::atomic<bool> cancelled { false };
    std::atomic<int> cancelType { CancelNone };
};

FileManager::FileManager(FileService* service, storage::UserStorageProvider* storage,
                         QObject* parent)
    : QObject(parent)
    , m_service(service)
    , m_fileData(std::make_unique<FileDataMgr>(storage ? storage->databasePath() : QString()))
    , m_serviceCmd(new FileServiceCmd(service, this))
{
    m_worker = QThread::create([this] { workerLoop(); });
    m_worker->setObjectName(QStringLiteral("FileManager uploads"));
    m_worker->start();
}

FileManager::~FileManager()
{
    {
        std::lock_guard<std::mutex> lock(m_taskMutex);
        m_stopping = true;
        for (const auto& task : std::as_const(m_active)) {
            task->cancelType.store(CancelBySystem);
            task->cancelled.store(true);
        }
    }
    m_taskReady.notify_all();
    {
        // The worker's own word that it is done: everything it did happens
        // before this point (QThread::wait() alone does not say so to
        // ThreadSanitizer when the thread has already ended).
        std::unique_lock<std::mutex> lock(m_taskMutex);
        m_taskReady.wait(lock, [this] { return m_workerExited; });
    }
    m_worker->wait();
    delete m_worker;
    m_worker = nullptr;
}

void FileManager::addUploadId(const QString& fileId)
{
    if (fileId.isEmpty())
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_uploadIds.insert(fileId);
}

bool FileManager::isUploadRegistered(const QString& fileId) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_uploadIds.contains(fileId);
}

void FileManager::removeUploadId(const QString& fileId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_uploadIds.remove(fileId);
}

QSharedPointer<UploadMultiFileFilter> FileManager::makeFilter(QSharedPointer<ContentItem> content)
{
    const auto* file = qobject_cast<const FileItem*>(content.data());
    if (!file || !file->sourceFilePtr())
        return {};
    auto filter = QSharedPointer<UploadMultiFileFilter>::create();
    filter->content = content;
    return filter;
}

void FileManager::uploadMultiFile(QSharedPointer<UploadMultiFileFilter> filter, int options)
{
    Q_UNUSED(options);
    if (!filter)
        return;
    auto task = std::make_shared<Task>();
    task->filter = filter;
    task->callback = filter->callback;
    task->remindId = filter->remindId;
    if (const auto* file = qobject_cast<const FileItem*>(filter->content.data())) {
        if (file->validThumbFile()) {
            const auto thumb = file->thumbnailFilePtr();
            task->files.append({ thumb->fileId(), thumb->path() });
        }
        if (const auto source = file->sourceFilePtr())
            task->files.append({ source->fileId(), source->path() });
    }
    {
        std::lock_guard<std::mutex> lock(m_taskMutex);
        if (m_stopping) {
            // Handed in while the manager shuts down: it only reports.
            task->cancelType.store(CancelBySystem);
            task->cancelled.store(true);
        }
        m_queue.push_back(task);
        m_active.insert(task->remindId, task);
    }
    m_taskReady.notify_one();
}

void FileManager::cancelUpload(const QString& remindId, QSharedPointer<ContentItem> content,
                               CancelType type)
{
    Q_UNUSED(content);
    std::lock_guard<std::mutex> lock(m_taskMutex);
    for (auto it = m_active.constFind(remindId); it != m_active.constEnd() && it.key() == remindId;
         ++it) {
        it.value()->cancelType.store(type);
        it.value()->cancelled.store(true);
    }
}

int FileManager::activeUploadCount() const
{
    std::lock_guard<std::mutex> lock(m_taskMutex);
    return int(m_active.size());
}

QThread* FileManager::workerThread() const
{
    return m_worker;
}

void FileManager::workerLoop()
{
    for (;;) {
        std::shared_ptr<Task> task;
        {
            std::unique_lock<std::mutex> lock(m_taskMutex);
            m_taskReady.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
            if (m_queue.empty()) {
                // Stopping, and everything handed in has reported.
                m_workerExited = true;
                m_taskReady.notify_all();
                return;
            }
            task = m_queue.front();
            m_queue.pop_front();
        }

        const int code = runUpload(task);

        {
            std::lock_guard<std::mutex> lock(m_taskMutex);
            for (auto it = m_active.find(task->remindId);
                 it != m_active.end() && it.key() == task->remindId; ++it) {
                if (it.value() == task) {
                    m_active.erase(it);
                    break;
                }
            }
        }
        if (task->callback)
            task->callback(StageFinished, code);
        emit uploadEnded(task->remindId, code);
    }
}

int FileManager::runUpload(const std::shared_ptr<Task>& task)
{
    const auto cancelled = [&task] { return task->cancelled.load(); };
    if (cancelled())
        return UploadCancelled;
    if (!m_service) {
        logLine(QStringLiteral("file manager: no file service for the upload of %1")
                    .arg(task->remindId));
        return UploadFailed;
    }
    if (task->files.isEmpty()) {
        logLine(QStringLiteral("file manager: the upload of %1 has no file").arg(task->remindId));
        return UploadFailed;
    }

    qint64 total = 0;
    for (const Task::File& file : std::as_const(task->files))
        total += QFileInfo(file.path).size();
    qint64 before = 0; // bytes of the files already stored
    int percent = -1;
    const auto report = [this, &task, &before, &percent, total](qint64 stored) {
        const qint64 sent = qMin(total, before + stored);
        const int now = total > 0 ? int(sent * 100 / total) : 100;
        if (now == percent)
            return;
        percent = now;
        emit uploadProgress(task->remindId, sent, total);
    };
    // Under way, though the service may keep it waiting before any byte.
    report(0);
    for (const Task::File& file : std::as_const(task->files)) {
        if (file.fileId.isEmpty()) {
            logLine(QStringLiteral("file manager: %1 of %2 has no file id")
                        .arg(file.path, task->remindId));
            return UploadFailed;
        }
        switch (m_service->upload(file.fileId, file.path, cancelled, report)) {
        case FileService::UploadOk:
            before += QFileInfo(file.path).size();
            break;
        case FileService::UploadCancelled:
            return UploadCancelled;
        case FileService::UploadHashMismatch:
            logLine(QStringLiteral("file manager: %1 of %2 no longer matches its file id %3")
                        .arg(file.path, task->remindId, file.fileId));
            return UploadFailed;
        case FileService::UploadFailed:
            logLine(QStringLiteral("file manager: uploading %1 of %2 failed")
                        .arg(file.path, task->remindId));
            return UploadFailed;
        }
    }
    if (cancelled())
        return UploadCancelled;

    for (const Task::File& file : std::as_const(task->files))
        removeUploadId(file.fileId);
    if (task->callback)
        task->callback(StageFileIdsAssigned, 0);
    return UploadDone;
}

void FileManager::setCacheDirectory(const QString& dir)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_cacheDir = dir;
}

QString FileManager::cacheDirectory() const
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_cacheDir.isEmpty())
            return m_cacheDir;
    }
    return MediaSenderModel::getInstance()->cacheDirectory();
}

bool FileManager::isInCacheDirectory(const QString& path) const
{
    if (path.isEmpty())
        return false;
    const QString cache = QFileInfo(cacheDirectory()).canonicalFilePath();
    const QFileInfo info(path);
    if (cache.isEmpty() || !info.isFile())
        return false;
    const QString file = info.canonicalFilePath();
    return !file.isEmpty() && file.startsWith(cache + QLatin1Char('/'));
}

void FileManager::removeRecord(const QSharedPointer<BaseFile>& file)
{
    if (!file)
        return;
    const QString id = file->fileId();
    if (!id.isEmpty()) {
        m_fileData->removeFileInfo(id);
        removeUploadId(id);
    }
    const QString path = file->path();
    // A symbolic link is never followed into a deletion: only a regular
    // file that itself lies inside the cache directory is removed.
    if (isInCacheDirectory(path) && !QFileInfo(path).isSymLink() && !QFile::remove(path))
        logLine(QStringLiteral("file manager: cannot delete %1").arg(path));
}

void FileManager::removeThumbnailRecord(QSharedPointer<BaseFile> file)
{
    removeRecord(file);
}

void FileManager::removeSourceRecord(QSharedPointer<BaseFile> file)
{
    removeRecord(file);
}
