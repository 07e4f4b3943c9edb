#pragma once

#include <QList>
#include <QString>

#include <mutex>

struct sqlite3;

namespace storage {

// One local file known to the account: where it lies and what it is.
struct FileInfoRecord
{
    QString fileId;
    QString path;
    QString name;
    qint64 size = 0;
    QString sha256; // hex digest, empty when unknown
    bool thumb = false;
};

// The table file_info(file_id TEXT PRIMARY KEY, path, name, size, sha256,
// thumb) in an account's database.
//
// The store opens its own SQLite connection to the database file that it is
// given (normally UserStorageProvider::databasePath()), creates its table
// when missing and never moves, replaces or deletes the file: a database
// that cannot be opened leaves the store closed, every operation then fails
// (and is logged). Every operation may be called from any thread; the store
// serialises them on its own lock, and SQLite's busy time-out settles
// contention with the account's other connection.
class FileInfoStorage
{
public:
    explicit FileInfoStorage(const QString& databasePath);
    ~FileInfoStorage();
    FileInfoStorage(const FileInfoStorage&) = delete;
    FileInfoStorage& operator=(const FileInfoStorage&) = delete;

    bool isOpen() const;
    QString databasePath() const { return m_path; }

    // Inserts or replaces the records (by file id) in one transaction;
    // records without a file id are skipped. False when nothing was written.
    bool save(const QList<FileInfoRecord>& records);
    // The record with that id; false when there is none (or on error).
    bool info(const QString& fileId, FileInfoRecord* out);
    // Deletes the record; true when one was deleted.
    bool remove(const QString& fileId);
    // How many records there are; -1 on error.
    int count();

private:
    void logError(const char* what) const;

    const QString m_path;
    sqlite3* m_db = nullptr;
    mutable std::mutex m_mutex;
};

} // namespace storage
