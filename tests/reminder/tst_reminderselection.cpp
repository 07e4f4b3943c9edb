// ReminderHandler: the multi-selection (select, select all, select all
// completed, clear), deletion of the selection and of every completed
// reminder, the background keyword search that fills the search list, and
// drag reordering. Each is seen in the selection counts and their signals,
// in the lists, in storage, in the requests to the server and on the remind
// timer.
//
// The search job is the only user of the global thread pool in this test:
// waiting for the pool to run out is waiting for the job to finish, after
// which everything it posted is in the event queue.
#include "handlerfixture.h"

#include <QHash>
#include <QRandomGenerator>
#include <QThreadPool>

namespace {

const QString kA = QStringLiteral("7_1");
const QString kB = QStringLiteral("7_2");
const QString kC = QStringLiteral("7_3");
const QString kD = QStringLiteral("7_4");
const QString kE = QStringLiteral("7_5");
const QString kF = QStringLiteral("7_6");
constexpr qint64 kMinute = 60000;
// Stored reminders behind a search that is still running when the next
// call comes: a one-character keyword makes the job scan and post them all.
constexpr int kLongJob = 8000;

const QString kCompletedSignal = QStringLiteral("selectCompletedCountChanged");
const QString kCountSignal = QStringLiteral("selectCountChanged");

// Both selection signals, in the order they were emitted, with a spy on
// each for the counts.
struct SelectionSignals
{
    explicit SelectionSignals(ReminderHandler* h)
        : count(h, &ReminderHandler::selectCountChanged),
          completed(h, &ReminderHandler::selectCompletedCountChanged)
    {
        QObject::connect(h, &ReminderHandler::selectCompletedCountChanged, &context,
                         [this] { order << kCompletedSignal; });
        QObject::connect(h, &ReminderHandler::selectCountChanged, &context, [this] { order << kCountSignal; });
    }

    void clear()
    {
        count.clear();
        completed.clear();
        order.clear();
    }

    // Empty when exactly `expected` was emitted, in that order.
    QString diff(const QStringList& expected) const
    {
        const qsizetype wantCompleted = expected.count(kCompletedSignal);
        const qsizetype wantCount = expected.count(kCountSignal);
        QStringList out;
        if (order != expected)
            out << QStringLiteral("emitted [%1], expected [%2]").arg(order.join(QStringLiteral(", ")),
                                                                    expected.join(QStringLiteral(", ")));
        if (count.count() != wantCount)
            out << QStringLiteral("selectCountChanged %1 times, expected %2").arg(count.count()).arg(wantCount);
        if (completed.count() != wantCompleted)
            out << QStringLiteral("selectCompletedCountChanged %1 times, expected %2")
                       .arg(completed.count())
                       .arg(wantCompleted);
        return out.join(QStringLiteral("; "));
    }

