#pragma once

#include <QAtomicInt>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <memory>

class AccountBase;
class FileManager;
class FileService;
class ReminderHandler;
class ReminderServer;
class ReminderServerSession;
class TimeChangeWatcher;

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

    enum class Load {
        Now,
        // Once startLoad() is called (a host that first puts up its
        // interface, so that the reading does not compete with it).
        Later,
    };

    // Signs in: loads the local reminders on a thread of their own, so
    // that the interface stays responsive; once the handler has taken them
    // in, emits loadedChanged() and lists the account from the server (the
    // handler starts sending when the listing has finished).
    void signIn(Load load = Load::Now);
    // Starts the load of a sign-in made with Load::Later; does nothing
    // when there is none (already started, or signed out since).
    void startLoad();
    // Lists again, as after a reconnection.
    void relist();
    // Drops the account's data from the handler (the store stays). A load
    // still running or still waiting to run takes nothing in.
    void signOut();
    // The local reminders of the current sign-in are in the list.
    bool isLoaded() const { return m_loaded; }
    // The machine woke up or the wall clock jumped: the remind timer aims
    // anew, and everything that fell due meanwhile is notified at once, as
    // one list.
    void catchUpWithTheClock();
    // The system time zone changed: every pending reminder keeps its local
    // date and time of day (09:00 stays 09:00 in the new zone), then the
    // timer catches up as above.
    void followTimeZone(const QByteArray& oldZoneId, const QByteArray& newZoneId);

    // Catches up on every jump and wake the watcher reports, and follows
    // its time-zone changes. One watcher can serve every device.
    void followTimeChanges(TimeChangeWatcher* watcher);

    // Blocks until no load is running or waiting (tests, shutdown).
    void waitForLoads();
    // The interface's reminder pages are up: the remind timer is armed as
    // soon as the local reminders are in (at once when they already are).
    void setInterfaceReady();

signals:
    void loadedChanged();
    // Every listing from the server has been handed to the handler.
    void listFinished();

private:
    AccountBase* m_account = nullptr;
    std::unique_ptr<FileManager> m_files;
    ReminderServerSession* m_session = nullptr;
    ReminderHandler* m_handler = nullptr;
    // Runs the loads, one at a time.
    QThreadPool m_loader;
    // Counts sign-ins and sign-outs; a load belongs to the one it was
    // started by. Written on the interface thread, read by the loader.
    QAtomicInt m_signInGeneration;
    // The sign-in whose load waits for startLoad(); 0 when none.
    int m_heldLoad = 0;
    bool m_loaded = false;
    bool m_interfaceReady = false;
    // Until the first sign-in a host that loads the handler itself gets
    // every answer.
    bool m_acceptServer = true;

    void setLoaded(bool loaded);
    void runLoad(int generation);
};
