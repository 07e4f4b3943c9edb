#include "reminderserversession.h"

#include "accountcommand.h"
#include "reminderserver.h"
#include "reminderserverhub_p.h"

#include "crossthread.h"
#include "synclocker.h"

ReminderServerSession::ReminderServerSession(ReminderServer* server, qint64 accountId,
                                             qint64 deviceId, QObject* parent)
    : QObject(parent),
      m_accountId(accountId),
      m_deviceId(deviceId)
{
    if (!server)
        return;
    m_hub = server->m_hub;
    SyncLocker lock(&m_hub->mutex);
    m_id = ++m_hub->lastSessionId;
    m_hub->sessions.insert(m_id, this);
}

ReminderServerSession::~ReminderServerSession()
{
    detach();
    if (!m_hub)
        return;
    // After this no answer can be posted to the session; answers posted
    // before are discarded with the object.
    SyncLocker lock(&m_hub->mutex);
    m_hub->sessions.remove(m_id);
}

bool ReminderServerSession::isConnected() const
{
    if (!m_hub)
        return false;
    SyncLocker lock(&m_hub->mutex);
    return m_hub->server != nullptr;
}

void ReminderServerSession::attach(AccountCommand* command)
{
    detach();
    if (!command)
        return;
    m_connections << connect(command, &AccountCommand::reminderUpdateRequested, this,
                             &ReminderServerSession::sendUpdate, Qt::QueuedConnection);
    m_connections << connect(command, &AccountCommand::reminderDeleteRequested, this,
                             &ReminderServerSession::sendDelete, Qt::QueuedConnection);
}

void ReminderServerSession::detach()
{
    for (const QMetaObject::Connection& connection : std::as_const(m_connections))
        disconnect(connection);
    m_connections.clear();
}

template <typename F>
bool ReminderServerSession::toServer(F task)
{
    if (!m_hub)
        return false;
    SyncLocker lock(&m_hub->mutex);
    ReminderServer* server = m_hub->server;
    if (!server)
        return false;
    CrossThread::post(server, [server, task] { task(server); });
    return true;
}

void ReminderServerSession::sendUpdate(const QString& remindId, const QByteArray& data)
{
    // The server gets bytes of its own, as over a network.
    const QByteArray bytes(data.constData(), data.size());
    const quint64 id = m_id;
    const qint64 account = m_accountId;
    const qint64 device = m_deviceId;
    if (toServer([=](ReminderServer* server) {
            server->handleUpdate(id, account, device, remindId, bytes);
        }))
        emit requestSent();
}

void ReminderServerSession::sendDelete(const QStringList& remindIds)
{
    const qint64 account = m_accountId;
    const qint64 device = m_deviceId;
    if (toServer([=](ReminderServer* server) { server->handleDelete(account, device, remindIds); }))
        emit requestSent();
}

void ReminderServerSession::requestList()
{
    const quint64 id = m_id;
    const qint64 account = m_accountId;
    const qint64 device = m_deviceId;
    if (toServer([=](ReminderServer* server) { server->handleList(id, account, device); }))
        emit requestSent();
}
