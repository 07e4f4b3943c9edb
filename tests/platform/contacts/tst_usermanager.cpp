#include "contactbase.h"
#include "dialogbase.h"
#include "usermanager.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <limits>
#include <memory>
#include <vector>

class TestUserManager : public QObject
{
    Q_OBJECT

private slots:
    void unknownUserNotCreatedWithoutFlag();
    void unknownUserCreatedWithFlag();
    void samePointerForSameId();
    void differentIdsDifferentUsers();
    void emptyNickFilledLater();
    void setNickNotOverwritten();
    void requestFromServerRecorded();
    void addUser();
    void concurrentLookupsShareUsers();

    void contactDisplayName();
    void contactSetNickEmitsOnlyOnChange();

    void dialogContact_data();
    void dialogContact();
    void dialogContactUsesUserManager();
    void dialogWithoutUserManager();
    void dialogAfterUserManagerGone();
};

void TestUserManager::unknownUserNotCreatedWithoutFlag()
{
    UserManager users;
    QVERIFY(users.getUserPointer(5, false, QStringLiteral("Eve"), false).isNull());
    QCOMPARE(users.count(), 0);
    QVERIFY(users.getUserPointer(5, false, QString(), false).isNull());
    QCOMPARE(users.count(), 0);
}

void TestUserManager::unknownUserCreatedWithFlag()
{
    UserManager users;
    QSharedPointer<ContactBase> eve = users.getUserPointer(5, false, QStringLiteral("Eve"), true);
    QVERIFY(eve);
    QCOMPARE(eve->userId(), qint64(5));
    QCOMPARE(eve->nick(), QStringLiteral("Eve"));
    QCOMPARE(users.count(), 1);
    // Now known: found without the flag.
    QCOMPARE(users.getUserPointer(5, false, QString(), false), eve);
}

void TestUserManager::samePointerForSameId()
{
    UserManager users;
    QSharedPointer<ContactBase> a = users.getUserPointer(7, false, QStringLiteral("A"), true);
    QCOMPARE(users.getUserPointer(7, false, QStringLiteral("A"), true), a);
    QCOMPARE(users.getUserPointer(7, true, QString(), true), a);
    QCOMPARE(users.getUserPointer(7, false, QStringLiteral("other"), false), a);
    QCOMPARE(users.count(), 1);
}

void TestUserManager::differentIdsDifferentUsers()
{
    UserManager users;
    QSharedPointer<ContactBase> a = users.getUserPointer(1, false, QString(), true);
    QSharedPointer<ContactBase> b = users.getUserPointer(2, false, QString(), true);
    QVERIFY(a && b);
    QVERIFY(a != b);
    QCOMPARE(a->userId(), qint64(1));
    QCOMPARE(b->userId(), qint64(2));
    QCOMPARE(users.count(), 2);
}

void TestUserManager::emptyNickFilledLater()
{
    UserManager users;
    QSharedPointer<ContactBase> u = users.getUserPointer(9, false, QString(), true);
    QVERIFY(u->nick().isEmpty());
    QSignalSpy spy(u.data(), &ContactBase::nickChanged);
    // An empty nick does not count as news.
    QCOMPARE(users.getUserPointer(9, false, QString(), true), u);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(users.getUserPointer(9, false, QStringLiteral("Nina"), false), u);
    QCOMPARE(u->nick(), QStringLiteral("Nina"));
    QCOMPARE(spy.count(), 1);
}

void TestUserManager::setNickNotOverwritten()
{
    UserManager users;
    QSharedPointer<ContactBase> u = users.getUserPointer(9, false, QStringLiteral("Nina"), true);
    QSignalSpy spy(u.data(), &ContactBase::nickChanged);
    users.getUserPointer(9, false, QStringLiteral("Somebody else"), true);
    users.getUserPointer(9, true, QStringLiteral("Third"), false);
    users.getUserPointer(9, false, QString(), false);
    QCOMPARE(u->nick(), QStringLiteral("Nina"));
    QCOMPARE(spy.count(), 0);
}

void TestUserManager::requestFromServerRecorded()
{
    UserManager users;
    QVERIFY(users.requestedUserIds().isEmpty());
    users.getUserPointer(3, false, QString(), true);
    QVERIFY(users.requestedUserIds().isEmpty());
    users.getUserPointer(3, true, QString(), true);
    users.getUserPointer(4, true, QString(), false); // unknown, not created: still asked for
    users.getUserPointer(3, true, QString(), false);
    QCOMPARE(users.requestedUserIds(), (QList<qint64>{3, 4, 3}));
    QCOMPARE(users.count(), 1);
}

void TestUserManager::addUser()
{
    UserManager users;
    QSharedPointer<ContactBase> given(new ContactBase(11, QStringLiteral("Given")));
    users.addUser(given);
    QCOMPARE(users.count(), 1);
    QCOMPARE(users.getUserPointer(11, false, QString(), false), given);
    users.addUser({});
    QCOMPARE(users.count(), 1);
}

