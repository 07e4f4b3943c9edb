#pragma once

#include "filedata.h"

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QString>

#include <memory>
#include <mutex>

class ContentItem;
namespace storage {
class FileInfoStorage;
}

// The account's local file records, by file id.
//
// With a database path the records live in the table file_info of that
// database (storage::FileInfoStorage, normally the account's own database,
// UserStorageProvider::databasePath()) and outlive the process; without
// one, or when the database cannot be opened, they are kept in memory only.
// Writes are synchronous. Every operation may be called from any thread.
class FileDataMgr
{
public:
    explicit FileDataMgr(const QString& databasePath = QString());
    ~FileDataMgr();
    FileDataMgr(const FileDataMgr&) = delete;
    FileDataMgr& operator=(const FileDataMgr&) = delete;

    // Whether the records are kept in a database.
    bool isPersistent() const;

    // Inserts or replaces the records by file id; null records and records
    // without a file id are skipped. False when nothing was stored.
    bool saveFileInfos(const QList<QSharedPointer<FileData>>& infos);
    // The record of that file id, or null.
    QSharedPointer<FileData> fileInfo(const QString& fileId) const;
    // Drops the record; true when there was one.
    bool removeFileInfo(const QString& fileId);

    // The records of a content's files (for a FileItem: its source file and
    // its thumbnail, each when it has a file id); empty for other contents.
    static QList<QSharedPointer<FileData>> recordsOf(const ContentItem* content);

private:
    std::unique_ptr<storage::FileInfoStorage> m_storage;
    mutable std::mutex m_mutex;
    QHash<QString, FileData> m_memory;
};
