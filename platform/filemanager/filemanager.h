#pragma once

#include <QMutex>
#include <QObject>
#include <QSet>
#include <QString>

// The account's file transfers. This first part keeps the registry of file
// ids that still have to be uploaded; the uploads themselves build on it.
class FileManager : public QObject
{
    Q_OBJECT
public:
    explicit FileManager(QObject* parent = nullptr);

    // Registers a file id as waiting for upload.
    void addUploadId(const QString& fileId);
    // Whether the file id is still registered for upload.
    bool isUploadRegistered(const QString& fileId) const;
    // Forgets a file id (its upload finished or was given up).
    void removeUploadId(const QString& fileId);

private:
    mutable QMutex m_mutex;
    QSet<QString> m_uploadIds;
};