void TestUserManager::concurrentLookupsShareUsers()
{
    UserManager users;
    constexpr int kThreads = 8;
    constexpr int kIds = 300;
    std::vector<QList<ContactBase*>> seen(kThreads);
    QSemaphore start;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([t, &users, &seen, &start] {
            start.acquire();
            for (int i = 1; i <= kIds; ++i) {
                // Half the threads walk the ids backwards, to collide more.
                const int id = (t % 2 == 0) ? i : kIds + 1 - i;
                seen[size_t(t)].append(
                    users.getUserPointer(id, t == 0, QStringLiteral("n%1").arg(id), true).data());
            }
        }));
    }
    for (auto& t : threads)
        t->start();
    start.release(kThreads);
    for (auto& t : threads)
        QVERIFY(t->wait());

    QCOMPARE(users.count(), kIds);
    for (int i = 1; i <= kIds; ++i) {
        QSharedPointer<ContactBase> u = users.getUserPointer(i, false, QString(), false);
        QVERIFY(u);
        QCOMPARE(u->userId(), qint64(i));
        QCOMPARE(u->nick(), QStringLiteral("n%1").arg(i));
        for (int t = 0; t < kThreads; ++t) {
            const int index = (t % 2 == 0) ? i - 1 : kIds - i;
            QCOMPARE(seen[size_t(t)].at(index), u.data());
        }
    }
    QCOMPARE(users.requestedUserIds().size(), kIds);
}

void TestUserManager::contactDisplayName()
{
    ContactBase named(21, QStringLiteral("Dana"));
    QCOMPARE(named.displayName(), QStringLiteral("Dana"));
    ContactBase unnamed(21);
    QVERIFY(!unnamed.displayName().isEmpty());
    QVERIFY(unnamed.displayName().contains(QStringLiteral("21")));
    ContactBase other(22);
    QVERIFY(other.displayName() != unnamed.displayName());
    unnamed.setNick(QStringLiteral("Dee"));
    QCOMPARE(unnamed.displayName(), QStringLiteral("Dee"));
}

void TestUserManager::contactSetNickEmitsOnlyOnChange()
{
    ContactBase c(1);
    QSignalSpy spy(&c, &ContactBase::nickChanged);
    c.setNick(QString());
    QCOMPARE(spy.count(), 0);
    c.setNick(QStringLiteral("x"));
    QCOMPARE(spy.count(), 1);
    c.setNick(QStringLiteral("x"));
    QCOMPARE(spy.count(), 1);
    c.setNick(QString());
    QCOMPARE(spy.count(), 2);
    QVERIFY(c.nick().isEmpty());
}

void TestUserManager::dialogContact_data()
{
    QTest::addColumn<qint64>("userId");
    QTest::addColumn<bool>("found");
    QTest::newRow("0") << qint64(0) << false;
    QTest::newRow("-1") << qint64(-1) << false;
    QTest::newRow("min") << std::numeric_limits<qint64>::min() << false;
    QTest::newRow("1") << qint64(1) << true;
    QTest::newRow("large") << qint64(9007199254740993LL) << true;
}

void TestUserManager::dialogContact()
{
    QFETCH(qint64, userId);
    QFETCH(bool, found);
    UserManager users;
    DialogBase dialog(QStringLiteral("d-1"), &users);
    QCOMPARE(dialog.dialogId(), QStringLiteral("d-1"));
    QSharedPointer<ContactBase> c = dialog.contact(userId, QStringLiteral("Someone"));
    QCOMPARE(!c.isNull(), found);
    QCOMPARE(users.count(), found ? 1 : 0);
    if (found) {
        QCOMPARE(c->userId(), userId);
        QCOMPARE(c->nick(), QStringLiteral("Someone"));
    }
}

void TestUserManager::dialogContactUsesUserManager()
{
    UserManager users;
    QSharedPointer<ContactBase> known = users.getUserPointer(5, false, QString(), true);
    DialogBase a(QStringLiteral("a"), &users);
    DialogBase b(QStringLiteral("b"), &users);
    QCOMPARE(a.contact(5, QStringLiteral("Five")), known);
    QCOMPARE(known->nick(), QStringLiteral("Five"));
    QCOMPARE(b.contact(5, QStringLiteral("Other")), known);
    QCOMPARE(known->nick(), QStringLiteral("Five"));
    QSharedPointer<ContactBase> six = a.contact(6, QString());
    QCOMPARE(b.contact(6, QString()), six);
    QCOMPARE(users.getUserPointer(6, false, QString(), false), six);
    QVERIFY(users.requestedUserIds().isEmpty());
}

void TestUserManager::dialogWithoutUserManager()
{
    DialogBase dialog(QStringLiteral("d"), nullptr);
    QVERIFY(dialog.contact(5, QStringLiteral("x")).isNull());
}

void TestUserManager::dialogAfterUserManagerGone()
{
    auto users = std::make_unique<UserManager>();
    DialogBase dialog(QStringLiteral("d"), users.get());
    QSharedPointer<ContactBase> kept = dialog.contact(5, QStringLiteral("x"));
    QVERIFY(kept);
    users.reset();
    QVERIFY(dialog.contact(5, QStringLiteral("x")).isNull());
    QCOMPARE(kept->userId(), qint64(5)); // a held contact outlives its manager
}

QTEST_GUILESS_MAIN(TestUserManager)
#include "tst_usermanager.moc"
