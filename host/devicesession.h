#pragma once

#include <QObject>
#include <QString>
#include <memory>

class AccountBase;
class FileManager;
class FileService;
class ReminderHandler;
class ReminderServer;
class ReminderServerSession;

// One device of an account, as the host runs it: the account on its data
// directory, a file manager uploading to the file service, a connection to
// the reminder server, and the reminder handler, wired so that the
// handler's requests reach the server and the server's answers and
// listings reach the handler on its thread.
class DeviceSession : public QObject
{
    Q_OBJECT
public:
    // dataDir: this device's own data directory; secret: the account's
    // secret (every device of the account derives the same content key).
    DeviceSession(ReminderServer* server, FileService* files, const QString& dataDir, qint64 accountId,
                  qint64 deviceId, const QByteArray& secret, QObject* parent = nullptr);
    ~DeviceSession() override;

    AccountBase* account() const { return m_account; }
    ReminderHandler* handler() const { return m_handler; }
    FileManager* fileManager() const { return m_files.get(); }
    ReminderServerSession* serverSession() const { return m_session; }

    // Loads the local reminders, then lists the account from the server
    // (the handler starts sending when the listing has finished).
    void signIn();
    // Lists again, as after a reconnection.
    void relist();
    // Drops the account's data from the handler (the store stays).
    void signOut();

signals:
    // Every listing from the server has been handed to the handler.
    void listFinished();

private:
    AccountBase* m_account = nullptr;
    std::unique_ptr<FileManager> m_files;
    ReminderServerSession* m_session = nullptr;
    ReminderHandler* m_handler = nullptr;
};
