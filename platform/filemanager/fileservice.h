#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>

#include <condition_variable>
#include <functional>
#include <mutex>

class QIODevice;

// The reference file service: stores uploaded files content-addressed by
// their SHA-256 under its own directory, as <dir>/<first two hex digits>/<id>.
//
// Guarantees:
// - A file id is the 64 lower-case hex digits of the SHA-256 of the file's
//   bytes. An upload whose bytes do not hash to the id it names is refused
//   (UploadHashMismatch) and stores nothing; so is an id of another form.
// - The same bytes are stored once: uploading an id that is already held
//   verifies the bytes and succeeds without storing a second copy.
// - A stored file appears whole or not at all: bytes are written to a
//   temporary file under <dir>/incoming and renamed into place only after
//   they were verified. What a crash left in "incoming" is removed when a
//   service opens the directory; files already stored are found again.
// - Every operation may be called from any thread.
//
// For tests it can fail uploads on purpose, slow them down and hold them
// until released, so that a cancellation can meet an upload in flight.
class FileService
{
public:
    enum UploadResult {
        UploadOk = 0,
        // The local file could not be read, the store could not be
        // written, the id is malformed, or a failure was injected.
        UploadFailed,
        // The bytes do not hash to the file id.
        UploadHashMismatch,
        // The caller's cancellation check said so.
        UploadCancelled,
    };

    // Returns true when the upload is to stop; asked between chunks and
    // while an upload is held or delayed. Called without the service's
    // lock.
    using CancelCheck = std::function<bool()>;
    // Told how many bytes of the file are stored so far, after each chunk
    // (first with 0). Called without the service's lock.
    using ProgressReport = std::function<void(qint64 stored)>;

    explicit FileService(const QString& directory);
    ~FileService();
    FileService(const FileService&) = delete;
    FileService& operator=(const FileService&) = delete;

    QString directory() const { return m_dir; }

    // Stores the local file under `fileId`, read in chunks.
    UploadResult upload(const QString& fileId, const QString& localPath,
                        const CancelCheck& cancelled = CancelCheck(),
                        const ProgressReport& progress = ProgressReport());
    // Stores the bytes under `fileId`.
    UploadResult uploadData(const QString& fileId, const QByteArray& bytes,
                            const CancelCheck& cancelled = CancelCheck());

    bool contains(const QString& fileId) const;
    // The stored bytes; a null QByteArray when the id is not held.
    QByteArray read(const QString& fileId) const;
    // Deletes the stored file; true when one was deleted.
    bool remove(const QString& fileId);
    // How many files are stored.
    int count() const;
    // Where the file with that id is (or would be) stored; empty for an id
    // of the wrong form.
    QString storedPath(const QString& fileId) const;

    // Fault injection. The next `n` uploads fail (UploadFailed) after any
    // hold and delay.
    void failNextUploads(int n);
    // Each upload waits this long before storing, in slices of a few
    // milliseconds, stopping early when cancelled. 0 switches it off.
    void setUploadDelay(int ms);
    // While on, each upload that starts waits before storing until
    // releaseHeld() is called or holding is switched off (which releases
    // every held upload), or until it is cancelled.
    void holdUploads(bool hold);
    // Lets every upload held at this moment go on.
    void releaseHeld();
    // How many uploads are held right now.
    int heldCount() const;
    // Blocks until at least `n` uploads are held; false when that did not
    // happen within `timeoutMs`.
    bool waitForHeld(int n, int timeoutMs) const;
    // Uploads started so far, whatever their outcome.
    int uploadAttempts() const;

private:
    UploadResult store(const QString& fileId, QIODevice* source, const CancelCheck& cancelled,
                       const ProgressReport& progress = ProgressReport());
    // Hold, delay and injected failure, in that order.
    UploadResult beforeStoring(const CancelCheck& cancelled);

    const QString m_dir;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    QSet<QString> m_ids;
    int m_failNext = 0;
    int m_delayMs = 0;
    bool m_hold = false;
    quint64 m_releaseGeneration = 0;
    int m_held = 0;
    int m_attempts = 0;
};
