// Completions and deletions that wait for their Undo (DeskUndo): nothing
// reaches the handler, the store or the server until the toast's time is
// up, another such action comes, or the program ends; Undo leaves every
// record exactly as it was.
#include "accountbase.h"
#include "deskbackend.h"
#include "deskfixture.h"
#include "deskdevice.h"
#include "deskundo.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "remindermodel.h"
#include "reminderserver.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class DeskUndoTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void completingWaitsForTheToast();
    void deletingWaitsForTheToast();
    void undoLeavesEveryRecordAsItWas_data();
    void undoLeavesEveryRecordAsItWas();
    void anotherActionCarriesOutTheOneBefore();
    void deletingTheSelectionClearsIt();
    void deletingAllCompletedTakesTheListShown();
    void theProgramEndingCarriesTheActionOut();
    void aReminderGoneMeanwhileIsLeftAlone();

private:
    void start() { QVERIFY(m_fx.start()); }
    static void settle() { DeskFixture::settle(); }
    QString add(const QString& text) { return m_fx.add(text); }
    DeskDevice* device() const { return m_fx.device(); }
    DeskUndo* undo() const { return device()->undo(); }
    ReminderHandler* handler() const { return device()->handler(); }
    storage::ReminderStorage* store() const { return device()->account()->storage()->reminderStorage(); }
    // The stored record and the server's copy of each reminder.
    QList<QPair<storage::ReminderInfo, QByteArray>> snapshot(const QStringList& ids);

    DeskFixture m_fx;
};

void DeskUndoTest::init()
{
    QVERIFY(m_fx.setUp());
}

void DeskUndoTest::cleanup()
{
    m_fx.tearDown();
}

QList<QPair<storage::ReminderInfo, QByteArray>> DeskUndoTest::snapshot(const QStringList& ids)
{
    settle();
    // The server has answered everything sent so far.
    QTest::qWait(50);
    settle();
    QList<QPair<storage::ReminderInfo, QByteArray>> all;
    for (const QString& id : ids) {
        bool found = false;
        all.append({store()->info(id, &found),
                    m_fx.backend->server()->storedMessage(DeskBackend::kAccountId, id)});
    }
    return all;
}

void DeskUndoTest::completingWaitsForTheToast()
{
    const QString id = add(QStringLiteral("return the books"));
    QSignalSpy changed(undo(), &DeskUndo::changed);
    QElapsedTimer clock;
    clock.start();
    undo()->complete(id);
    QCOMPARE(changed.count(), 1);
    QVERIFY(undo()->isPending());
    QVERIFY(undo()->isCompleting(id));
    QCOMPARE(undo()->text(), qtTrId("desk_undo_completed", 1));
    settle();
    QVERIFY(!handler()->reminderModel()->itemById(id)->completed());
    QTRY_VERIFY_WITH_TIMEOUT(handler()->reminderModel()->itemById(id)->completed(), DeskUndo::kUndoMs * 3);
    // Not before the toast's time was up.
    QVERIFY(clock.elapsed() >= DeskUndo::kUndoMs);
    QVERIFY(!undo()->isPending());
    QCOMPARE(changed.count(), 2);
    settle();
    bool found = false;
    QVERIFY(store()->info(id, &found).completed);
}

void DeskUndoTest::deletingWaitsForTheToast()
{
    const QString id = add(QStringLiteral("pay the rent"));
    add(QStringLiteral("water the plants"));
    undo()->remove(id);
    QVERIFY(undo()->isHidden(id));
    QCOMPARE(undo()->hiddenCount(false), 1);
    QCOMPARE(undo()->hiddenCount(true), 0);
    settle();
    QCOMPARE(handler()->reminderModel()->count(), 2);
    QCOMPARE(store()->count(), 2);
    QTRY_COMPARE_WITH_TIMEOUT(handler()->reminderModel()->count(), 1, DeskUndo::kUndoMs * 3);
    settle();
    QCOMPARE(store()->count(), 1);
    QVERIFY(!handler()->reminderModel()->itemById(id));
}

void DeskUndoTest::undoLeavesEveryRecordAsItWas_data()
{
    QTest::addColumn<QString>("action");
    QTest::newRow("complete") << "complete";
    QTest::newRow("delete one") << "delete";
    QTest::newRow("delete the selection") << "selection";
    QTest::newRow("delete all completed") << "completed";
}

