// The program around the windows (DeskApp): where two device windows go
// on screens of several sizes, that ending the program by a signal is an
// orderly quit, and that the window comes before the stored reminders
// (saying that they load) and then shows all of them.
#include "deskapp.h"

#include "deskbackend.h"
#include "deskdevice.h"
#include "imlog.h"
#include "reminderhandler.h"
#include "remindermodel.h"
#include "storedreminders.h"

#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <csignal>

Q_IMPORT_QML_PLUGIN(ReminderDeskPlugin)

class DeskAppTest : public QObject
{
    Q_OBJECT

private slots:
    void twoWindowsOnAScreen_data();
    void twoWindowsOnAScreen();
    void oneWindowIsLeftToTheWindowManager();
    void aTerminationSignalQuitsInOrder_data();
    void aTerminationSignalQuitsInOrder();
    void theWindowComesBeforeTheStoredReminders_data();
    void theWindowComesBeforeTheStoredReminders();
};

void DeskAppTest::twoWindowsOnAScreen_data()
{
    QTest::addColumn<QRect>("area");
    QTest::addColumn<bool>("sideBySide");
    QTest::addColumn<int>("width");
    // Free areas as desktops leave them (a panel takes some height).
    QTest::newRow("2560 wide") << QRect(0, 0, 2560, 1400) << true << 980;
    QTest::newRow("1920 wide") << QRect(0, 27, 1920, 1053) << true << 952;
    QTest::newRow("1600 wide, a second screen") << QRect(1920, 0, 1600, 900) << true << 792;
    QTest::newRow("1536 wide, just two") << QRect(0, 0, 1536, 864) << true << 760;
    QTest::newRow("1366 wide") << QRect(0, 0, 1366, 768) << false << 980;
}

void DeskAppTest::twoWindowsOnAScreen()
{
    QFETCH(QRect, area);
    QFETCH(bool, sideBySide);
    QFETCH(int, width);
    const QList<QRect> places = DeskApp::windowPlaces(2, area);
    QCOMPARE(places.size(), 2);
    const QRect a = places.at(0);
    const QRect b = places.at(1);
    QCOMPARE(a.width(), width);
    QCOMPARE(b.width(), width);
    QCOMPARE(a.height(), DeskApp::windowSize().height());
    QVERIFY(a.width() >= DeskApp::kMinimumWidth);
    if (sideBySide) {
        QVERIFY(!a.intersects(b));
        QCOMPARE(a.top(), b.top());
        QVERIFY(b.left() > a.right());
        // Both on the screen, the pair centred.
        QVERIFY(area.contains(a.topLeft()) && area.contains(b.topRight()));
        QVERIFY(qAbs((a.left() - area.left()) - (area.right() - b.right())) <= 1);
    } else {
        // Overlapping, but each title bar shows.
        QVERIFY(a.intersects(b));
        QVERIFY(b.top() - a.top() >= 40);
        QVERIFY(b.left() - a.left() >= 40);
        QCOMPARE(a.topLeft(), area.topLeft());
    }
}

void DeskAppTest::oneWindowIsLeftToTheWindowManager()
{
    QVERIFY(DeskApp::windowPlaces(1, QRect(0, 0, 1920, 1080)).isEmpty());
}

void DeskAppTest::aTerminationSignalQuitsInOrder_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGTERM") << int(SIGTERM);
    QTest::newRow("SIGINT") << int(SIGINT);
    QTest::newRow("SIGHUP") << int(SIGHUP);
}

void DeskAppTest::aTerminationSignalQuitsInOrder()
{
    QFETCH(int, signalNumber);
    QTemporaryDir dir;
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    p.setProcessEnvironment(env);
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(QStringLiteral(REMINDER_DESK_BINARY), {QStringLiteral("--data"), dir.path()});
    QVERIFY(p.waitForStarted(30000));
    // Up: its device folder and database are there.
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(dir.filePath(QStringLiteral("device-1/accounts/1001/account.db"))), 60000);
    QTest::qWait(500);
    ::kill(pid_t(p.processId()), signalNumber);
    // Generous: a bound for a hung client, not a timing requirement.
    QVERIFY(p.waitForFinished(120000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 0);
}

void DeskAppTest::theWindowComesBeforeTheStoredReminders_data()
{
    QTest::addColumn<int>("stored");
    QTest::newRow("empty store") << 0;
    QTest::newRow("2,000 stored") << 2000;
}

void DeskAppTest::theWindowComesBeforeTheStoredReminders()
{
    QFETCH(int, stored);
    ImLog::instance()->setEchoToStderr(false);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QVERIFY(fillDeviceStore(dir.path(), stored));

    DeskOptions options;
    options.dataDir = dir.path();
    DeskApp app(options);
    QVERIFY(app.start());
    DeskDevice* device = app.backend()->device(0);
    QQuickWindow* window = app.windows().value(0);
    QVERIFY(window && window->isVisible());
    auto* list = window->findChild<QQuickItem*>(QStringLiteral("reminderList"));
    auto* loading = window->findChild<QQuickItem*>(QStringLiteral("loadingState"));
    auto* empty = window->findChild<QQuickItem*>(QStringLiteral("emptyState"));
    QVERIFY(list && loading && empty);

    // What the first frame showed (the offscreen platform draws on this
    // thread, so this is what held when it was swapped).
    bool framed = false;
    bool loadedAtFirstFrame = true;
    bool loadingAtFirstFrame = false;
    bool emptyAtFirstFrame = true;
    connect(window, &QQuickWindow::frameSwapped, this, [&] {
        if (framed)
            return;
        framed = true;
        loadedAtFirstFrame = device->loaded();
        loadingAtFirstFrame = loading->isVisible();
        emptyAtFirstFrame = empty->isVisible();
    });
    QTRY_VERIFY_WITH_TIMEOUT(framed, 60000);
    QVERIFY2(!loadedAtFirstFrame, "the first frame waited for the stored reminders");
    QVERIFY(loadingAtFirstFrame);
    QVERIFY2(!emptyAtFirstFrame, "the list was called empty before it was loaded");

    // Then the whole list, and the loading state gone.
    QTRY_VERIFY_WITH_TIMEOUT(device->loaded(), 60000);
    ReminderModel* model = device->handler()->reminderModel();
    QCOMPARE(model->count(), stored);
    QCOMPARE(list->property("model").value<QObject*>(), model);
    QTRY_COMPARE(list->property("count").toInt(), model->rowCount());
    QCOMPARE(model->rowCount(), stored - stored / 10);
    QVERIFY(!loading->isVisible());
    QCOMPARE(empty->isVisible(), stored == 0);
}

QTEST_MAIN(DeskAppTest)
#include "tst_deskapp.moc"
