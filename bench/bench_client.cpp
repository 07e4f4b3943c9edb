// The desktop client (reminder-desk's QML interface with a real handler,
// the reference server and one device), offscreen with Qt Quick's software
// renderer:
//
// 1. Start-up to first frame with 0, 1,000, 10,000 and 100,000 stored
//    reminders: from constructing the client (server, device, sign-in with
//    the load of local data, QML window) until the window's first
//    frameSwapped. The very first start of the process (QML types not yet
//    loaded) is reported on its own; then the best of 3 starts per size.
//    In the report the start with an empty store is the floor of the others.
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
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>

Q_IMPORT_QML_PLUGIN(ReminderDeskPlugin)

namespace {

constexpr int kRuns = 3;

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

// Runs events until `done` or the limit; false on the limit.
bool waitFor(const std::function<bool()>& done, int limitMs = 120000)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > limitMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    return true;
}

// One start: construction to the first swapped frame, in ms.
double startOnce(const QString& dataDir)
{
    DeskOptions options;
    options.dataDir = dataDir;
    options.devices = 1;
    QElapsedTimer timer;
    timer.start();
    DeskApp app(options);
    bool framed = false;
    // start() creates and shows the window; its first frame is rendered
    // only once events run after start() returns, so a connection made
    // then misses nothing.
    if (!app.start())
        fail("the interface did not load");
    QQuickWindow* window = app.windows().value(0);
    if (!window)
        fail("no window");
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&framed] { framed = true; });
    if (!waitFor([&framed] { return framed; }))
        fail("no first frame");
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    ThreadManager::getInstance()->waitForIdle();
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
    int frames = 0;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&frames] { ++frames; });
    if (!waitFor([&frames] { return frames > 0; }))
        fail("no first frame");
    if (app.backend()->device(0)->handler()->reminderModel()->count() != n)
        fail("not every stored reminder is listed");
    auto* list = window->findChild<QQuickItem*>(QStringLiteral("reminderList"));
    if (!list)
        fail("no reminder list");

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

    const double cold = startOnce(dirs.at(0)->path());
    std::printf("BENCH client_startup_first_frame_cold_0 %.2f ms\n", cold);
    std::fflush(stdout);
    benchresults::result("client.startup_first_frame_cold", 0, cold, "ms", benchresults::Lower);
    double empty = 0;
    for (int i = 0; i < sizes.size(); ++i) {
        double best = std::numeric_limits<double>::max();
        for (int run = 0; run < kRuns; ++run)
            best = std::min(best, startOnce(dirs.at(i)->path()));
        std::printf("BENCH client_startup_first_frame_%d %.2f ms\n", sizes.at(i), best);
        std::fflush(stdout);
        if (sizes.at(i) == 0) {
            empty = best;
            benchresults::result("client.startup_first_frame", 0, best, "ms", benchresults::Lower);
        } else {
            benchresults::result("client.startup_first_frame", sizes.at(i), best, "ms", benchresults::Lower,
                                 "client.startup_first_frame.empty", empty);
        }
    }
    for (int i = 0; i < sizes.size(); ++i) {
        if (sizes.at(i) > 0)
            scroll(dirs.at(i)->path(), sizes.at(i));
        std::fflush(stdout);
    }
    return 0;
}
