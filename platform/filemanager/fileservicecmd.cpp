#include "fileservicecmd.h"

#include "fileservice.h"

FileServiceCmd::FileServiceCmd(FileService* service, QObject* parent)
    : QObject(parent)
    , m_service(service)
{
}

void FileServiceCmd::deleteFiles(const QStringList& ids)
{
    QStringList deleted;
    if (m_service) {
        for (const QString& id : ids) {
            if (id.isEmpty() || deleted.contains(id))
                continue;
            if (m_service->remove(id))
                deleted.append(id);
        }
    }
    emit filesDeleted(deleted);
}
