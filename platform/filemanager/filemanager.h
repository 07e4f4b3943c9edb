#pragma once

#include "canceltype.h"
#include "uploadmultifilefilter.h"

#include <QMultiHash>
#include <QObject>
#include <QSet>
#include <QSharedPointer>
#include <QString>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

class BaseFile;
class ContentItem;
class FileDataMgr;
class FileService;
class FileServiceCmd;
class QThread;
namespace storage {
class UserStorageProvider;
}

// The account's file transfers: the registry of file ids that still have
// to be uploaded, the uploads themselves (on the manager's own worker
// thread), the local file records and the requests to the file service.
//
// service: where uploads go and what fileServiceCmd() deletes from; not
// owned, must outlive the manager; null makes every upload fail (code 2).
// storage: the account's storage, whose database keeps the local file
// records (table file_info, see FileDataMgr); not owned, only its database
// path is read; null keeps the records in memory.
class FileManager : public QObject
{
    Q_OBJECT
public:
    // Final codes of an upload (the second argument of stage 1).
    enum UploadCode {
        UploadDone = 0,
        UploadFailed = 2,
        UploadCancelled = 3,
    };
    // Stages reported to UploadMultiFileFilter::callback.
    enum UploadStage {
        StageFileIdsAssigned = 0,
        StageFinished = 1,
    };

    explicit FileManager(FileService* service = nullptr,
                         storage::UserStorageProvider* storage = nullptr,
                         QObject* parent = nullptr);
    // Cancels every upload in flight or queued (each still reports stage 1
    // with code 3 on the worker) and joins the worker thread.
    ~FileManager() override;

    // Registers a file id as waiting for upload.
    void addUploadId(const QString& fileId);
    // Whether the file id is still registered for upload.
    bool isUploadRegistered(const QString& fileId) const;
    // Forgets a file id (its upload finished or was given up).
    void removeUploadId(const QString& fileId);

    // A request for uploading the content's files; null unless the content
    // is a FileItem with a source file. The caller fills in the callback
    // and the remind id.
    QSharedPointer<UploadMultiFileFilter> makeFilter(QSharedPointer<ContentItem> content);

    // Queues the upload and returns at once. The filter's callback and
    // remind id, and the files of its content, are taken now (on the
    // caller's thread; later changes have no effect): the thumbnail when
    // validThumbFile(), then the source file. On the worker each is read
    // and stored in the service under its file id, which the service
    // verifies. The callback is then called on the worker with (0, 0) and
    // (1, 0); on failure (unreadable file, no or empty file id, service
    // failure, hash mismatch) with (1, 2) only; when cancelled with (1, 3)
    // only. A finished upload removes its file ids from the registry; a
    // failed or cancelled one leaves them registered. Uploads run one at a
    // time, in the order queued. `options` is reserved (pass 0). A null
    // filter is ignored. Callbacks run without the manager's locks: they
    // may call back into it, but must not destroy it.
    void uploadMultiFile(QSharedPointer<UploadMultiFileFilter> filter, int options);

    // Cancels the running and queued uploads of that remind id; each then
    // reports (1, 3). The content and the type are for the log: uploads are
    // found by remind id. Unknown ids do nothing.
    void cancelUpload(const QString& remindId, QSharedPointer<ContentItem> content,
                      CancelType type);

    // How many uploads are queued or running.
    int activeUploadCount() const;
    // The thread the uploads and their callbacks run on.
    QThread* workerThread() const;

    // Used when a saved edit replaced an attachment: drop the file's local
    // record and its upload registration, and delete the local file when
    // it lies inside the cache directory (never a user's own file).
    virtual void removeThumbnailRecord(QSharedPointer<BaseFile> file);
    virtual void removeSourceRecord(QSharedPointer<BaseFile> file);

    // The directory of the application's own copies; removals delete only
    // inside it. Default: MediaSenderModel's cache directory.
    void setCacheDirectory(const QString& dir);

    QString cacheDirectory() const;
    // Whether `path` names an existing file inside the cache directory
    // (symbolic links resolved).
    bool isInCacheDirectory(const QString& path) const;

    FileDataMgr* fileDataMgr() const { return m_fileData.get(); }
    FileServiceCmd* fileServiceCmd() const { return m_serviceCmd; }
    FileService* fileService() const { return m_service; }

signals:
    // From the worker thread (queued to receivers elsewhere): how much of
    // the reminder's upload is stored, in bytes of all its files; sent at
    // the start (0), then whenever another whole percent is stored.
    void uploadProgress(const QString& remindId, qint64 sent, qint64 total);
    // The reminder's upload ended, with its final code (UploadCode).
    void uploadEnded(const QString& remindId, int code);

private:
    struct Task;
    void workerLoop();
    int runUpload(const std::shared_ptr<Task>& task);
    void removeRecord(const QSharedPointer<BaseFile>& file);

    FileService* const m_service;
    std::unique_ptr<FileDataMgr> m_fileData;
    FileServiceCmd* m_serviceCmd = nullptr;

    mutable std::mutex m_mutex; // the registry and the cache directory
    QSet<QString> m_uploadIds;
    QString m_cacheDir;

    mutable std::mutex m_taskMutex; // the queue and the active uploads
    std::condition_variable m_taskReady;
    std::deque<std::shared_ptr<Task>> m_queue;
    QMultiHash<QString, std::shared_ptr<Task>> m_active;
    bool m_stopping = false;
    bool m_workerExited = false;
    QThread* m_worker = nullptr;
};