void DeskUndoTest::undoLeavesEveryRecordAsItWas()
{
    QFETCH(QString, action);
    const QString a = add(QStringLiteral("alpha"));
    const QString b = add(QStringLiteral("bravo"));
    const QString c = add(QStringLiteral("charlie"));
    handler()->completedReminder(c, true);
    const QStringList ids{a, b, c};
    const auto before = snapshot(ids);
    for (const auto& entry : before)
        QVERIFY(!entry.second.isEmpty());

    if (action == QLatin1String("complete")) {
        undo()->complete(a);
    } else if (action == QLatin1String("delete")) {
        undo()->remove(b);
    } else if (action == QLatin1String("selection")) {
        handler()->select(a);
        handler()->select(c);
        undo()->removeSelected();
        QCOMPARE(handler()->selectCount(), 0);
        QVERIFY(undo()->isHidden(a) && undo()->isHidden(c) && !undo()->isHidden(b));
    } else {
        undo()->removeAllCompleted(false);
        QVERIFY(undo()->isHidden(c) && !undo()->isHidden(a));
    }
    QVERIFY(undo()->isPending());
    undo()->undo();
    QVERIFY(!undo()->isPending());
    QVERIFY(!undo()->isHidden(a) && !undo()->isHidden(b) && !undo()->isHidden(c));
    QTest::qWait(DeskUndo::kUndoMs + 500);
    // Byte for byte: the stored records and the server's copies.
    QCOMPARE(snapshot(ids), before);
    QCOMPARE(handler()->reminderModel()->count(), 3);
}

void DeskUndoTest::anotherActionCarriesOutTheOneBefore()
{
    const QString a = add(QStringLiteral("alpha"));
    const QString b = add(QStringLiteral("bravo"));
    undo()->complete(a);
    undo()->remove(b);
    QVERIFY(!undo()->isCompleting(a));
    QVERIFY(undo()->isHidden(b));
    QVERIFY(handler()->reminderModel()->itemById(a)->completed());
    QCOMPARE(undo()->text(), qtTrId("desk_undo_deleted", 1));
    undo()->undo();
    // Only the last one is undone.
    QVERIFY(handler()->reminderModel()->itemById(a)->completed());
    settle();
    QVERIFY(handler()->reminderModel()->itemById(b));
}

void DeskUndoTest::deletingTheSelectionClearsIt()
{
    const QString a = add(QStringLiteral("alpha"));
    const QString b = add(QStringLiteral("bravo"));
    add(QStringLiteral("charlie"));
    handler()->select(a);
    handler()->select(b);
    QSignalSpy selected(handler(), &ReminderHandler::selectCountChanged);
    undo()->removeSelected();
    QVERIFY(selected.count() >= 1);
    QCOMPARE(handler()->selectCount(), 0);
    QCOMPARE(undo()->hiddenCount(false), 2);
    QCOMPARE(undo()->text(), qtTrId("desk_undo_deleted", 2));
    undo()->commit();
    settle();
    QCOMPARE(handler()->reminderModel()->count(), 1);
    QCOMPARE(store()->count(), 1);
}

void DeskUndoTest::deletingAllCompletedTakesTheListShown()
{
    const QString a = add(QStringLiteral("buy apples"));
    const QString b = add(QStringLiteral("buy bread"));
    const QString c = add(QStringLiteral("call Sam"));
    handler()->completedReminder(a, true);
    handler()->completedReminder(c, true);
    // While searching (the store has every record by now), the completed
    // results only.
    settle();
    handler()->search(QStringLiteral("buy"));
    QTRY_COMPARE(handler()->searchModel()->count(), 2);
    undo()->removeAllCompleted(true);
    QVERIFY(undo()->isHidden(a));
    QVERIFY(!undo()->isHidden(c));
    QCOMPARE(undo()->hiddenCount(true), 1);
    undo()->commit();
    settle();
    QVERIFY(!handler()->reminderModel()->itemById(a));
    QVERIFY(handler()->reminderModel()->itemById(b));
    QVERIFY(handler()->reminderModel()->itemById(c));
}

void DeskUndoTest::theProgramEndingCarriesTheActionOut()
{
    const QString a = add(QStringLiteral("alpha"));
    add(QStringLiteral("bravo"));
    settle();
    undo()->remove(a);
    // The program ends at once, long before the toast's time is up.
    m_fx.stop();
    start();
    QCOMPARE(handler()->reminderModel()->count(), 1);
    QVERIFY(!handler()->reminderModel()->itemById(a));
    // The server was told as well.
    QTRY_VERIFY(m_fx.backend->server()->isTombstoned(DeskBackend::kAccountId, a));
}

void DeskUndoTest::aReminderGoneMeanwhileIsLeftAlone()
{
    const QString a = add(QStringLiteral("alpha"));
    undo()->complete(a);
    // Deleted meanwhile (by another device, say).
    handler()->deleteSelect(a);
    settle();
    QVERIFY(!handler()->reminderModel()->itemById(a));
    undo()->commit();
    settle();
    QCOMPARE(handler()->reminderModel()->count(), 0);
    QCOMPARE(store()->count(), 0);
}

QTEST_MAIN(DeskUndoTest)
#include "tst_deskundo.moc"
