// One device's window as QML sees it (DeskDevice): what it keeps of the
// person's answers to fired reminders across a restart.
#include "deskfixture.h"

#include "deskedit.h"
#include "relativemessage.h"
#include "reminderpattern.h"

#include <QTest>

class DeskDeviceTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { QVERIFY(m_fx.setUp()); }
    void cleanup() { m_fx.tearDown(); }

    void aSnoozeIsStillShownAfterARestart();
    void aSnoozeEndsWhenTheTimeIsChanged();
    void aQuoteKeepsItsSenderThroughRestartsAndSaves();

private:
    // A one-off reminder an hour from now, fired: the clock passes its time.
    QString fired(const QString& text);

    DeskFixture m_fx;
};

QString DeskDeviceTest::fired(const QString& text)
{
    DeskDevice* device = m_fx.device();
    ReminderHandler* handler = device->handler();
    device->edit()->startNew(text);
    const qint64 due = m_fx.now + 3600 * 1000;
    handler->reminderPattern()->setRemindTime(due);
    const QString id = device->edit()->save();
    DeskFixture::settle();
    m_fx.now = due + 30 * 1000;
    network::NetworkSubject::instance()->setFixedTime(m_fx.now);
    handler->readyReminder();
    const ReminderItemPtr item = handler->reminderModel()->itemById(id);
    if (!item)
        return QString();
    // Fired: the timer's pass marked it (bounded wait, not a timing).
    for (int i = 0; i < 200 && !item->reminded(); ++i)
        QTest::qWait(50);
    return item->reminded() ? id : QString();
}

void DeskDeviceTest::aSnoozeIsStillShownAfterARestart()
{
    const QString id = fired(QStringLiteral("stretch"));
    QVERIFY(!id.isEmpty());
    DeskDevice* device = m_fx.device();
    device->answerSnooze(id, 10);
    const qint64 until = m_fx.now + 10 * 60 * 1000;
    ReminderItemPtr item = device->handler()->reminderModel()->itemById(id);
    QCOMPARE(device->snoozedUntil(item.data()), until);
    DeskFixture::settle();

    m_fx.stop();
    QVERIFY(m_fx.start());
    device = m_fx.device();
    item = device->handler()->reminderModel()->itemById(id);
    QVERIFY(item);
    QCOMPARE(item->remindTime(), until);
    QCOMPARE(device->snoozedUntil(item.data()), until);
}

void DeskDeviceTest::aSnoozeEndsWhenTheTimeIsChanged()
{
    const QString id = fired(QStringLiteral("call back"));
    DeskDevice* device = m_fx.device();
    device->answerTomorrow(id);
    ReminderItemPtr item = device->handler()->reminderModel()->itemById(id);
    QVERIFY(device->snoozedUntil(item.data()) > 0);
    // The person gives it another time: it is no longer a snooze.
    device->handler()->modifyRemindTime(id, m_fx.now + 5 * 3600 * 1000);
    QCOMPARE(device->snoozedUntil(item.data()), 0);
    DeskFixture::settle();
    m_fx.stop();
    QVERIFY(m_fx.start());
    device = m_fx.device();
    item = device->handler()->reminderModel()->itemById(id);
    QCOMPARE(device->snoozedUntil(item.data()), 0);
}

void DeskDeviceTest::aQuoteKeepsItsSenderThroughRestartsAndSaves()
{
    DeskDevice* device = m_fx.device();
    // "Remind me about this" on the file message of the sample chat.
    device->edit()->startQuote(1);
    const QString sender = device->quoteSender(device->handler()->quoteMsgItem());
    QVERIFY(!sender.isEmpty());
    QVERIFY(sender != qtTrId("desk_unknown_sender"));
    const QString id = device->edit()->save();
    QVERIFY(!id.isEmpty());
    DeskFixture::settle();

    for (int round = 0; round < 2; ++round) {
        m_fx.stop();
        QVERIFY(m_fx.start());
        device = m_fx.device();
        const ReminderItemPtr item = device->handler()->reminderModel()->itemById(id);
        QVERIFY(item);
        QCOMPARE(device->quoteSender(item->quoteMsgItem()), sender);
        // Changed and so stored and sent again: the sender goes with it.
        device->handler()->modifyRemindTime(id, m_fx.now + (round + 1) * 3600 * 1000);
        DeskFixture::settle();
    }
}

QTEST_MAIN(DeskDeviceTest)
#include "tst_deskdevice.moc"