    QSignalSpy count;
    QSignalSpy completed;
    QObject context;
    QStringList order;
};

// The signals of one selection operation: completed count, then count.
QStringList both()
{
    return {kCompletedSignal, kCountSignal};
}

// Loads what was stored; with `listed` the host's first listing is over, so
// every change is also sent. The spies start empty afterwards.
void start(HandlerFixture& f, bool listed = true)
{
    f.handler->loadLocalData(false);
    if (listed)
        QMetaObject::invokeMethod(f.handler, "onListFinished");
    f.settle();
    f.notified->clear();
    f.withdrawn->clear();
    f.sent->clear();
    f.deleted->clear();
}

ReminderItemPtr live(HandlerFixture& f, const QString& id)
{
    return f.handler->reminderModel()->itemById(id);
}

bool storedRecordExists(HandlerFixture& f, const QString& id)
{
    bool found = false;
    f.store()->info(id, &found);
    return found;
}

QString rowId(ReminderModel* model, int row)
{
    const ReminderItemPtr item = model->data(model->index(row), ReminderModel::ReminderDataRole).value<ReminderItemPtr>();
    return item ? item->remindId() : QString();
}

// The shown rows of the main list, top to bottom.
QStringList rows(HandlerFixture& f)
{
    QStringList ids;
    ReminderModel* model = f.handler->reminderModel();
    for (int row = 0; row < model->rowCount(); ++row)
        ids << rowId(model, row);
    return ids;
}

QStringList allIds(ReminderModel* model)
{
    QStringList ids;
    model->allIds(ids);
    return ids;
}

// A text reminder due tomorrow (one minute apart per `slot`), with the
// given order time; completed ones have fired.
ReminderItemPtr textItem(const QString& id, const QString& text, bool completed, qint64 order, int slot)
{
    ReminderItemPtr item = HandlerFixture::makeItem(id, at(2031, 6, 3, 9) + slot * kMinute, text);
    item->setOrderTime(order);
    if (completed) {
        item->setReminded(true);
        item->setCompleted(true);
    }
    return item;
}

// Six reminders, newest order time first: three open and one completed in
// English, one open and one completed with Chinese text. In the main list
// (completed first) they come as kB, kE, kA, kC, kD, kF.
void storeSample(HandlerFixture& f)
{
    struct Row
    {
        QString id;
        QString text;
        bool completed;
    };
    const QList<Row> sample = {
        {kA, QStringLiteral("Buy milk"), false},
        {kB, QStringLiteral("buy bread"), true},
        {kC, QStringLiteral("call Bob about the milk"), false},
        {kD, QStringLiteral("买牛奶"), false},
        {kE, QStringLiteral("牛仔裤 repair"), true},
        {kF, QStringLiteral("milky way photo"), false},
    };
    for (int i = 0; i < sample.size(); ++i)
        f.storeItem(textItem(sample[i].id, sample[i].text, sample[i].completed, 10000 - i * 1000, i));
}

// Waits for the search job to run out, then delivers what it posted.
bool finishSearch()
{
    if (!QThreadPool::globalInstance()->waitForDone(120000))
        return false;
    for (int i = 0; i < 2; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
    return true;
}

// Every search result is the main list's own item; empty when so.
QString resultsNotShared(HandlerFixture& f)
{
    QStringList out;
    for (const QString& id : allIds(f.handler->searchModel())) {
        if (f.handler->searchModel()->itemById(id).data() != live(f, id).data())
            out << id;
    }
    return out.join(QStringLiteral(", "));
}

// Words the generated reminders are made of.
const QStringList& vocabulary()
{
    static const QStringList words = {
        QStringLiteral("buy"),     QStringLiteral("milk"),   QStringLiteral("bread"),  QStringLiteral("butter"),
        QStringLiteral("bus"),     QStringLiteral("ticket"), QStringLiteral("call"),   QStringLiteral("bob"),
        QStringLiteral("mum"),     QStringLiteral("birthday"), QStringLiteral("book"), QStringLiteral("dentist"),
        QStringLiteral("pay"),     QStringLiteral("bill"),   QStringLiteral("taxes"),  QStringLiteral("walk"),
        QStringLiteral("dog"),     QStringLiteral("meeting"), QStringLiteral("mail"),  QStringLiteral("tea"),
        QStringLiteral("买"),      QStringLiteral("牛奶"),   QStringLiteral("会议"),   QStringLiteral("生日"),
    };
    return words;
}

// Stores n reminders with texts of two to five words drawn from the
// vocabulary with a seeded generator; every seventh one is completed. Ids
// are "7_<first>" onwards, order times distinct and descending. Returns the
// text of every stored id.
QHash<QString, QString> storeMany(HandlerFixture& f, int n, quint32 seed, int first = 1)
{
    QRandomGenerator rng(seed);
    const QStringList& words = vocabulary();
    QList<storage::ReminderInfo> infos;
    infos.reserve(n);
    QHash<QString, QString> texts;
    for (int i = 0; i < n; ++i) {
        const QString id = QStringLiteral("7_%1").arg(first + i);
        QStringList parts;
        const int length = 2 + int(rng.bounded(4));
        for (int w = 0; w < length; ++w)
            parts << words.at(int(rng.bounded(int(words.size()))));
        const QString text = parts.join(QLatin1Char(' '));
        ReminderItemPtr item = textItem(id, text, i % 7 == 3, 10000000 - qint64(first + i) * 10, i % 600);
        storage::ReminderInfo info;
        if (!item->serialize(info))
            return {};
        infos.append(info);
        texts.insert(id, text);
    }
    if (!f.store()->saveAll(infos))
        return {};
    return texts;
}

// What a search for `keyword` must show: the main list's items whose text
// contains it (ignoring case), in the list's own order.
QStringList expectedResults(HandlerFixture& f, const QHash<QString, QString>& texts, const QString& keyword)
{
    QStringList ids;
    for (const QString& id : allIds(f.handler->reminderModel())) {
        if (texts.value(id).contains(keyword, Qt::CaseInsensitive))
            ids << id;
    }
    return ids;
}

// What typing `phrase` and then deleting back to `keep` characters sends
// to search(): every prefix on the way.
QStringList typing(const QString& phrase, int keep)
{
    QStringList keywords;
    for (int n = 1; n <= phrase.size(); ++n)
        keywords << phrase.left(n);
    for (int n = int(phrase.size()) - 1; n >= keep; --n)
        keywords << phrase.left(n);
    return keywords;
}

} // namespace

class TestReminderSelection : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ReminderHandler::registerMetaType("unused"); }

    // selection
    void selectingAnIdInNoListTogglesItAndEmitsTheCountSignalOnly();
    void selectingACompletedReminderAdjustsTheCompletedCount();
    void selectedIsExactAndCaseSensitive();
    void selectAllTakesEveryItemOfTheMainListOrClearsAll();
    void selectAllDuringASearchTakesOnlyTheResults();
    void selectingACompletedSearchResultCountsOnlyWhileTheMainListHoldsIt();
    void selectAllCompletedAddsAndDropsOnlyCompletedItems();
    void selectAllCompletedDuringASearchTakesOnlyCompletedResults();
    void clearSelectEmptiesTheSelection();

    // deleting the selection, and every completed reminder
    void deletingAnEmptySelectionSendsAnEmptyRequestAndEmitsBothSignals();
    void deletingTheSelectionRemovesRecordsRowsAndSendsOneRequest();
    void deletingTheSelectionSendsTheIdsInSelectionOrder();
    void deletingTheSelectionStoreTakesTheIdsOfTheCallListsThoseOfThePostedCall();
    void deletingAllCompletedRemovesThemAndSendsTheRequestAtOnce();
    void deletingAllCompletedDuringASearchWorksOnTheResults();
    void deletingTheNearestReminderRereadsTheStoresNearestTime();
    void deletingWhenTheStoreHasNoPendingTimeLeftStopsTheTimer();

    // search
    void searchingAnEmptyKeywordEmptiesTheResultsAndKeepsTheSearchingState();
    void searchFindsByKeyword_data();
    void searchFindsByKeyword();
    void searchTakesTheMainListsExpandState();
    void searchSkipsRecordsWithoutAnItemInTheMainList();
    void resultsPostedByAnEarlierSearchAreDropped();
    void searchingWhileTypingShowsOnlyTheLastKeywordsResults();
    void resetSearchDuringARunningSearchLeavesNoResults();
    void resetSearchDropsResultsPostedBeforeIt();
    void clearingDataDuringARunningSearchWaitsForItAndALaterSearchWorks();
    void resultsPostedBeforeClearingDataDoNotComeBackAfterIt();

    // drag reordering
    void moveThenMoveFinishRenumbersStoresAndSendsTheChangedItems();
    void aDragOrderSurvivesAReload();
    void aDragBeforeTheFirstListingIsSentWhenTheListingFinishes();
    void moveActsOnTheMainListDuringASearch();
};

