// The desktop client (reminder-desk's QML interface with a real handler,
// the reference server and one device), offscreen with Qt Quick's software
// renderer:
//
// 1. Start-up with 0, 1,000, 10,000 and 100,000 stored reminders, from
//    constructing the client (server, device, sign-in, QML window):
//    - to the window's first frameSwapped; in the report the start with an
//      empty store is the floor of the others;
//    - to the whole list: the list view holds the handler's list, the list
//      holds every stored reminder, and a frame was swapped with it. Floor:
//      ReminderHandler::loadLocalData of the same store alone, on the
//      calling thread into a fresh handler of an account opened beforehand
//      (as bench_handler measures it), in the same run. Also the growth per
//      reminder from 10,000 to 100,000 of what the whole list costs beyond
//      the empty start.
//    The very first start of the process (QML types not yet loaded) is
//    reported on its own; then the best of 5 per size, the sizes, and the
//    starts and the loads, taking turns, each from a heap given back to
//    the system.
// 2. Scrolling the list of 1,000, 10,000 and 100,000 reminders: the list's
//    contentY moves by 120 px a step over 400 steps, turning back at either
//    end (the view makes and drops rows as they come and go); the time from
//    each step to its frame, mean, 95th percentile and worst. Floor, in the
//    same window: 400 frames asked for with QQuickWindow::update() and
//    nothing changed (the offscreen platform's own frame pacing).
#include "accountbase.h"
#include "benchresults.h"
#include "contentcipher.h"
#include "deskapp.h"
#include "deskbackend.h"
#include "deskdevice.h"
#include "imlog.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "remindermodel.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QHash>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>

Q_IMPORT_QML_PLUGIN(ReminderDeskPlugin)

namespace {

// Starts per size (and loads alone, taking turns with them): the best
// counts. More than elsewhere, as a start waits on two threads and on
// frame pacing, which a busy machine disturbs most.
constexpr int kStartRuns = 5;

void fail(const char* what)
{
    std::printf("# FAILED: %s\n", what);
    std::fflush(stdout);
    std::exit(1);
}

// n stored reminders on device 1: texts, times spread over the year, one
// in ten completed, one in five with a weekly rule.
void fillStore(const QString& dataDir, int n)
{
    AccountBase account(DeskBackend::kAccountId, 1, DeskBackend::deviceDirectory(dataDir, 1),
                        ContentCipher::deriveKey(DeskBackend::accountSecret()));
    if (!account.storage()->isOpen())
        fail("account database did not open");
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    QList<storage::ReminderInfo> infos;
    infos.reserve(n);
    for (int i = 0; i < n; ++i) {
        ReminderItem item(QStringLiteral("1_%1").arg(i + 1));
        item.setText(QStringLiteral("Reminder %1: call the office about the quarterly report").arg(i + 1));
        const qint64 when = now + 3600 * 1000 + qint64(i) * 7919 % (365 * 24 * 60) * 60 * 1000;
        item.setOriginalRemindTime(when);
        item.setShowRemindTime(when);
        item.setRemindTime(when);
        item.setOrderTime(now - qint64(i) * 997);
        if (i % 10 == 0) {
            item.setReminded(true);
            item.setCompleted(true);
        } else if (i % 5 == 1) {
            item.setInterval(1);
            item.setUnit(1);
            item.setDayOfWeekFlags(1 | 4);
        }
        storage::ReminderInfo info;
        if (!item.serialize(info))
            fail("a record did not serialise");
        infos.append(info);
    }
    if (!account.storage()->reminderStorage()->saveAll(infos))
        fail("records were not stored");
}

// Runs events until `done` or the limit; false on the limit. Sleeps while
// no event comes, as the program's own event loop does: a loop that polls
// would take a core from the loading thread. (processEvents with a time
// limit polls: it drops WaitForMoreEvents.)
bool waitFor(const std::function<bool()>& done, int limitMs = 120000)
{
    QElapsedTimer t;
    t.start();
    // Wakes the wait now and then, so that the limit is seen.
    QTimer tick;
    tick.start(50);
    while (!done()) {
        if (t.elapsed() > limitMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// The list view shows the device's whole list: it holds the handler's
// list, which holds all n stored reminders.
bool wholeListShown(DeskApp& app, QQuickItem* list, int n)
{
    ReminderModel* model = app.backend()->device(0)->handler()->reminderModel();
    return list->property("model").value<QObject*>() == model && model->count() == n
        && list->property("count").toInt() == model->rowCount();
}

struct Start
{
    double firstFrameMs = 0;
    double wholeListMs = 0;
};

// One start, in ms from construction: to the first swapped frame, and to
// the first frame swapped with the whole list of n reminders.
Start startOnce(const QString& dataDir, int n)
{
    DeskOptions options;
    options.dataDir = dataDir;
    options.devices = 1;
    malloc_trim(0);
    QElapsedTimer timer;
    timer.start();
    DeskApp app(options);
    Start start;
    // start() creates and shows the window; its first frame is rendered
    // only once events run after start() returns, so a connection made
    // then misses nothing.
    if (!app.start())
        fail("the interface did not load");
    QQuickWindow* window = app.windows().value(0);
    if (!window)
        fail("no window");
    auto* list = window->findChild<QQuickItem*>(QStringLiteral("reminderList"));
    if (!list)
        fail("no reminder list");
    // The offscreen platform draws on this thread: what a frame showed is
    // what held when it was swapped.
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        const double ms = double(timer.nsecsElapsed()) / 1e6;
        if (start.firstFrameMs == 0)
            start.firstFrameMs = ms;
        if (start.wholeListMs == 0 && wholeListShown(app, list, n))
            start.wholeListMs = ms;
    });
    if (!waitFor([&start] { return start.firstFrameMs > 0; }))
        fail("no first frame");
    if (!waitFor([&start] { return start.wholeListMs > 0; }))
        fail("the whole list was not shown");
    ThreadManager::getInstance()->waitForIdle();
    return start;
}

// loadLocalData of the store alone, as bench_handler times it: a fresh
// handler on an account whose database is open, on this thread (so the
// hand-over to the list is part of the call). In ms.
double loadAlone(const QString& dataDir, int n)
{
    AccountBase account(DeskBackend::kAccountId, 1, DeskBackend::deviceDirectory(dataDir, 1),
                        ContentCipher::deriveKey(DeskBackend::accountSecret()));
    if (!account.storage()->isOpen())
        fail("account database did not open");
    auto* handler = new ReminderHandler(&account);
    malloc_trim(0);
    QElapsedTimer timer;
    timer.start();
    handler->loadLocalData(false);
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    if (handler->reminderModel()->count() != n)
        fail("the load did not list every stored reminder");
    ThreadManager::getInstance()->waitForIdle();
    delete handler;
    QCoreApplication::sendPostedEvents();
    return ms;
}

void scroll(const QString& dataDir, int n)
{
    DeskOptions options;
    options.dataDir = dataDir;
    options.devices = 1;
    DeskApp app(options);
    if (!app.start())
        fail("the interface did not load");
    QQuickWindow* window = app.windows().value(0);
    auto* list = window->findChild<QQuickItem*>(QStringLiteral("reminderList"));
    if (!list)
        fail("no reminder list");
    int frames = 0;
    bool listed = false;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        ++frames;
        listed = listed || wholeListShown(app, list, n);
    });
    if (!waitFor([&listed] { return listed; }))
        fail("not every stored reminder is listed");

