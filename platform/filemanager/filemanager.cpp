#include "filemanager.h"

FileManager::FileManager(QObject* parent) : QObject(parent) {}

void FileManager::addUploadId(const QString& fileId)
{
    if (fileId.isEmpty())
        return;
    QMutexLocker lock(&m_mutex);
    m_uploadIds.insert(fileId);
}

bool FileManager::isUploadRegistered(const QString& fileId) const
{
    QMutexLocker lock(&m_mutex);
    return m_uploadIds.contains(fileId);
}

void FileManager::removeUploadId(const QString& fileId)
{
    QMutexLocker lock(&m_mutex);
    m_uploadIds.remove(fileId);
}