// ------------------------------------------------------------- selection

void TestReminderSelection::selectingAnIdInNoListTogglesItAndEmitsTheCountSignalOnly()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    SelectionSignals s(f.handler);
    const QString stranger = QStringLiteral("7_99");

    f.handler->select(stranger);
    QVERIFY(f.handler->selected(stranger));
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QCOMPARE(s.diff({kCountSignal}), QString());

    s.clear();
    f.handler->select(stranger);
    QVERIFY(!f.handler->selected(stranger));
    QCOMPARE(f.handler->selectCount(), 0);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QCOMPARE(s.diff({kCountSignal}), QString());
    // Nothing else moved.
    QCOMPARE(f.handler->reminderModel()->count(), 6);
    QCOMPARE(f.deleted->count(), 0);
}

void TestReminderSelection::selectingACompletedReminderAdjustsTheCompletedCount()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    SelectionSignals s(f.handler);

    f.handler->select(kB); // completed
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    QCOMPARE(s.diff(both()), QString());

    s.clear();
    f.handler->select(kA); // open
    QCOMPARE(f.handler->selectCount(), 2);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    QCOMPARE(s.diff({kCountSignal}), QString());

    s.clear();
    f.handler->select(kE); // completed
    QCOMPARE(f.handler->selectCount(), 3);
    QCOMPARE(f.handler->selectCompletedCount(), 2);
    QCOMPARE(s.diff(both()), QString());

    s.clear();
    f.handler->select(kB); // deselected
    QVERIFY(!f.handler->selected(kB));
    QVERIFY(f.handler->selected(kA));
    QVERIFY(f.handler->selected(kE));
    QCOMPARE(f.handler->selectCount(), 2);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    QCOMPARE(s.diff(both()), QString());
}

void TestReminderSelection::selectedIsExactAndCaseSensitive()
{
    HandlerFixture f;
    const QString lower = QStringLiteral("web_a1");
    const QString upper = QStringLiteral("WEB_A1");
    f.storeItem(textItem(lower, QStringLiteral("water plants"), false, 5000, 0));
    f.storeItem(textItem(upper, QStringLiteral("feed cat"), true, 4000, 1));
    start(f);
    SelectionSignals s(f.handler);

    f.handler->select(lower);
    QVERIFY(f.handler->selected(lower));
    QVERIFY(!f.handler->selected(upper));
    QVERIFY(!f.handler->selected(QStringLiteral("Web_a1")));
    QVERIFY(!f.handler->selected(QStringLiteral("web_a")));
    QVERIFY(!f.handler->selected(QStringLiteral("web_a1 ")));
    QVERIFY(!f.handler->selected(QString()));
    QCOMPARE(s.diff({kCountSignal}), QString());

    // The other spelling is another id: selected beside the first one.
    s.clear();
    f.handler->select(upper);
    QVERIFY(f.handler->selected(lower));
    QVERIFY(f.handler->selected(upper));
    QCOMPARE(f.handler->selectCount(), 2);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    QCOMPARE(s.diff(both()), QString());
}

void TestReminderSelection::selectAllTakesEveryItemOfTheMainListOrClearsAll()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->select(QStringLiteral("7_99"));
    SelectionSignals s(f.handler);

    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), 6);
    QCOMPARE(f.handler->selectCompletedCount(), 2);
    for (const QString& id : {kA, kB, kC, kD, kE, kF})
        QVERIFY2(f.handler->selected(id), qPrintable(id));
    // The selection is replaced, not added to.
    QVERIFY(!f.handler->selected(QStringLiteral("7_99")));
    QCOMPARE(s.diff(both()), QString());

    s.clear();
    f.handler->selectAll(false);
    QCOMPARE(f.handler->selectCount(), 0);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QVERIFY(!f.handler->selected(kA));
    QVERIFY(!f.handler->selected(kB));
    QCOMPARE(s.diff(both()), QString());

    // Even with nothing to change, both signals come.
    s.clear();
    f.handler->selectAll(false);
    QCOMPARE(s.diff(both()), QString());
}

void TestReminderSelection::selectAllDuringASearchTakesOnlyTheResults()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->search(QStringLiteral("milk")); // kA, kC, kF: all open
    QVERIFY(finishSearch());
    QCOMPARE(allIds(f.handler->searchModel()), (QStringList{kA, kC, kF}));
    SelectionSignals s(f.handler);

    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), 3);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    for (const QString& id : {kA, kC, kF})
        QVERIFY2(f.handler->selected(id), qPrintable(id));
    for (const QString& id : {kB, kD, kE})
        QVERIFY2(!f.handler->selected(id), qPrintable(id));
    QCOMPARE(s.diff(both()), QString());

    f.handler->search(QStringLiteral("buy")); // kB (completed), kA
    QVERIFY(finishSearch());
    QCOMPARE(allIds(f.handler->searchModel()), (QStringList{kB, kA}));
    s.clear();
    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), 2);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    QVERIFY(f.handler->selected(kA));
    QVERIFY(f.handler->selected(kB));
    QVERIFY(!f.handler->selected(kC));
    QCOMPARE(s.diff(both()), QString());

    s.clear();
    f.handler->selectAll(false);
    QCOMPARE(f.handler->selectCount(), 0);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QCOMPARE(s.diff(both()), QString());

    // Once the search is over, the main list again.
    f.handler->resetSearch();
    s.clear();
    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), 6);
    QCOMPARE(f.handler->selectCompletedCount(), 2);
    QCOMPARE(s.diff(both()), QString());
}

