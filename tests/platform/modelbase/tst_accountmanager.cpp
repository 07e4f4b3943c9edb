#include "accountmanager.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QVariantMap>

#include <memory>

class TestAccountManager : public QObject
{
    Q_OBJECT

private slots:
    void singleton();
    void notifyNewMessageEmits_data();
    void notifyNewMessageEmits();
    void deletedReminderEmits_data();
    void deletedReminderEmits();
    void errorEmits_data();
    void errorEmits();
};

void TestAccountManager::singleton()
{
    AccountManager* here = AccountManager::getInstance();
    QVERIFY(here != nullptr);
    QCOMPARE(AccountManager::getInstance(), here);
    AccountManager* there = nullptr;
    std::unique_ptr<QThread> t(QThread::create([&there] { there = AccountManager::getInstance(); }));
    t->start();
    QVERIFY(t->wait());
    QCOMPARE(there, here);
}

void TestAccountManager::notifyNewMessageEmits_data()
{
    QTest::addColumn<QVariantList>("messages");
    QVariantMap one;
    one.insert(QStringLiteral("remindId"), QStringLiteral("r-1"));
    one.insert(QStringLiteral("time"), qint64(1717243200000LL));
    QVariantMap two;
    two.insert(QStringLiteral("remindId"), QStringLiteral("r-2"));
    two.insert(QStringLiteral("text"), QStringLiteral("Grüße"));
    QTest::newRow("empty") << QVariantList();
    QTest::newRow("one") << QVariantList{one};
    QTest::newRow("two") << QVariantList{one, two};
    QTest::newRow("scalars") << QVariantList{1, QStringLiteral("x"), true};
}

void TestAccountManager::notifyNewMessageEmits()
{
    QFETCH(QVariantList, messages);
    AccountManager* manager = AccountManager::getInstance();
    QSignalSpy notified(manager, &AccountManager::newMessageNotified);
    QSignalSpy deleted(manager, &AccountManager::reminderNotificationDeleted);
    QSignalSpy errors(manager, &AccountManager::errorReported);
    manager->notifyNewMessage(messages);
    QCOMPARE(notified.count(), 1);
    QCOMPARE(notified.at(0).size(), 1);
    QCOMPARE(notified.at(0).at(0).toList(), messages);
    QCOMPARE(deleted.count(), 0);
    QCOMPARE(errors.count(), 0);
}

void TestAccountManager::deletedReminderEmits_data()
{
    QTest::addColumn<qint64>("accountId");
    QTest::addColumn<QString>("remindId");
    QTest::newRow("plain") << qint64(42) << QStringLiteral("r-1");
    QTest::newRow("large account id") << qint64(9007199254740993LL) << QStringLiteral("r-2");
    QTest::newRow("empty remind id") << qint64(1) << QString();
}

void TestAccountManager::deletedReminderEmits()
{
    QFETCH(qint64, accountId);
    QFETCH(QString, remindId);
    AccountManager* manager = AccountManager::getInstance();
    QSignalSpy notified(manager, &AccountManager::newMessageNotified);
    QSignalSpy deleted(manager, &AccountManager::reminderNotificationDeleted);
    QSignalSpy errors(manager, &AccountManager::errorReported);
    manager->deletedReminder(accountId, remindId);
    QCOMPARE(deleted.count(), 1);
    QCOMPARE(deleted.at(0).size(), 2);
    QCOMPARE(deleted.at(0).at(0).toLongLong(), accountId);
    QCOMPARE(deleted.at(0).at(1).toString(), remindId);
    QCOMPARE(notified.count(), 0);
    QCOMPARE(errors.count(), 0);
}

void TestAccountManager::errorEmits_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("level");
    QTest::newRow("general") << 0 << QStringLiteral("Saved") << 0;
    QTest::newRow("coded") << 1203 << QStringLiteral("Too many reminders") << 2;
    QTest::newRow("negative") << -1 << QString() << 1;
}

void TestAccountManager::errorEmits()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QFETCH(int, level);
    AccountManager* manager = AccountManager::getInstance();
    QSignalSpy notified(manager, &AccountManager::newMessageNotified);
    QSignalSpy deleted(manager, &AccountManager::reminderNotificationDeleted);
    QSignalSpy errors(manager, &AccountManager::errorReported);
    manager->error(code, text, level);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.at(0).size(), 3);
    QCOMPARE(errors.at(0).at(0).toInt(), code);
    QCOMPARE(errors.at(0).at(1).toString(), text);
    QCOMPARE(errors.at(0).at(2).toInt(), level);
    QCOMPARE(notified.count(), 0);
    QCOMPARE(deleted.count(), 0);
}

QTEST_GUILESS_MAIN(TestAccountManager)
#include "tst_accountmanager.moc"
