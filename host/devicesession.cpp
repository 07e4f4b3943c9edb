#include "devicesession.h"

#include "accountbase.h"
#include "contentcipher.h"
#include "filemanager.h"
#include "mediasendermodel.h"
#include "reminderhandler.h"
#include "reminderserversession.h"
#include "sharedpreferencebase.h"

DeviceSession::DeviceSession(ReminderServer* server, FileService* files, const QString& dataDir, qint64 accountId,
                             qint64 deviceId, const QByteArray& secret, QObject* parent)
    : QObject(parent)
{
    m_account = new AccountBase(accountId, deviceId, dataDir, ContentCipher::deriveKey(secret), this);
    m_files.reset(new FileManager(files, m_account->storage()));
    m_files->setCacheDirectory(m_account->cacheDirectory());
    m_account->setFileManager(m_files.get());

    m_session = new ReminderServerSession(server, accountId, deviceId, this);
    m_session->attach(m_account->command());

    // The account's parent-child tree owns the handler.
    m_handler = new ReminderHandler(m_account);
    connect(m_session, &ReminderServerSession::syncFinished, m_handler, &ReminderHandler::syncFinished);
    connect(m_session, &ReminderServerSession::listed, m_handler, &ReminderHandler::listAndNotif);
    connect(m_session, &ReminderServerSession::listFinished, this, [this] {
        m_account->sharedPreference()->finishList();
        emit listFinished();
    });
}

DeviceSession::~DeviceSession()
{
    m_session->detach();
    // The handler goes with the account; the file manager after both, as
    // the handler's uploads report to it.
    delete m_account;
    m_account = nullptr;
    m_files.reset();
}

void DeviceSession::signIn()
{
    MediaSenderModel::getInstance()->setCacheDirectory(m_account->cacheDirectory());
    m_handler->loadLocalData(false);
    m_session->requestList();
}

void DeviceSession::relist()
{
    m_account->sharedPreference()->restartList();
    m_session->requestList();
}

void DeviceSession::signOut()
{
    m_handler->prepareToClearData(false);
    m_handler->clearData(false);
}