void TestReminderSelection::selectingACompletedSearchResultCountsOnlyWhileTheMainListHoldsIt()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->search(QStringLiteral("bread")); // kB, completed
    QVERIFY(finishSearch());
    QCOMPARE(allIds(f.handler->searchModel()), QStringList{kB});
    SelectionSignals s(f.handler);

    f.handler->select(kB);
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    QCOMPARE(s.diff(both()), QString());
    s.clear();
    f.handler->select(kB);
    QCOMPARE(f.handler->selectCount(), 0);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QCOMPARE(s.diff(both()), QString());

    // The main list lets go of it; the search list still shows it.
    f.handler->reminderModel()->removeById(kB);
    QVERIFY(!live(f, kB));
    QVERIFY(f.handler->searchModel()->itemById(kB));
    QVERIFY(f.handler->searchModel()->itemById(kB)->completed());
    s.clear();
    f.handler->select(kB);
    QVERIFY(f.handler->selected(kB));
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QCOMPARE(s.diff({kCountSignal}), QString());
}

void TestReminderSelection::selectAllCompletedAddsAndDropsOnlyCompletedItems()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->select(kA); // open
    f.handler->select(kE); // completed, already selected
    SelectionSignals s(f.handler);

    f.handler->selectAllCompleted(true);
    QCOMPARE(f.handler->selectCount(), 3); // kA, kE and kB; kE not twice
    QCOMPARE(f.handler->selectCompletedCount(), 2);
    QVERIFY(f.handler->selected(kA));
    QVERIFY(f.handler->selected(kB));
    QVERIFY(f.handler->selected(kE));
    QVERIFY(!f.handler->selected(kC));
    QCOMPARE(s.diff(both()), QString());

    s.clear();
    f.handler->selectAllCompleted(false);
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QVERIFY(f.handler->selected(kA)); // open items stay selected
    QVERIFY(!f.handler->selected(kB));
    QVERIFY(!f.handler->selected(kE));
    QCOMPARE(s.diff(both()), QString());

    // Once more off: nothing changes, both signals still come.
    s.clear();
    f.handler->selectAllCompleted(false);
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(s.diff(both()), QString());
}

void TestReminderSelection::selectAllCompletedDuringASearchTakesOnlyCompletedResults()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->search(QStringLiteral("牛")); // kE (completed), kD
    QVERIFY(finishSearch());
    QCOMPARE(allIds(f.handler->searchModel()), (QStringList{kE, kD}));
    f.handler->select(kC);
    SelectionSignals s(f.handler);

    f.handler->selectAllCompleted(true);
    QCOMPARE(f.handler->selectCount(), 2);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    QVERIFY(f.handler->selected(kE));
    QVERIFY(f.handler->selected(kC));
    QVERIFY(!f.handler->selected(kB)); // completed, but not a result
    QCOMPARE(s.diff(both()), QString());

    s.clear();
    f.handler->selectAllCompleted(false);
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QVERIFY(f.handler->selected(kC));
    QCOMPARE(s.diff(both()), QString());
}

void TestReminderSelection::clearSelectEmptiesTheSelection()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->select(kA);
    f.handler->select(kB);
    f.handler->select(QStringLiteral("7_99"));
    QCOMPARE(f.handler->selectCount(), 3);
    QCOMPARE(f.handler->selectCompletedCount(), 1);
    SelectionSignals s(f.handler);

    f.handler->clearSelect();
    QCOMPARE(f.handler->selectCount(), 0);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QVERIFY(!f.handler->selected(kA));
    QVERIFY(!f.handler->selected(kB));
    QVERIFY(!f.handler->selected(QStringLiteral("7_99")));
    QCOMPARE(s.diff(both()), QString());

    s.clear();
    f.handler->clearSelect();
    QCOMPARE(s.diff(both()), QString());
    // Only the selection went.
    QCOMPARE(f.handler->reminderModel()->count(), 6);
    QCOMPARE(f.store()->count(), 6);
}

// -------------------------------------------------------------- deletion

void TestReminderSelection::deletingAnEmptySelectionSendsAnEmptyRequestAndEmitsBothSignals()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    SelectionSignals s(f.handler);

    f.handler->deleteSelects();
    // Everything happens in the call posted back after the store.
    QCOMPARE(s.diff({}), QString());
    QCOMPARE(f.deleted->count(), 0);
    f.settle();

    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), QStringList());
    QCOMPARE(s.diff(both()), QString());
    QCOMPARE(f.store()->count(), 6);
    QCOMPARE(f.handler->reminderModel()->count(), 6);
    QCOMPARE(f.sent->count(), 0);
}

void TestReminderSelection::deletingTheSelectionRemovesRecordsRowsAndSendsOneRequest()
{
    HandlerFixture f;
    ReminderItemPtr unsent = textItem(kA, QStringLiteral("Buy milk"), false, 10000, 0);
    unsent->setLastPatternTime(at(2031, 6, 1, 9)); // an unsent change
    f.storeItem(unsent);
    f.storeItem(textItem(kB, QStringLiteral("buy bread"), true, 9000, 1));
    f.storeItem(textItem(kC, QStringLiteral("call Bob"), false, 8000, 2));
    f.storeItem(textItem(kD, QStringLiteral("walk the dog"), true, 7000, 3));
    start(f, false);
    QVERIFY(f.probe->pendingSync().contains(kA));
    const storage::ReminderInfo keptC = f.record(kC);
    const storage::ReminderInfo keptD = f.record(kD);
    f.handler->select(kA);
    f.handler->select(kB);
    SelectionSignals s(f.handler);

    f.handler->deleteSelects();
    QVERIFY(!f.probe->pendingSync().contains(kA));
    // The lists follow the store.
    QVERIFY(live(f, kA));
    QVERIFY(live(f, kB));
    QCOMPARE(f.handler->selectCount(), 2);
    f.settle();

    QVERIFY(!storedRecordExists(f, kA));
    QVERIFY(!storedRecordExists(f, kB));
    QCOMPARE(f.record(kC), keptC);
    QCOMPARE(f.record(kD), keptD);
    QCOMPARE(f.store()->count(), 2);
    QVERIFY(!live(f, kA));
    QVERIFY(!live(f, kB));
    QCOMPARE(f.handler->reminderModel()->count(), 2);
    QCOMPARE(f.handler->reminderModel()->completedCount(), 1);
    QCOMPARE(rows(f), QStringList{kC});
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), (QStringList{kA, kB}));
    QCOMPARE(f.sent->count(), 0);
    QCOMPARE(f.handler->selectCount(), 0);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QVERIFY(!f.handler->selected(kA));
    // kA's deselection, kB's (completed), then the final pair.
    QCOMPARE(s.diff({kCountSignal, kCompletedSignal, kCountSignal, kCompletedSignal, kCountSignal}), QString());
}

