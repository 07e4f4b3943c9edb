#include "accountmanager.h"

#include <QElapsedTimer>
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
    void gatheredNotificationsArriveAsOneList_data();
    void gatheredNotificationsArriveAsOneList();
    void gatheringEndsAtItsLongestWindow();
    void withdrawnNotificationLetsOutWhatWasGathered();
    void gatheringNothingEmitsNothing();
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

void TestAccountManager::gatheredNotificationsArriveAsOneList_data()
{
    QTest::addColumn<int>("calls");
    QTest::addColumn<int>("gapMs");

    QTest::newRow("one call") << 1 << 0;
    QTest::newRow("three calls at once") << 3 << 0;
    QTest::newRow("five calls with gaps below the quiet time") << 5 << 20;
}

void TestAccountManager::gatheredNotificationsArriveAsOneList()
{
    QFETCH(int, calls);
    QFETCH(int, gapMs);
    AccountManager* manager = AccountManager::getInstance();
    QSignalSpy notified(manager, &AccountManager::newMessageNotified);
    manager->gatherNotifications(150, 2000);
    QVERIFY(manager->isGathering());
    for (int i = 0; i < calls; ++i) {
        manager->notifyNewMessage(QVariantList{ i, i + 100 });
        if (gapMs > 0)
            QTest::qWait(gapMs);
    }
    QCOMPARE(notified.count(), 0);
    QTRY_COMPARE(notified.count(), 1);
    QCOMPARE(notified.at(0).at(0).toList().size(), 2 * calls);
    QCOMPARE(notified.at(0).at(0).toList().first().toInt(), 0);
    QVERIFY(!manager->isGathering());
    // Afterwards each call is emitted on its own again.
    manager->notifyNewMessage(QVariantList{ 7 });
    QCOMPARE(notified.count(), 2);
}

void TestAccountManager::gatheringEndsAtItsLongestWindow()
{
    AccountManager* manager = AccountManager::getInstance();
    QSignalSpy notified(manager, &AccountManager::newMessageNotified);
    QElapsedTimer clock;
    clock.start();
    manager->gatherNotifications(100, 300);
    // A call every 40 ms never lets the quiet time pass.
    while (notified.isEmpty() && clock.elapsed() < 5000) {
        manager->notifyNewMessage(QVariantList{ 1 });
        QTest::qWait(40);
    }
    QCOMPARE(notified.count(), 1);
    QVERIFY(notified.at(0).at(0).toList().size() >= 2);
    QVERIFY2(clock.elapsed() < 2000, "the window did not end");
}

void TestAccountManager::withdrawnNotificationLetsOutWhatWasGathered()
{
    AccountManager* manager = AccountManager::getInstance();
    QList<QString> order;
    QSignalSpy notified(manager, &AccountManager::newMessageNotified);
    auto a = connect(manager, &AccountManager::newMessageNotified, this, [&] { order << QStringLiteral("notified"); });
    auto b = connect(manager, &AccountManager::reminderNotificationDeleted, this,
                     [&] { order << QStringLiteral("deleted"); });
    manager->gatherNotifications(1000, 5000);
    manager->notifyNewMessage(QVariantList{ 1 });
    manager->deletedReminder(1001, QStringLiteral("7_1"));
    QCOMPARE(order, (QList<QString>{ QStringLiteral("notified"), QStringLiteral("deleted") }));
    QVERIFY(!manager->isGathering());
    disconnect(a);
    disconnect(b);
}

void TestAccountManager::gatheringNothingEmitsNothing()
{
    AccountManager* manager = AccountManager::getInstance();
    QSignalSpy notified(manager, &AccountManager::newMessageNotified);
    manager->gatherNotifications(20, 50);
    QTRY_VERIFY(!manager->isGathering());
    QTest::qWait(50);
    QCOMPARE(notified.count(), 0);
}

QTEST_GUILESS_MAIN(TestAccountManager)
#include "tst_accountmanager.moc"