    constexpr int kSteps = 400;
    constexpr double kStep = 120;
    // The time from `act` to the next swapped frame, kSteps times, sorted.
    auto frameTimes = [&](const std::function<void()>& act) {
        QList<double> times;
        times.reserve(kSteps);
        for (int i = 0; i < kSteps; ++i) {
            const int before = frames;
            QElapsedTimer t;
            t.start();
            act();
            if (!waitFor([&frames, before] { return frames > before; }, 30000))
                fail("no frame after a scroll step");
            times.append(double(t.nsecsElapsed()) / 1e6);
        }
        std::sort(times.begin(), times.end());
        return times;
    };
    auto mean = [](const QList<double>& times) {
        double sum = 0;
        for (double v : times)
            sum += v;
        return sum / double(times.size());
    };
    auto p95 = [](const QList<double>& times) { return times.at(int(double(times.size()) * 0.95)); };

    double y = 0;
    double direction = 1;
    const QList<double> times = frameTimes([&] {
        const double end = list->property("contentHeight").toDouble() - list->height();
        if ((direction > 0 && y + kStep > end) || (direction < 0 && y - kStep < 0))
            direction = -direction;
        y += direction * kStep;
        list->setProperty("contentY", y);
    });
    const QList<double> still = frameTimes([window] { window->update(); });

    std::printf("# scrolled %d steps of %.0f px through %d rows (contentY now %.0f)\n", kSteps, kStep,
                list->property("count").toInt(), list->property("contentY").toDouble());
    std::printf("BENCH client_scroll_frame_mean_%d %.2f ms\n", n, mean(times));
    std::printf("BENCH client_scroll_frame_p95_%d %.2f ms\n", n, p95(times));
    std::printf("BENCH client_scroll_frame_max_%d %.2f ms\n", n, times.constLast());
    std::printf("BENCH floor.frame_unchanged_mean_%d %.2f ms\n", n, mean(still));
    benchresults::result("client.scroll_frame_mean", n, mean(times), "ms", benchresults::Lower,
                         "floor.frame_unchanged_mean", mean(still));
    benchresults::result("client.scroll_frame_p95", n, p95(times), "ms", benchresults::Lower,
                         "floor.frame_unchanged_p95", p95(still));
    benchresults::result("client.scroll_frame_max", n, times.constLast(), "ms", benchresults::Lower,
                         "floor.frame_unchanged_max", still.constLast());
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchresults::init(argc, argv);
    ImLog::instance()->setEchoToStderr(false);
    std::printf("# platform %s, window %dx%d\n", qPrintable(QGuiApplication::platformName()),
                DeskApp::windowSize().width(), DeskApp::windowSize().height());

