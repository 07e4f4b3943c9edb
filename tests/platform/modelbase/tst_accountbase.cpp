#include "accountbase.h"
#include "accountcommand.h"
#include "contactbase.h"
#include "contentcipher.h"
#include "dialogbase.h"
#include "filemanager.h"
#include "networksubject.h"
#include "sharedpreferencebase.h"
#include "usermanager.h"
#include "userstorageprovider.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>
#include <vector>

namespace {

const QByteArray kAccountKey = ContentCipher::deriveKey(QByteArrayLiteral("secret of account 42"));
const QByteArray kOtherKey = ContentCipher::deriveKey(QByteArrayLiteral("secret of account 43"));
constexpr qint64 kOneMinuteMs = 60 * 1000;

} // namespace

class TestAccountBase : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void ids();
    void cacheDirectoryUnderDataDir();
    void storageOpensDatabaseInDataDir();
    void twoAccountsInOneDataDir();

    void twoDevicesOfOneAccountShareContent_data();
    void twoDevicesOfOneAccountShareContent();
    void otherKeyCannotDecrypt();
    void invalidKeyDoesNotEncrypt();

    void currentServerTimeFollowsFixedClock();

    void commandEmitsUpdate();
    void commandEmitsDelete();

    void sharedPreferenceFinishList();

    void ownUser();
    void setOwnNickChangesNick();

    void dialogIsMadeOnceWithSameId();
    void dialogContactComesFromUserManager();
    void dialogFromSeveralThreads();
    void dialogOutlivingAccountHasNoContacts();

    void fileManagerAttachedByHost();
    void requestRefreshEmits();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<AccountBase> m_account;
};

void TestAccountBase::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
    m_account.reset(new AccountBase(42, 7, m_dir->path(), kAccountKey));
}

void TestAccountBase::cleanup()
{
    m_account.reset();
    m_dir.reset();
    network::NetworkSubject::instance()->releaseFixedTime();
}

void TestAccountBase::ids()
{
    QCOMPARE(m_account->accountId(), qint64(42));
    QCOMPARE(m_account->deviceId(), qint64(7));
    QCOMPARE(m_account->dataDirectory(), m_dir->path());
    QCOMPARE(m_account->property("accountId").toLongLong(), qint64(42));
    QCOMPARE(m_account->property("deviceId").toLongLong(), qint64(7));
}

void TestAccountBase::cacheDirectoryUnderDataDir()
{
    const QString cache = QDir::cleanPath(m_account->cacheDirectory());
    const QString data = QDir::cleanPath(m_dir->path());
    QVERIFY2(cache.startsWith(data + QLatin1Char('/')), qPrintable(cache));
    QVERIFY(cache != data);
    const QString relative = QDir(data).relativeFilePath(cache);
    QVERIFY2(!relative.startsWith(QLatin1String("..")), qPrintable(relative));
    QCOMPARE(m_account->cacheDirectory(), m_account->cacheDirectory());
}

void TestAccountBase::storageOpensDatabaseInDataDir()
{
    storage::UserStorageProvider* provider = m_account->storage();
    QVERIFY(provider != nullptr);
    QCOMPARE(m_account->storage(), provider);
    QVERIFY(provider->isOpen());
    const QString expected = storage::UserStorageProvider::databasePath(m_dir->path(), 42);
    QCOMPARE(provider->databasePath(), expected);
    QVERIFY2(QFileInfo(expected).isFile(), qPrintable(expected));
    QVERIFY(QDir::cleanPath(expected).startsWith(QDir::cleanPath(m_dir->path()) + QLatin1Char('/')));
}

void TestAccountBase::twoAccountsInOneDataDir()
{
    AccountBase other(43, 7, m_dir->path(), kOtherKey);
    QVERIFY(other.storage() != nullptr);
    QVERIFY(other.storage() != m_account->storage());
    QVERIFY(other.storage()->databasePath() != m_account->storage()->databasePath());
    QVERIFY(QFileInfo(other.storage()->databasePath()).isFile());
    QVERIFY(other.cacheDirectory() != m_account->cacheDirectory());
    QVERIFY(!other.cacheDirectory().startsWith(m_account->cacheDirectory() + QLatin1Char('/')));
    QVERIFY(!m_account->cacheDirectory().startsWith(other.cacheDirectory() + QLatin1Char('/')));
}

void TestAccountBase::twoDevicesOfOneAccountShareContent_data()
{
    QTest::addColumn<QByteArray>("plain");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArrayLiteral("water the plants");
    QTest::newRow("binary") << QByteArray("\x00\x01\xff\x00", 4);
}