void TestReminderSelection::deletingTheSelectionSendsTheIdsInSelectionOrder()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->selectAll(true);
    f.handler->select(kC); // out
    f.handler->select(QStringLiteral("7_99"));
    f.handler->select(kC); // back in, last

    f.handler->deleteSelects();
    f.settle();

    // Select all lists completed items first, each section in list order;
    // later selections follow in the order they were made. An id in no list
    // is sent as well.
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(),
             (QStringList{kB, kE, kA, kD, kF, QStringLiteral("7_99"), kC}));
    QCOMPARE(f.store()->count(), 0);
    QCOMPARE(f.handler->reminderModel()->count(), 0);
    QCOMPARE(f.handler->selectCount(), 0);
}

void TestReminderSelection::deletingTheSelectionStoreTakesTheIdsOfTheCallListsThoseOfThePostedCall()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->select(kA);
    f.handler->select(kB);

    f.handler->deleteSelects();
    // Before the posted call runs the user changes the selection.
    f.handler->select(kA); // deselected
    f.handler->select(kC);
    SelectionSignals s(f.handler);
    f.settle();

    // The store dropped what was selected at the call...
    QVERIFY(!storedRecordExists(f, kA));
    QVERIFY(!storedRecordExists(f, kB));
    QVERIFY(storedRecordExists(f, kC));
    // ...the lists what was selected when the posted call ran.
    QVERIFY(live(f, kA));
    QVERIFY(!live(f, kB));
    QVERIFY(!live(f, kC));
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), (QStringList{kB, kC}));
    QCOMPARE(f.handler->selectCount(), 0);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QCOMPARE(s.diff({kCompletedSignal, kCountSignal, kCountSignal, kCompletedSignal, kCountSignal}), QString());
}

void TestReminderSelection::deletingAllCompletedRemovesThemAndSendsTheRequestAtOnce()
{
    HandlerFixture f;
    ReminderItemPtr unsent = textItem(kB, QStringLiteral("buy bread"), true, 9000, 1);
    unsent->setLastCompletedTime(at(2031, 6, 1, 9)); // an unsent change
    f.storeItem(textItem(kA, QStringLiteral("Buy milk"), false, 10000, 0));
    f.storeItem(unsent);
    f.storeItem(textItem(kC, QStringLiteral("call Bob"), false, 8000, 2));
    f.storeItem(textItem(kD, QStringLiteral("walk the dog"), true, 7000, 3));
    start(f, false);
    QVERIFY(f.probe->pendingSync().contains(kB));
    const storage::ReminderInfo keptA = f.record(kA);
    f.handler->select(kA);
    f.handler->select(kB);
    SelectionSignals s(f.handler);

    f.handler->deleteAllCompleted();
    // At once: out of the lists and the selection, the request sent.
    QVERIFY(!live(f, kB));
    QVERIFY(!live(f, kD));
    QCOMPARE(f.handler->reminderModel()->count(), 2);
    QCOMPARE(f.handler->reminderModel()->completedCount(), 0);
    QVERIFY(!f.probe->pendingSync().contains(kB));
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), (QStringList{kB, kD}));
    QVERIFY(f.handler->selected(kA));
    QVERIFY(!f.handler->selected(kB));
    QCOMPARE(f.handler->selectCount(), 1);
    QCOMPARE(f.handler->selectCompletedCount(), 0);
    QCOMPARE(s.diff(both()), QString()); // kB's deselection only
    f.settle();

    QVERIFY(!storedRecordExists(f, kB));
    QVERIFY(!storedRecordExists(f, kD));
    QCOMPARE(f.record(kA), keptA);
    QVERIFY(storedRecordExists(f, kC));
    QCOMPARE(f.store()->count(), 2);
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(rows(f), (QStringList{kA, kC}));
}

void TestReminderSelection::deletingAllCompletedDuringASearchWorksOnTheResults()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->search(QStringLiteral("bu")); // kB (completed), kA
    QVERIFY(finishSearch());
    QCOMPARE(allIds(f.handler->searchModel()), (QStringList{kB, kA}));

    f.handler->deleteAllCompleted();
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), QStringList{kB});
    QVERIFY(!live(f, kB));
    QVERIFY(live(f, kE)); // completed, not a result
    QCOMPARE(allIds(f.handler->searchModel()), QStringList{kA});
    f.settle();

    QVERIFY(!storedRecordExists(f, kB));
    QVERIFY(storedRecordExists(f, kE));
    QCOMPARE(f.store()->count(), 5);
    QCOMPARE(f.handler->reminderModel()->completedCount(), 1);
}

void TestReminderSelection::deletingTheNearestReminderRereadsTheStoresNearestTime()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 14)));
    start(f);
    // A record the list does not show, between the two: only the store
    // knows it.
    f.storeItem(HandlerFixture::makeItem(kC, at(2031, 6, 2, 13, 30)));
    f.handler->readyReminder();
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 30));
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 30 * kMinute + 1000);

    f.handler->deleteSelect(kA);
    f.settle();

    QVERIFY(!live(f, kA));
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 13, 30));
    // More than an hour ahead now: the hourly tick.
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), ONE_HOURE);
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), QStringList{kA});
}

