#include "filedatamgr.h"

#include "basefile.h"
#include "fileinfostorage.h"
#include "fileitem.h"

namespace {

storage::FileInfoRecord toRecord(const FileData& d)
{
    storage::FileInfoRecord r;
    r.fileId = d.fileId;
    r.path = d.path;
    r.name = d.name;
    r.size = d.size;
    r.sha256 = d.sha256;
    r.thumb = d.thumb;
    return r;
}

FileData fromRecord(const storage::FileInfoRecord& r)
{
    FileData d;
    d.fileId = r.fileId;
    d.path = r.path;
    d.name = r.name;
    d.size = r.size;
    d.sha256 = r.sha256;
    d.thumb = r.thumb;
    return d;
}

} // namespace

FileDataMgr::FileDataMgr(const QString& databasePath)
{
    if (databasePath.isEmpty())
        return;
    m_storage = std::make_unique<storage::FileInfoStorage>(databasePath);
    if (!m_storage->isOpen())
        m_storage.reset(); // logged by the store; records stay in memory
}

FileDataMgr::~FileDataMgr() = default;

bool FileDataMgr::isPersistent() const
{
    return m_storage != nullptr;
}

bool FileDataMgr::saveFileInfos(const QList<QSharedPointer<FileData>>& infos)
{
    QList<storage::FileInfoRecord> records;
    for (const auto& info : infos) {
        if (info && !info->fileId.isEmpty())
            records.append(toRecord(*info));
    }
    if (records.isEmpty())
        return false;
    if (m_storage)
        return m_storage->save(records);
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& r : records)
        m_memory.insert(r.fileId, fromRecord(r));
    return true;
}

QSharedPointer<FileData> FileDataMgr::fileInfo(const QString& fileId) const
{
    if (fileId.isEmpty())
        return {};
    if (m_storage) {
        storage::FileInfoRecord record;
        if (!m_storage->info(fileId, &record))
            return {};
        return QSharedPointer<FileData>::create(fromRecord(record));
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_memory.constFind(fileId);
    if (it == m_memory.constEnd())
        return {};
    return QSharedPointer<FileData>::create(it.value());
}

bool FileDataMgr::removeFileInfo(const QString& fileId)
{
    if (fileId.isEmpty())
        return false;
    if (m_storage)
        return m_storage->remove(fileId);
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_memory.remove(fileId) > 0;
}

QList<QSharedPointer<FileData>> FileDataMgr::recordsOf(const ContentItem* content)
{
    QList<QSharedPointer<FileData>> records;
    if (content)
        content->collectFileData(records);
    return records;
}
