// Bulk insertion into ReminderModel (the path that fills the list from local
// storage): ns per item for 1,000, 10,000 and 100,000 items, in descending
// sort-time order (as the store yields them) and in random order. Best of 3
// runs each. Floor, in the same run on the same input: copying the item
// pointers into a list and stable-sorting them into the list's order (open
// before completed, newest sort time first), nothing else.
//
// Also the list's index from id to item (ItemIndex), as a search uses it:
// the items of one id in six, looked up in chunks of 2,048 ids in the
// list's order, ns per id, with the caches emptied before each run; beside
// it the same lookups in a QHash<QString, ReminderItemPtr> (what the list
// used before), one by one.
#include "benchresults.h"
#include "itemindex.h"
#include "remindermodel.h"

#include <QHash>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kRuns = 3;

// n items with distinct sort times, newest first; one in five is completed
// and one in three sorts by its time stamp instead of an order time.
QList<ReminderItemPtr> makeItems(int n)
{
    QList<ReminderItemPtr> items;
    items.reserve(n);
    const qint64 newest = 1700000000000;
    for (int i = 0; i < n; ++i) {
        ReminderItemPtr item(new ReminderItem(QStringLiteral("bench_%1").arg(i)));
        const qint64 key = newest - qint64(i) * 997;
        if (i % 3 == 0)
            item->setTimestamp(key);
        else
            item->setOrderTime(key);
        item->setCompleted(i % 5 == 0);
        items.append(item);
    }
    return items;
}

// Best time of kRuns fills of a fresh model, in ns per item.
double bestNsPerItem(const QList<ReminderItemPtr>& items)
{
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < kRuns; ++run) {
        auto model = std::make_unique<ReminderModel>(nullptr);
        QElapsedTimer timer;
        timer.start();
        model->insertItems(items);
        const qint64 ns = timer.nsecsElapsed();
        if (model->count() != items.size()) {
            std::fprintf(stderr, "bench_remindermodel: %d items held, %lld expected\n",
                         model->count(), static_cast<long long>(items.size()));
            std::exit(1);
        }
        best = std::min(best, double(ns) / double(items.size()));
        model.reset(); // releasing the items is not measured
    }
    return best;
}

// The list's sort time: the order time, or the time stamp without one.
qint64 sortKey(const ReminderItemPtr& item)
{
    return item->orderTime() >= 1 ? item->orderTime() : item->timestamp();
}

// The floor: the items put in the list's order by a plain stable sort.
double floorNsPerItem(const QList<ReminderItemPtr>& items)
{
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < kRuns; ++run) {
        QElapsedTimer timer;
        timer.start();
        QList<ReminderItemPtr> sorted = items;
        std::stable_sort(sorted.begin(), sorted.end(), [](const ReminderItemPtr& a, const ReminderItemPtr& b) {
            if (a->completed() != b->completed())
                return !a->completed();
            return sortKey(a) > sortKey(b);
        });
        const qint64 ns = timer.nsecsElapsed();
        if (sorted.size() != items.size())
            std::exit(1);
        best = std::min(best, double(ns) / double(items.size()));
    }
    return best;
}

// Reads a buffer larger than the caches, so that a run starts cold as a
// search among many reminders does.
void evictCaches()
{
    static std::vector<char> junk(64 << 20, 1);
    unsigned sum = 0;
    for (size_t i = 0; i < junk.size(); i += 64)
        sum += unsigned(junk[i]++);
    if (sum == 1)
        std::printf("#\n");
}

struct LookupFigures
{
    double indexNs = std::numeric_limits<double>::max();
    double hashNs = std::numeric_limits<double>::max();
};

LookupFigures lookups(const QList<ReminderItemPtr>& items)
{
    constexpr qsizetype kChunk = 2048;
    ItemIndex index;
    index.insertOrReplaceMany(items.constData(), items.size());
    QHash<QString, ReminderItemPtr> hash;
    hash.reserve(items.size());
    for (const ReminderItemPtr& item : items)
        hash.insert(item->remindId(), item);
    QStringList ids;
    for (qsizetype i = 0; i < items.size(); i += 6)
        ids << QString(items.at(i)->remindId().constData(), items.at(i)->remindId().size());
    LookupFigures f;
    for (int run = 0; run < kRuns; ++run) {
        evictCaches();
        QElapsedTimer timer;
        timer.start();
        QList<ReminderItemPtr> found;
        found.reserve(ids.size());
        for (qsizetype from = 0; from < ids.size(); from += kChunk)
            index.findMany(ids.constData() + from, std::min(kChunk, ids.size() - from), found);
        f.indexNs = std::min(f.indexNs, double(timer.nsecsElapsed()) / double(ids.size()));
        evictCaches();
        timer.restart();
        QList<ReminderItemPtr> peer;
        peer.reserve(ids.size());
        for (const QString& id : std::as_const(ids)) {
            const auto it = hash.constFind(id);
            if (it != hash.cend())
                peer.append(it.value());
        }
        f.hashNs = std::min(f.hashNs, double(timer.nsecsElapsed()) / double(ids.size()));
        if (found != peer || found.size() != ids.size()) {
            std::fprintf(stderr, "bench_remindermodel: the index and the hash found different items\n");
            std::exit(1);
        }
    }
    return f;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchresults::init(argc, argv);
    std::printf("# ReminderModel::insertItems into an empty model, best of %d runs\n", kRuns);
    std::printf("# items: distinct sort times, 20%% completed, 1/3 sorted by time stamp\n");
    std::printf("# floor: the item pointers copied and stable-sorted into the list's order\n");
    for (int n : {1000, 10000, 100000}) {
        const QList<ReminderItemPtr> descending = makeItems(n);
        QList<ReminderItemPtr> shuffled = descending;
        std::mt19937 rng(20240611u + unsigned(n));
        std::shuffle(shuffled.begin(), shuffled.end(), rng);

        const double d = bestNsPerItem(descending);
        const double df = floorNsPerItem(descending);
        std::printf("BENCH model.insertItems.descending.%d %.1f ns/item\n", n, d);
        std::printf("BENCH floor.sort.descending.%d %.1f ns/item\n", n, df);
        std::printf("#   %d items, descending: %.2f ms in all\n", n, d * n / 1e6);
        benchresults::result("model.insertItems.descending", n, d, "ns/item", benchresults::Lower,
                             "floor.sort.descending", df);
        const double r = bestNsPerItem(shuffled);
        const double rf = floorNsPerItem(shuffled);
        std::printf("BENCH model.insertItems.random.%d %.1f ns/item\n", n, r);
        std::printf("BENCH floor.sort.random.%d %.1f ns/item\n", n, rf);
        std::printf("#   %d items, random order: %.2f ms in all\n", n, r * n / 1e6);
        benchresults::result("model.insertItems.random", n, r, "ns/item", benchresults::Lower,
                             "floor.sort.random", rf);
        const LookupFigures l = lookups(descending);
        std::printf("BENCH index.findMany.%d %.1f ns/id\n", n, l.indexNs);
        std::printf("BENCH peer.qhash.%d %.1f ns/id\n", n, l.hashNs);
        std::printf("BENCH index.findMany.qhash_ratio.%d %.2f x\n", n, l.indexNs / l.hashNs);
        benchresults::result("index.findMany", n, l.indexNs, "ns/id", benchresults::Lower, "peer.qhash", l.hashNs);
        std::fflush(stdout);
    }
    return 0;
}