void TestReminderSelection::deletingWhenTheStoreHasNoPendingTimeLeftStopsTheTimer()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 14)));
    start(f);
    f.handler->readyReminder();
    QVERIFY(f.probe->timer().isActive());
    // The list still shows kB as pending; the store no longer has it.
    QVERIFY(f.store()->remove(kB));
    f.handler->select(kA);

    f.handler->deleteSelects();
    f.settle();

    QVERIFY(!live(f, kA));
    QVERIFY(live(f, kB));
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.notified->count(), 0);
}

// ---------------------------------------------------------------- search

void TestReminderSelection::searchingAnEmptyKeywordEmptiesTheResultsAndKeepsTheSearchingState()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->search(QStringLiteral("milk"));
    QVERIFY(finishSearch());
    QCOMPARE(f.handler->searchModel()->count(), 3);

    f.handler->search(QString());
    QCOMPARE(f.handler->searchModel()->count(), 0);
    QVERIFY(finishSearch());
    QCOMPARE(f.handler->searchModel()->count(), 0);
    // Still searching: select all works on the (empty) search list.
    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), 0);

    f.handler->resetSearch();
    f.handler->search(QString());
    QVERIFY(finishSearch());
    QCOMPARE(f.handler->searchModel()->count(), 0);
    // Still not searching: select all works on the main list.
    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), 6);
}

void TestReminderSelection::searchFindsByKeyword_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QStringList>("expected"); // completed first, each in list order
    QTest::newRow("1 char") << QStringLiteral("k") << QStringList{kA, kC, kF};
    QTest::newRow("1 char, upper case") << QStringLiteral("K") << QStringList{kA, kC, kF};
    QTest::newRow("2 chars") << QStringLiteral("ll") << QStringList{kC};
    QTest::newRow("2 chars, upper case") << QStringLiteral("BU") << QStringList{kB, kA};
    QTest::newRow("3 chars") << QStringLiteral("BRE") << QStringList{kB};
    QTest::newRow("4 chars") << QStringLiteral("milk") << QStringList{kA, kC, kF};
    QTest::newRow("with a space") << QStringLiteral("y wa") << QStringList{kF};
    QTest::newRow("1 Chinese char") << QStringLiteral("牛") << QStringList{kE, kD};
    QTest::newRow("2 Chinese chars") << QStringLiteral("牛奶") << QStringList{kD};
    QTest::newRow("3 Chinese chars") << QStringLiteral("买牛奶") << QStringList{kD};
    QTest::newRow("Chinese and Latin") << QStringLiteral("仔裤 re") << QStringList{kE};
    QTest::newRow("no match, 3 chars") << QStringLiteral("xyz") << QStringList{};
    QTest::newRow("no match, 1 char") << QStringLiteral("%") << QStringList{};
}

void TestReminderSelection::searchFindsByKeyword()
{
    QFETCH(QString, keyword);
    QFETCH(QStringList, expected);
    HandlerFixture f;
    storeSample(f);
    start(f);

    f.handler->search(keyword);
    QCOMPARE(f.handler->searchModel()->count(), 0); // results come by posted calls
    QVERIFY(finishSearch());

    QCOMPARE(allIds(f.handler->searchModel()), expected);
    QCOMPARE(resultsNotShared(f), QString());
    // The main list is untouched.
    QCOMPARE(f.handler->reminderModel()->count(), 6);
    // Searching selects all from the results.
    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), int(expected.size()));
}

void TestReminderSelection::searchTakesTheMainListsExpandState()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    f.handler->reminderModel()->setExpand(true);
    f.handler->search(QStringLiteral("bu"));
    QVERIFY(f.handler->searchModel()->expand());
    QVERIFY(finishSearch());
    // Expanded: the completed result has a row, first.
    QCOMPARE(f.handler->searchModel()->rowCount(), 2);
    QCOMPARE(rowId(f.handler->searchModel(), 0), kB);
    QCOMPARE(rowId(f.handler->searchModel(), 1), kA);

    f.handler->reminderModel()->setExpand(false);
    f.handler->search(QStringLiteral("bu"));
    QVERIFY(!f.handler->searchModel()->expand());
    QVERIFY(finishSearch());
    QCOMPARE(f.handler->searchModel()->count(), 2);
    QCOMPARE(f.handler->searchModel()->rowCount(), 1);
    QCOMPARE(rowId(f.handler->searchModel(), 0), kA);
}

void TestReminderSelection::searchSkipsRecordsWithoutAnItemInTheMainList()
{
    HandlerFixture f;
    storeSample(f);
    start(f);
    // Stored after the load: records the main list has no item for.
    f.storeItem(textItem(QStringLiteral("7_50"), QStringLiteral("buy stamps"), false, 20000, 10));
    f.storeItem(textItem(QStringLiteral("7_51"), QStringLiteral("buy tea"), true, 30000, 11));

    f.handler->search(QStringLiteral("buy"));
    QVERIFY(finishSearch());
    QCOMPARE(allIds(f.handler->searchModel()), (QStringList{kB, kA}));
    QCOMPARE(resultsNotShared(f), QString());

    f.handler->search(QStringLiteral("b"));
    QVERIFY(finishSearch());
    QCOMPARE(allIds(f.handler->searchModel()), (QStringList{kB, kA, kC}));
}

void TestReminderSelection::resultsPostedByAnEarlierSearchAreDropped()
{
    HandlerFixture f;
    const QHash<QString, QString> texts = storeMany(f, 2000, 11);
    QCOMPARE(texts.size(), 2000);
    start(f);
    const QStringList many = expectedResults(f, texts, QStringLiteral("b"));
    const QStringList few = expectedResults(f, texts, QStringLiteral("dentist"));
    QVERIFY(many.size() > few.size());
    QVERIFY(!few.isEmpty());

    // The first job has run out: all its results wait in the event queue.
    f.handler->search(QStringLiteral("b"));
    QVERIFY(QThreadPool::globalInstance()->waitForDone(120000));
    f.handler->search(QStringLiteral("dentist"));
    QCOMPARE(f.handler->searchModel()->count(), 0);
    QVERIFY(finishSearch());

    QCOMPARE(allIds(f.handler->searchModel()), few);
    QCOMPARE(resultsNotShared(f), QString());
}

