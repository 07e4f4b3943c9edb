// Bulk insertion into ReminderModel (the path that fills the list from local
// storage): ns per item for 1,000, 10,000 and 100,000 items, in descending
// sort-time order (as the store yields them) and in random order. Best of 3
// runs each. Floor, in the same run on the same input: copying the item
// pointers into a list and stable-sorting them into the list's order (open
// before completed, newest sort time first), nothing else.
#include "benchresults.h"
#include "remindermodel.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>

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
        std::fflush(stdout);
    }
    return 0;
}