void TestAccountBase::twoDevicesOfOneAccountShareContent()
{
    QFETCH(QByteArray, plain);
    QTemporaryDir secondDir;
    QVERIFY(secondDir.isValid());
    AccountBase secondDevice(42, 8, secondDir.path(), kAccountKey);
    QCOMPARE(secondDevice.accountId(), m_account->accountId());
    QVERIFY(secondDevice.deviceId() != m_account->deviceId());

    QByteArray key;
    const QByteArray data = m_account->encrypt(plain, key);
    QVERIFY(!data.isEmpty());
    QVERIFY(!key.isEmpty());
    const QByteArray there = secondDevice.decrypt(data, key);
    QVERIFY(!there.isNull());
    QCOMPARE(there, plain);

    // And back the other way.
    QByteArray key2;
    const QByteArray data2 = secondDevice.encrypt(plain, key2);
    const QByteArray back = m_account->decrypt(data2, key2);
    QVERIFY(!back.isNull());
    QCOMPARE(back, plain);
}

void TestAccountBase::otherKeyCannotDecrypt()
{
    QTemporaryDir otherDir;
    QVERIFY(otherDir.isValid());
    AccountBase stranger(42, 9, otherDir.path(), kOtherKey);
    for (const QByteArray& plain : {QByteArray(), QByteArrayLiteral("not for you")}) {
        QByteArray key;
        const QByteArray data = m_account->encrypt(plain, key);
        QVERIFY(stranger.decrypt(data, key).isNull());
        QVERIFY(!m_account->decrypt(data, key).isNull());
    }
}

void TestAccountBase::invalidKeyDoesNotEncrypt()
{
    QTemporaryDir otherDir;
    QVERIFY(otherDir.isValid());
    AccountBase broken(44, 1, otherDir.path(), QByteArray(5, 'k'));
    QByteArray key = QByteArrayLiteral("stale");
    QVERIFY(broken.encrypt(QByteArrayLiteral("x"), key).isEmpty());
    QVERIFY(key.isEmpty());
    QByteArray goodKey;
    const QByteArray data = m_account->encrypt(QByteArrayLiteral("x"), goodKey);
    QVERIFY(broken.decrypt(data, goodKey).isNull());
}

void TestAccountBase::currentServerTimeFollowsFixedClock()
{
    auto* clock = network::NetworkSubject::instance();
    const qint64 t0 = 1717243200000LL; // 2024-06-01 12:00 UTC
    clock->setFixedTime(t0);
    QCOMPARE(m_account->currentServerTime(), t0);
    clock->advance(kOneMinuteMs);
    QCOMPARE(m_account->currentServerTime(), t0 + kOneMinuteMs);
    clock->setFixedTime(12345);
    QCOMPARE(m_account->currentServerTime(), qint64(12345));
    QCOMPARE(m_account->currentServerTime(), clock->currentDateTime());
}

void TestAccountBase::commandEmitsUpdate()
{
    AccountCommand* command = m_account->command();
    QVERIFY(command != nullptr);
    QCOMPARE(m_account->command(), command);
    QSignalSpy update(command, &AccountCommand::reminderUpdateRequested);
    QSignalSpy remove(command, &AccountCommand::reminderDeleteRequested);
    const QByteArray payload("\x01\x00\x02", 3);
    command->updateReminder(QStringLiteral("r-1"), payload);
    QCOMPARE(update.count(), 1);
    QCOMPARE(update.at(0).at(0).toString(), QStringLiteral("r-1"));
    QCOMPARE(update.at(0).at(1).toByteArray(), payload);
    QCOMPARE(remove.count(), 0);
}

void TestAccountBase::commandEmitsDelete()
{
    AccountCommand* command = m_account->command();
    QSignalSpy update(command, &AccountCommand::reminderUpdateRequested);
    QSignalSpy remove(command, &AccountCommand::reminderDeleteRequested);
    const QStringList ids = {QStringLiteral("r-1"), QStringLiteral("r-2")};
    command->deleteReminders(ids);
    QCOMPARE(remove.count(), 1);
    QCOMPARE(remove.at(0).at(0).toStringList(), ids);
    QCOMPARE(update.count(), 0);
}

void TestAccountBase::sharedPreferenceFinishList()
{
    SharedPreferenceBase* pref = m_account->sharedPreference();
    QVERIFY(pref != nullptr);
    QCOMPARE(m_account->sharedPreference(), pref);
    QVERIFY(!pref->isListFinished());
    QSignalSpy spy(pref, &SharedPreferenceBase::listFinished);
    pref->finishList();
    QCOMPARE(spy.count(), 1);
    QVERIFY(pref->isListFinished());
}

void TestAccountBase::ownUser()
{
    QSharedPointer<ContactBase> me = m_account->ownUser();
    QVERIFY(me);
    QCOMPARE(me->userId(), qint64(42));
    QCOMPARE(m_account->ownUser(), me);
    QVERIFY(m_account->userManager() != nullptr);
    QCOMPARE(m_account->userManager()->getUserPointer(42, false, QString(), false), me);
}