void TestReminderSelection::searchingWhileTypingShowsOnlyTheLastKeywordsResults()
{
    HandlerFixture f;
    const QHash<QString, QString> texts = storeMany(f, 3000, 7);
    QCOMPARE(texts.size(), 3000);
    start(f);
    QCOMPARE(f.handler->reminderModel()->count(), 3000);
    // Records the list does not show: never a result.
    QCOMPARE(storeMany(f, 60, 8, 5001).size(), 60);

    const QStringList phrases = {QStringLiteral("buy milk"), QStringLiteral("bus ticket"),
                                 QStringLiteral("mum birthday"), QStringLiteral("milk tea"),
                                 QStringLiteral("bill dentist"), QStringLiteral("买 牛奶"),
                                 QStringLiteral("会议 mail")};
    QRandomGenerator rng(2031);
    QSet<int> resultSizes;
    for (int round = 0; round < 40; ++round) {
        const QString phrase = phrases.at(round % phrases.size());
        const int keep = 1 + int(rng.bounded(int(phrase.size())));
        const QStringList keywords = typing(phrase, keep);
        for (const QString& keyword : keywords) {
            f.handler->search(keyword);
            QCOMPARE(f.handler->searchModel()->count(), 0);
            switch (rng.bounded(3)) {
            case 0: // the next key comes at once
                break;
            case 1: // part of the results arrive before the next key
                QCoreApplication::processEvents();
                break;
            default: // the job runs out first; its results wait in the queue
                QVERIFY(QThreadPool::globalInstance()->waitForDone(120000));
                break;
            }
        }
        QVERIFY(finishSearch());
        const QString last = keywords.last();
        const QStringList expected = expectedResults(f, texts, last);
        QVERIFY2(allIds(f.handler->searchModel()) == expected,
                 qPrintable(QStringLiteral("round %1, keyword \"%2\": %3 results, %4 expected")
                                .arg(round)
                                .arg(last)
                                .arg(f.handler->searchModel()->count())
                                .arg(expected.size())));
        QCOMPARE(resultsNotShared(f), QString());
        resultSizes.insert(int(expected.size()));
    }
    // The rounds ended on keywords with different result sets.
    QVERIFY(resultSizes.size() >= 5);
    QCOMPARE(f.handler->reminderModel()->count(), 3000);
}

void TestReminderSelection::resetSearchDuringARunningSearchLeavesNoResults()
{
    HandlerFixture f;
    const QHash<QString, QString> texts = storeMany(f, kLongJob, 3);
    QCOMPARE(texts.size(), kLongJob);
    start(f);

    f.handler->search(QStringLiteral("e"));
    f.handler->resetSearch();
    QCOMPARE(f.handler->searchModel()->count(), 0);
    QVERIFY(finishSearch());
    QCOMPARE(f.handler->searchModel()->count(), 0);
    // Not searching any more: select all takes the main list.
    f.handler->selectAll(true);
    QCOMPARE(f.handler->selectCount(), kLongJob);
    f.handler->clearSelect();

    // A later search runs to its end.
    f.handler->search(QStringLiteral("taxes"));
    QVERIFY(finishSearch());
    const QStringList expected = expectedResults(f, texts, QStringLiteral("taxes"));
    QVERIFY(!expected.isEmpty());
    QCOMPARE(allIds(f.handler->searchModel()), expected);
}

void TestReminderSelection::resetSearchDropsResultsPostedBeforeIt()
{
    HandlerFixture f;
    const QHash<QString, QString> texts = storeMany(f, 2000, 5);
    QCOMPARE(texts.size(), 2000);
    start(f);
    QVERIFY(!expectedResults(f, texts, QStringLiteral("m")).isEmpty());

    f.handler->search(QStringLiteral("m"));
    QVERIFY(QThreadPool::globalInstance()->waitForDone(120000));
    f.handler->resetSearch();
    QVERIFY(finishSearch());
    QCOMPARE(f.handler->searchModel()->count(), 0);
}

void TestReminderSelection::clearingDataDuringARunningSearchWaitsForItAndALaterSearchWorks()
{
    HandlerFixture f;
    const QHash<QString, QString> texts = storeMany(f, kLongJob, 9);
    QCOMPARE(texts.size(), kLongJob);
    start(f);
    f.handler->select(kA);

    f.handler->search(QStringLiteral("a"));
    f.handler->prepareToClearData(false);
    QCOMPARE(f.handler->selectCount(), 0);
    f.handler->clearData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 0);
    QCOMPARE(f.handler->searchModel()->count(), 0);

    // Loaded again, a new search shows its own results only.
    f.handler->loadLocalData(false);
    QCOMPARE(f.handler->reminderModel()->count(), kLongJob);
    f.handler->search(QStringLiteral("bread"));
    QVERIFY(finishSearch());
    const QStringList expected = expectedResults(f, texts, QStringLiteral("bread"));
    QVERIFY(!expected.isEmpty());
    QCOMPARE(allIds(f.handler->searchModel()), expected);
    QCOMPARE(resultsNotShared(f), QString());
}

void TestReminderSelection::resultsPostedBeforeClearingDataDoNotComeBackAfterIt()
{
    HandlerFixture f;
    const QHash<QString, QString> texts = storeMany(f, 2000, 13);
    QCOMPARE(texts.size(), 2000);
    start(f);
    QVERIFY(!expectedResults(f, texts, QStringLiteral("a")).isEmpty());

    // The job has run out: its results wait in the event queue.
    f.handler->search(QStringLiteral("a"));
    QVERIFY(QThreadPool::globalInstance()->waitForDone(120000));
    f.handler->prepareToClearData(false);
    f.handler->clearData(false);
    QCOMPARE(f.handler->searchModel()->count(), 0);
    QVERIFY(finishSearch());

    // The account's data is gone: neither list shows any of it.
    QCOMPARE(f.handler->reminderModel()->count(), 0);
    QCOMPARE(f.handler->searchModel()->count(), 0);
}

