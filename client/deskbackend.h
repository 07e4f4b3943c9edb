#pragma once

#include "devicesession.h"
#include "reminderitem.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <memory>

class DeskDevice;
class FileService;
class ReminderServer;
class TimeChangeWatcher;

// What the desktop client runs behind its windows: the reference reminder
// server and the file service in the data directory, and one signed-in
// device of the demo account per window, each in its own folder:
//
//   <data>/server.db       the server's database
//   <data>/files/          the file service's store
//   <data>/device-<n>/     device n's account data (database, cache)
//
// It routes what the host's AccountManager reports (notifications,
// withdrawn notifications, toasts) to the device they concern.
class DeskBackend : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 kAccountId = 1001;
    // The account's secret: every device derives the same content key.
    static QByteArray accountSecret();
    // <data>/device-<number>
    static QString deviceDirectory(const QString& dataDir, int number);

    // Creates the server, the file service and `deviceCount` devices (1 or
    // 2; device n has device id n). Nothing is loaded until signInAll().
    DeskBackend(const QString& dataDir, int deviceCount, QObject* parent = nullptr);
    ~DeskBackend() override;

    QString dataDirectory() const { return m_dataDir; }
    QList<DeskDevice*> devices() const { return m_devices; }
    DeskDevice* device(int index) const { return m_devices.value(index); }
    ReminderServer* server() const { return m_server.get(); }
    FileService* fileService() const { return m_files.get(); }

    // Signs every device in: loads its local reminders (at once, or with
    // Load::Later once startLoads() is called) and lists the account from
    // the server; allListed() follows once every device's first listing
    // is in.
    void signInAll(DeviceSession::Load load = DeviceSession::Load::Now);
    void startLoads();
    bool isAllListed() const;
    // The toast for a file the media parser refused (a FileUtil error).
    static QString attachErrorText(int code);

signals:
    void allListed();
    // A reminder fired on a device (for the desktop notification).
    void notified(DeskDevice* device, const QString& text);

private:
    void onNotified(const QVariantList& records);
    void onNotificationDeleted(qint64 accountId, const QString& remindId);
    void onError(const QString& text);

    QString m_dataDir;
    std::unique_ptr<ReminderServer> m_server;
    std::unique_ptr<FileService> m_files;
    QList<DeviceSession*> m_sessions;
    QList<DeskDevice*> m_devices;
    QList<bool> m_listed;
    // Wakes, clock jumps and time-zone changes, for every device.
    TimeChangeWatcher* m_clock = nullptr;
};