void TestAccountBase::setOwnNickChangesNick()
{
    QSharedPointer<ContactBase> me = m_account->ownUser();
    QSignalSpy spy(me.data(), &ContactBase::nickChanged);
    m_account->setOwnNick(QStringLiteral("Ada"));
    QCOMPARE(me->nick(), QStringLiteral("Ada"));
    QCOMPARE(m_account->ownUser()->nick(), QStringLiteral("Ada"));
    QCOMPARE(spy.count(), 1);
    m_account->setOwnNick(QStringLiteral("Ada"));
    QCOMPARE(spy.count(), 1);
    m_account->setOwnNick(QStringLiteral("Ada L."));
    QCOMPARE(me->nick(), QStringLiteral("Ada L."));
    QCOMPARE(spy.count(), 2);
}

void TestAccountBase::dialogIsMadeOnceWithSameId()
{
    QSharedPointer<DialogBase> a = m_account->dialog(QStringLiteral("d-1"));
    QVERIFY(a);
    QCOMPARE(a->dialogId(), QStringLiteral("d-1"));
    QCOMPARE(m_account->dialog(QStringLiteral("d-1")), a);
    QSharedPointer<DialogBase> b = m_account->dialog(QStringLiteral("d-2"));
    QVERIFY(b);
    QVERIFY(b != a);
    QCOMPARE(b->dialogId(), QStringLiteral("d-2"));
    QCOMPARE(m_account->dialog(QStringLiteral("d-1")), a);
}

void TestAccountBase::dialogContactComesFromUserManager()
{
    QSharedPointer<DialogBase> dialog = m_account->dialog(QStringLiteral("d-1"));
    UserManager* users = m_account->userManager();
    QVERIFY(users->getUserPointer(1001, false, QString(), false).isNull());

    QSharedPointer<ContactBase> bob = dialog->contact(1001, QStringLiteral("Bob"));
    QVERIFY(bob);
    QCOMPARE(bob->userId(), qint64(1001));
    QCOMPARE(bob->nick(), QStringLiteral("Bob"));
    QCOMPARE(users->getUserPointer(1001, false, QString(), false), bob);
    // Another dialog of the account sees the same user.
    QCOMPARE(m_account->dialog(QStringLiteral("d-2"))->contact(1001, QString()), bob);
    // The account's own user too.
    QCOMPARE(dialog->contact(42, QString()), m_account->ownUser());
    QVERIFY(dialog->contact(0, QStringLiteral("nobody")).isNull());
    QVERIFY(dialog->contact(-3, QStringLiteral("nobody")).isNull());
}

void TestAccountBase::dialogFromSeveralThreads()
{
    constexpr int kThreads = 6;
    constexpr int kDialogs = 50;
    std::vector<QList<DialogBase*>> seen(kThreads);
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([this, t, &seen] {
            for (int i = 0; i < kDialogs; ++i)
                seen[size_t(t)].append(m_account->dialog(QStringLiteral("d-%1").arg(i)).data());
        }));
    }
    for (auto& t : threads)
        t->start();
    for (auto& t : threads)
        QVERIFY(t->wait());
    for (int i = 0; i < kDialogs; ++i) {
        DialogBase* expected = m_account->dialog(QStringLiteral("d-%1").arg(i)).data();
        for (int t = 0; t < kThreads; ++t)
            QCOMPARE(seen[size_t(t)].at(i), expected);
    }
}

void TestAccountBase::dialogOutlivingAccountHasNoContacts()
{
    QSharedPointer<DialogBase> dialog = m_account->dialog(QStringLiteral("d-1"));
    QVERIFY(dialog->contact(5, QString()));
    m_account.reset();
    QVERIFY(dialog->contact(5, QString()).isNull());
}

void TestAccountBase::fileManagerAttachedByHost()
{
    QCOMPARE(m_account->fileManager(), static_cast<FileManager*>(nullptr));
    FileManager manager;
    m_account->setFileManager(&manager);
    QCOMPARE(m_account->fileManager(), &manager);
    m_account->setFileManager(nullptr);
    QCOMPARE(m_account->fileManager(), static_cast<FileManager*>(nullptr));
}

void TestAccountBase::requestRefreshEmits()
{
    QSignalSpy spy(m_account.get(), &AccountBase::refreshRequested);
    m_account->requestRefresh();
    QCOMPARE(spy.count(), 1);
    m_account->requestRefresh();
    QCOMPARE(spy.count(), 2);
}

QTEST_GUILESS_MAIN(TestAccountBase)
#include "tst_accountbase.moc"