// ------------------------------------------------------- drag reordering

namespace {

// Six open reminders; rows kA (1000), kB (999), kC (998), kD (500),
// kE (100), kF (50).
void storeOrdered(HandlerFixture& f)
{
    const QList<QPair<QString, qint64>> order = {{kA, 1000}, {kB, 999}, {kC, 998},
                                                 {kD, 500},  {kE, 100}, {kF, 50}};
    for (int i = 0; i < order.size(); ++i)
        f.storeItem(textItem(order[i].first, QStringLiteral("task %1").arg(i), false, order[i].second, i));
}

// The two drags of the tests, and the order times they give:
// kD from row 3 to the top: one above kA, 1001.
// kE from row 4 to row 1: one below kD, 1000; kA, kB and kC then sit at or
// above the row before them and each goes one below it (999, 998, 997);
// kF (50) is already below kC and keeps its time.
void dragTwice(HandlerFixture& f)
{
    f.handler->move(3, 0);
    f.handler->move(4, 1);
}

const QStringList kDraggedRows = {kD, kE, kA, kB, kC, kF};
const QList<QPair<QString, qint64>> kChanged = {{kD, 1001}, {kE, 1000}, {kA, 999}, {kB, 998}, {kC, 997}};

} // namespace

void TestReminderSelection::moveThenMoveFinishRenumbersStoresAndSendsTheChangedItems()
{
    HandlerFixture f;
    storeOrdered(f);
    start(f);
    const storage::ReminderInfo keptF = f.record(kF);
    const quint64 tasks = ThreadManager::getInstance()->taskCount();

    dragTwice(f);
    QCOMPARE(rows(f), kDraggedRows);
    for (const auto& changed : kChanged)
        QCOMPARE(live(f, changed.first)->orderTime(), changed.second);
    QCOMPARE(live(f, kF)->orderTime(), 50);
    // Moving alone stores and sends nothing.
    QCOMPARE(ThreadManager::getInstance()->taskCount(), tasks);
    QCOMPARE(f.sent->count(), 0);
    QVERIFY(f.probe->pendingSync().isEmpty());

    f.handler->moveFinish();
    QCOMPARE(f.sent->count(), kChanged.size());
    for (int i = 0; i < kChanged.size(); ++i) {
        QCOMPARE(f.sent->at(i).at(0).toString(), kChanged[i].first);
        QCOMPARE(f.sentMessage(i).order_time(), kChanged[i].second);
        QVERIFY(f.probe->pendingSync().contains(kChanged[i].first));
    }
    f.settle();

    for (const auto& changed : kChanged) {
        QCOMPARE(f.record(changed.first).orderTime, changed.second);
        QCOMPARE(f.storedItem(changed.first)->orderTime(), changed.second);
    }
    QCOMPARE(f.record(kF), keptF);
    QVERIFY(!f.probe->pendingSync().contains(kF));

    // The moved items were handed on once: a second finish sends nothing.
    f.sent->clear();
    f.handler->moveFinish();
    QCOMPARE(f.sent->count(), 0);
}

void TestReminderSelection::aDragOrderSurvivesAReload()
{
    HandlerFixture f;
    storeOrdered(f);
    start(f);
    dragTwice(f);
    f.handler->moveFinish();
    f.settle();

    f.handler->prepareToClearData(false);
    f.handler->clearData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 0);
    f.handler->loadLocalData(false);
    f.settle();

    QCOMPARE(rows(f), kDraggedRows);
    for (const auto& changed : kChanged)
        QCOMPARE(live(f, changed.first)->orderTime(), changed.second);
    QCOMPARE(live(f, kF)->orderTime(), 50);
}

void TestReminderSelection::aDragBeforeTheFirstListingIsSentWhenTheListingFinishes()
{
    HandlerFixture f;
    storeOrdered(f);
    start(f, false);

    dragTwice(f);
    f.handler->moveFinish();
    f.settle();
    QCOMPARE(f.sent->count(), 0);
    for (const auto& changed : kChanged) {
        QCOMPARE(f.record(changed.first).orderTime, changed.second);
        QVERIFY(f.probe->pendingSync().contains(changed.first));
    }

    QMetaObject::invokeMethod(f.handler, "onListFinished");
    f.settle();
    QCOMPARE(f.sent->count(), kChanged.size());
    QHash<QString, qint64> sent;
    for (int i = 0; i < f.sent->count(); ++i)
        sent.insert(f.sent->at(i).at(0).toString(), f.sentMessage(i).order_time());
    for (const auto& changed : kChanged)
        QCOMPARE(sent.value(changed.first, -1), changed.second);
}

void TestReminderSelection::moveActsOnTheMainListDuringASearch()
{
    HandlerFixture f;
    storeOrdered(f);
    start(f);
    f.handler->search(QStringLiteral("task"));
    QVERIFY(finishSearch());
    QCOMPARE(f.handler->searchModel()->count(), 6);
    QSignalSpy mainMoved(f.handler->reminderModel(), &QAbstractItemModel::rowsMoved);
    QSignalSpy searchMoved(f.handler->searchModel(), &QAbstractItemModel::rowsMoved);

    f.handler->move(3, 0);
    QCOMPARE(mainMoved.count(), 1);
    QCOMPARE(searchMoved.count(), 0);
    QCOMPARE(rows(f), (QStringList{kD, kA, kB, kC, kE, kF}));
    QCOMPARE(live(f, kD)->orderTime(), 1001);
    f.handler->moveFinish();
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kD);
}

QTEST_GUILESS_MAIN(TestReminderSelection)
#include "tst_reminderselection.moc"