    const QList<int> sizes = {0, 1000, 10000, 100000};
    QList<std::shared_ptr<QTemporaryDir>> dirs;
    for (int n : sizes) {
        auto dir = std::make_shared<QTemporaryDir>();
        if (!dir->isValid())
            fail("no temporary directory");
        if (n > 0)
            fillStore(dir->path(), n);
        dirs.append(dir);
    }
    // The stores' pages reach the disk now, not while a start is timed.
    ::sync();

    const double cold = startOnce(dirs.at(0)->path(), 0).firstFrameMs;
    std::printf("BENCH client_startup_first_frame_cold_0 %.2f ms\n", cold);
    std::fflush(stdout);
    benchresults::result("client.startup_first_frame_cold", 0, cold, "ms", benchresults::Lower);
    // Sizes take turns, run by run, so that whatever else the machine does
    // meanwhile falls on all of them alike.
    struct Best
    {
        double firstFrameMs = std::numeric_limits<double>::max();
        double wholeListMs = std::numeric_limits<double>::max();
        double loadMs = std::numeric_limits<double>::max();
    };
    QList<Best> best(sizes.size());
    for (int run = 0; run < kStartRuns; ++run) {
        for (int i = 0; i < sizes.size(); ++i) {
            const Start s = startOnce(dirs.at(i)->path(), sizes.at(i));
            best[i].firstFrameMs = std::min(best[i].firstFrameMs, s.firstFrameMs);
            best[i].wholeListMs = std::min(best[i].wholeListMs, s.wholeListMs);
            if (sizes.at(i) > 0)
                best[i].loadMs = std::min(best[i].loadMs, loadAlone(dirs.at(i)->path(), sizes.at(i)));
        }
    }
    const double emptyFrame = best.at(0).firstFrameMs;
    const double emptyList = best.at(0).wholeListMs;
    QHash<int, double> wholeList;
    for (int i = 0; i < sizes.size(); ++i) {
        const int n = sizes.at(i);
        const Best& b = best.at(i);
        wholeList.insert(n, b.wholeListMs);
        std::printf("BENCH client_startup_first_frame_%d %.2f ms\n", n, b.firstFrameMs);
        if (n == 0) {
            benchresults::result("client.startup_first_frame", 0, b.firstFrameMs, "ms", benchresults::Lower);
        } else {
            std::printf("BENCH client_startup_first_frame_ratio_%d %.2f x\n", n, b.firstFrameMs / emptyFrame);
            benchresults::result("client.startup_first_frame", n, b.firstFrameMs, "ms", benchresults::Lower,
                                 "client.startup_first_frame.empty", emptyFrame);
        }
        std::printf("BENCH client_startup_whole_list_%d %.2f ms\n", n, b.wholeListMs);
        if (n > 0) {
            std::printf("BENCH floor.handler_loadLocalData_%d %.2f ms\n", n, b.loadMs);
            std::printf("BENCH client_startup_whole_list_ratio_%d %.2f x\n", n, b.wholeListMs / b.loadMs);
            benchresults::result("client.startup_whole_list", n, b.wholeListMs, "ms", benchresults::Lower,
                                 "handler.loadLocalData", b.loadMs);
        } else {
            benchresults::result("client.startup_whole_list", 0, b.wholeListMs, "ms", benchresults::Lower);
        }
        std::fflush(stdout);
    }
    // What the whole list costs per reminder beyond the empty start, at
    // 100,000 against 10,000.
    if (wholeList.contains(10000) && wholeList.contains(100000)) {
        const double per10k = (wholeList.value(10000) - emptyList) / 10000;
        const double per100k = (wholeList.value(100000) - emptyList) / 100000;
        std::printf("# whole list beyond the empty start: %.2f us/reminder at 10,000, %.2f at 100,000\n",
                    per10k * 1000, per100k * 1000);
        std::printf("BENCH client_startup_whole_list_growth_10000_100000 %.2f x\n", per100k / per10k);
        benchresults::result("client.startup_whole_list_per_reminder", 100000, per100k * 1000, "us",
                             benchresults::Lower, "client.startup_whole_list_per_reminder.10000", per10k * 1000);
    }
    for (int i = 0; i < sizes.size(); ++i) {
        if (sizes.at(i) > 0)
            scroll(dirs.at(i)->path(), sizes.at(i));
        std::fflush(stdout);
    }
    return 0;
}
