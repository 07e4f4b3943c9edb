#pragma once

#include <QByteArray>
#include <QList>
#include <QMetaObject>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class AccountCommand;
class ReminderServer;
struct ReminderServerHub;

// One device's connection to a ReminderServer, living on the thread of the
// client that uses it. A host wires it to the account: attach() feeds it
// the account command's requests, and its signals carry the server's
// answers, always emitted on the session's own thread. Requests reach the
// server as a remind id and a copy of the serialised bytes, nothing else.
//
// A session may outlive its server; it then sends nothing and receives
// nothing.
class ReminderServerSession : public QObject
{
    Q_OBJECT
public:
    ReminderServerSession(ReminderServer* server, qint64 accountId, qint64 deviceId,
                          QObject* parent = nullptr);
    ~ReminderServerSession() override;

    qint64 accountId() const { return m_accountId; }
    qint64 deviceId() const { return m_deviceId; }
    // True while the server exists.
    bool isConnected() const;

    // Connects the command's reminderUpdateRequested and
    // reminderDeleteRequested signals to sendUpdate and sendDelete, queued.
    // A session is attached to one command at a time.
    void attach(AccountCommand* command);
    void detach();

public slots:
    void sendUpdate(const QString& remindId, const QByteArray& data);
    void sendDelete(const QStringList& remindIds);
    // Asks for every reminder of the account: listed for each, then
    // listFinished.
    void requestList();

signals:
    // The answer to one update.
    void syncFinished(const QString& remindId, const QByteArray& data, int code);
    // One reminder of a listing; empty data for a deleted one.
    void listed(const QString& remindId, const QByteArray& data);
    void listFinished();
    // A request (update, deletion or listing) was handed to the server.
    void requestSent();

private:
    friend class ReminderServer;

    // Posts `task` to the server under the hub's lock; false without server.
    template <typename F>
    bool toServer(F task);

    const qint64 m_accountId;
    const qint64 m_deviceId;
    std::shared_ptr<ReminderServerHub> m_hub;
    quint64 m_id = 0;
    QList<QMetaObject::Connection> m_connections;
};
