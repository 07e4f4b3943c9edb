#pragma once

#include <QObject>
#include <QStringList>

class FileService;

// Requests to the file service on behalf of the account.
class FileServiceCmd : public QObject
{
    Q_OBJECT
public:
    explicit FileServiceCmd(FileService* service, QObject* parent = nullptr);

    // Deletes the files from the service, at once, on the caller's thread;
    // then emits filesDeleted with the ids that the service held and
    // deleted (in the order given, each once). Empty and unknown ids are
    // skipped. The service keeps no reference counts: a file shared by
    // several messages (the same bytes) is gone for all of them.
    void deleteFiles(const QStringList& ids);

signals:
    void filesDeleted(const QStringList& ids);

private:
    FileService* const m_service;
};
