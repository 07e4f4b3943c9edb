#include "accountcommand.h"

#include <QSignalSpy>
#include <QTest>

namespace {

// A host transport that handles updates itself and does not announce them.
class SilentCommand : public AccountCommand
{
public:
    QStringList sent;
    void updateReminder(const QString& remindId, const QByteArray&) override { sent << remindId; }
};

} // namespace

class TestAccountCommand : public QObject
{
    Q_OBJECT

private slots:
    void updateReminderEmits_data();
    void updateReminderEmits();
    void deleteRemindersEmits_data();
    void deleteRemindersEmits();
    void everyCallIsAnnounced();
    void overrideReplacesBase();
};

void TestAccountCommand::updateReminderEmits_data()
{
    QTest::addColumn<QString>("remindId");
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("plain") << QStringLiteral("r-1") << QByteArrayLiteral("payload");
    QTest::newRow("empty data") << QStringLiteral("r-2") << QByteArray();
    QTest::newRow("binary") << QStringLiteral("r-3") << QByteArray("\x00\xff\x00\x7f", 4);
    QTest::newRow("empty id") << QString() << QByteArrayLiteral("x");
    QTest::newRow("unicode id") << QStringLiteral("erinnerung-ü-1") << QByteArrayLiteral("y");
}

void TestAccountCommand::updateReminderEmits()
{
    QFETCH(QString, remindId);
    QFETCH(QByteArray, data);
    AccountCommand command;
    QSignalSpy update(&command, &AccountCommand::reminderUpdateRequested);
    QSignalSpy remove(&command, &AccountCommand::reminderDeleteRequested);
    command.updateReminder(remindId, data);
    QCOMPARE(update.count(), 1);
    QCOMPARE(update.at(0).size(), 2);
    QCOMPARE(update.at(0).at(0).toString(), remindId);
    QCOMPARE(update.at(0).at(1).toByteArray(), data);
    QCOMPARE(remove.count(), 0);
}

void TestAccountCommand::deleteRemindersEmits_data()
{
    QTest::addColumn<QStringList>("ids");
    QTest::newRow("one") << QStringList{QStringLiteral("r-1")};
    QTest::newRow("several") << QStringList{QStringLiteral("r-3"), QStringLiteral("r-1"),
                                            QStringLiteral("r-2")};
    QTest::newRow("duplicates kept") << QStringList{QStringLiteral("r-1"), QStringLiteral("r-1")};
    QTest::newRow("empty list") << QStringList();
}

void TestAccountCommand::deleteRemindersEmits()
{
    QFETCH(QStringList, ids);
    AccountCommand command;
    QSignalSpy update(&command, &AccountCommand::reminderUpdateRequested);
    QSignalSpy remove(&command, &AccountCommand::reminderDeleteRequested);
    command.deleteReminders(ids);
    QCOMPARE(remove.count(), 1);
    QCOMPARE(remove.at(0).size(), 1);
    QCOMPARE(remove.at(0).at(0).toStringList(), ids);
    QCOMPARE(update.count(), 0);
}

void TestAccountCommand::everyCallIsAnnounced()
{
    AccountCommand command;
    QSignalSpy update(&command, &AccountCommand::reminderUpdateRequested);
    QSignalSpy remove(&command, &AccountCommand::reminderDeleteRequested);
    command.updateReminder(QStringLiteral("a"), QByteArrayLiteral("1"));
    command.updateReminder(QStringLiteral("a"), QByteArrayLiteral("1"));
    command.deleteReminders({QStringLiteral("a")});
    command.updateReminder(QStringLiteral("b"), QByteArrayLiteral("2"));
    QCOMPARE(update.count(), 3);
    QCOMPARE(remove.count(), 1);
    QCOMPARE(update.at(0).at(0).toString(), QStringLiteral("a"));
    QCOMPARE(update.at(1).at(0).toString(), QStringLiteral("a"));
    QCOMPARE(update.at(2).at(0).toString(), QStringLiteral("b"));
    QCOMPARE(update.at(2).at(1).toByteArray(), QByteArrayLiteral("2"));
}

void TestAccountCommand::overrideReplacesBase()
{
    SilentCommand command;
    AccountCommand* base = &command;
    QSignalSpy update(base, &AccountCommand::reminderUpdateRequested);
    QSignalSpy remove(base, &AccountCommand::reminderDeleteRequested);
    base->updateReminder(QStringLiteral("r-9"), QByteArrayLiteral("z"));
    QCOMPARE(command.sent, QStringList{QStringLiteral("r-9")});
    QCOMPARE(update.count(), 0);
    // The operation it does not override still announces itself.
    base->deleteReminders({QStringLiteral("r-9")});
    QCOMPARE(remove.count(), 1);
}

QTEST_GUILESS_MAIN(TestAccountCommand)
#include "tst_accountcommand.moc"
