#pragma once

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <memory>

namespace storage {
class UserStorageProvider;
}
class AccountCommand;
class ContactBase;
class ContentCipher;
class DialogBase;
class FileManager;
class SharedPreferenceBase;
class UserManager;

// One signed-in account on this device: its ids, its local storage, the
// cipher of its synchronised content, and the host services its models
// use. The virtual operations are the points where a host plugs in its own
// services; this class provides working defaults for every one of them
// except the file manager, which a host attaches with setFileManager().
class AccountBase : public QObject
{
    Q_OBJECT
    Q_PROPERTY(qint64 accountId READ accountId CONSTANT)
    Q_PROPERTY(qint64 deviceId READ deviceId CONSTANT)
public:
    enum class StorageOpening {
        Now,
        // The database is opened and checked by its first use, on that
        // use's thread (see storage::UserStorageProvider).
        OnFirstUse,
    };

    // accountKey: the account's 32-byte content key, the same on every
    // device of the account (see ContentCipher::deriveKey).
    AccountBase(qint64 accountId, qint64 deviceId, const QString& dataDir,
                const QByteArray& accountKey, QObject* parent = nullptr,
                StorageOpening storageOpening = StorageOpening::Now);
    ~AccountBase() override;

    qint64 accountId() const { return m_accountId; }
    qint64 deviceId() const { return m_deviceId; }
    QString dataDirectory() const { return m_dataDir; }
    // Files this account's models made themselves (converted copies,
    // thumbnails); nothing outside it is ever deleted by them.
    QString cacheDirectory() const;

    storage::UserStorageProvider* storage() const;

    // Encrypts synchronised content; `key` receives what decryption needs.
    QByteArray encrypt(const QByteArray& plain, QByteArray& key) const;
    // The plain bytes, or a null QByteArray when the data does not
    // authenticate. An empty plain text comes back empty but not null.
    QByteArray decrypt(const QByteArray& data, const QByteArray& key) const;

    // The current server-corrected time in ms since the epoch.
    virtual qint64 currentServerTime() const;
    // The channel that carries reminder requests to the server.
    virtual AccountCommand* command() const;
    // The file manager for uploads; null until the host attaches one.
    virtual FileManager* fileManager() const;
    virtual SharedPreferenceBase* sharedPreference() const;
    // The signed-in user.
    virtual QSharedPointer<ContactBase> ownUser() const;
    virtual UserManager* userManager() const;
    // The conversation with that id, made on first use.
    virtual QSharedPointer<DialogBase> dialog(const QString& dialogId) const;
    // Asks the host to refresh the account's data from the server (used on
    // an hourly tick while the application is not active).
    virtual void requestRefresh();

    void setFileManager(FileManager* fileManager);
    void setOwnNick(const QString& nick);

signals:
    void refreshRequested();

private:
    const qint64 m_accountId;
    const qint64 m_deviceId;
    const QString m_dataDir;
    std::unique_ptr<ContentCipher> m_cipher;
    std::unique_ptr<storage::UserStorageProvider> m_storage;
    AccountCommand* m_command = nullptr;
    SharedPreferenceBase* m_preference = nullptr;
    UserManager* m_users = nullptr;
    FileManager* m_fileManager = nullptr;
    QSharedPointer<ContactBase> m_ownUser;
    mutable QMutex m_dialogMutex;
    mutable QHash<QString, QSharedPointer<DialogBase>> m_dialogs;
};
