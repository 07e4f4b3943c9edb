#include "accountbase.h"

#include "accountcommand.h"
#include "contactbase.h"
#include "contentcipher.h"
#include "dialogbase.h"
#include "networksubject.h"
#include "sharedpreferencebase.h"
#include "threadmanager.h"
#include "usermanager.h"
#include "userstorageprovider.h"

#include "synclocker.h"

#include <QCoreApplication>
#include <QDir>

AccountBase::AccountBase(qint64 accountId, qint64 deviceId, const QString& dataDir,
                         const QByteArray& accountKey, QObject* parent, StorageOpening storageOpening)
    : QObject(parent),
      m_accountId(accountId),
      m_deviceId(deviceId),
      m_dataDir(dataDir),
      m_cipher(new ContentCipher(accountKey)),
      m_storage(new storage::UserStorageProvider(dataDir, accountId,
                                                 storageOpening == StorageOpening::Now
                                                     ? storage::UserStorageProvider::Opening::Now
                                                     : storage::UserStorageProvider::Opening::OnFirstUse)),
      m_command(new AccountCommand(this)),
      m_preference(new SharedPreferenceBase(this)),
      m_users(new UserManager(this))
{
    m_ownUser = m_users->getUserPointer(accountId, false, QString(), true);
}

AccountBase::~AccountBase()
{
    // Storage tasks queued on the worker write to this account's database:
    // they finish before it closes. (Without an application object queued
    // tasks are no longer delivered; the worker was flushed when it ended.)
    if (QCoreApplication::instance())
        ThreadManager::getInstance()->waitForIdle();
}

QString AccountBase::cacheDirectory() const
{
    return QDir(m_dataDir).filePath(QStringLiteral("accounts/%1/cache").arg(m_accountId));
}

storage::UserStorageProvider* AccountBase::storage() const
{
    return m_storage.get();
}

QByteArray AccountBase::encrypt(const QByteArray& plain, QByteArray& key) const
{
    return m_cipher->encrypt(plain, key);
}

QByteArray AccountBase::decrypt(const QByteArray& data, const QByteArray& key) const
{
    return m_cipher->decrypt(data, key);
}

qint64 AccountBase::currentServerTime() const
{
    return network::NetworkSubject::instance()->currentDateTime();
}

AccountCommand* AccountBase::command() const
{
    return m_command;
}

FileManager* AccountBase::fileManager() const
{
    return m_fileManager;
}

SharedPreferenceBase* AccountBase::sharedPreference() const
{
    return m_preference;
}

QSharedPointer<ContactBase> AccountBase::ownUser() const
{
    return m_ownUser;
}

UserManager* AccountBase::userManager() const
{
    return m_users;
}

QSharedPointer<DialogBase> AccountBase::dialog(const QString& dialogId) const
{
    SyncLocker lock(&m_dialogMutex);
    auto& slot = m_dialogs[dialogId];
    if (!slot)
        slot.reset(new DialogBase(dialogId, m_users));
    return slot;
}

void AccountBase::requestRefresh()
{
    emit refreshRequested();
}

void AccountBase::setFileManager(FileManager* fileManager)
{
    m_fileManager = fileManager;
}

void AccountBase::setOwnNick(const QString& nick)
{
    m_ownUser->setNick(nick);
}
