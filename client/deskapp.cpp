#include "deskapp.h"

#include "appsettingmodel.h"
#include "deskbackend.h"
#include "deskdevice.h"
#include "deskedit.h"
#include "deskundo.h"
#include "devicesession.h"
#include "deskicon.h"
#include "desklanguage.h"
#include "reminderhandler.h"

#include <QAction>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMenu>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>

#include <memory>

DeskApp::DeskApp(const DeskOptions& options, QObject* parent)
    : QObject(parent)
    , m_options(options)
{
    AppSettingModel::setTranslationsDirectory(
        AppSettingModel::defaultTranslationsDirectory(QCoreApplication::applicationDirPath()));
    // Installs the catalogue of the chosen language, or of the current one.
    AppSettingModel::setLanguage(options.language.isEmpty() ? AppSettingModel::language() : options.language);
    m_language = new DeskLanguage(this);
}

DeskApp::~DeskApp()
{
    delete m_tray;
    m_tray = nullptr;
    delete m_trayMenu;
    m_trayMenu = nullptr;
    // The windows let go of the devices before the devices go.
    m_windows.clear();
    m_engine.reset();
    m_backend.reset();
}

QSize DeskApp::windowSize()
{
    return QSize(980, 700);
}

bool DeskApp::start()
{
    ReminderHandler::registerMetaType("ReminderDesk");
    // The style is chosen once, before the first QML that uses the controls.
    static bool styled = false;
    if (!styled) {
        QQuickStyle::setStyle(QStringLiteral("Material"));
        styled = true;
    }

    m_backend.reset(new DeskBackend(m_options.dataDir, m_options.devices));
    connect(m_backend.get(), &DeskBackend::allListed, this, &DeskApp::allListed);
    // The devices are signed in (their windows show them loading); their
    // local reminders load once the windows are up (startLoadsAfterFirstFrames).
    m_backend->signInAll(DeviceSession::Load::Later);

    m_engine.reset(new QQmlApplicationEngine);
    m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_language->addEngine(m_engine.get());
    for (DeskDevice* device : m_backend->devices()) {
        m_engine->setInitialProperties({
            {QStringLiteral("device"), QVariant::fromValue(device)},
            {QStringLiteral("desk"), QVariant::fromValue(m_language)},
        });
        const int before = m_engine->rootObjects().size();
        m_engine->load(QUrl(QStringLiteral("qrc:/qt/qml/ReminderDesk/DeviceWindow.qml")));
        if (m_engine->rootObjects().size() != before + 1)
            return false;
        auto* window = qobject_cast<QQuickWindow*>(m_engine->rootObjects().constLast());
        if (!window)
            return false;
        window->setIcon(deskIcon());
        window->resize(windowSize());
        m_windows.append(window);
    }
    placeWindows();
    startLoadsAfterFirstFrames();
    for (QQuickWindow* window : std::as_const(m_windows))
        window->show();
    connect(qApp, &QCoreApplication::aboutToQuit, this, &DeskApp::settleBeforeQuit);
    // Logging out: the session may end the program without a quit.
    connect(qApp, &QGuiApplication::commitDataRequest, this, &DeskApp::settleBeforeQuit);
    for (DeskDevice* device : m_backend->devices())
        device->session()->setInterfaceReady();
    setUpTray();
    if (m_backend->isAllListed())
        emit allListed();
    return true;
}

void DeskApp::startLoadsAfterFirstFrames()
{
    // Deliberate: the loads wait for the windows' first frames. The loading
    // thread reads, checks and decodes the whole store, which on a machine
    // with few cores takes the processor from the interface thread while it
    // builds and draws the window; the first frame is worth more than the
    // few milliseconds the load waits (it shows "Loading…" meanwhile).
    auto* waiting = new QObject(this);
    auto remaining = std::make_shared<int>(int(m_windows.size()));
    auto started = std::make_shared<bool>(false);
    auto startLoads = [this, waiting, started] {
        if (*started)
            return;
        *started = true;
        waiting->deleteLater();
        m_backend->startLoads();
    };
    for (QQuickWindow* window : std::as_const(m_windows)) {
        auto framed = std::make_shared<bool>(false);
        // frameSwapped may come from a render thread: the context object
        // brings it to this thread.
        connect(window, &QQuickWindow::frameSwapped, waiting, [framed, remaining, startLoads] {
            if (*framed)
                return;
            *framed = true;
            if (--*remaining == 0)
                startLoads();
        });
    }
    // A window that is never drawn (started minimised, on a hidden
    // workspace) does not keep its reminders from loading: the loads start
    // then anyway.
    QTimer::singleShot(kLoadAtTheLatestMs, waiting, startLoads);
}

QQuickItem* DeskApp::pane(int index) const
{
    QQuickWindow* window = m_windows.value(index);
    return window ? window->findChild<QQuickItem*>(QStringLiteral("devicePane")) : nullptr;
}

void DeskApp::settleBeforeQuit()
{
    if (!m_backend)
        return;
    for (DeskDevice* device : m_backend->devices()) {
        device->edit()->keepDraft();
        device->undo()->commit();
    }
}

QList<QRect> DeskApp::windowPlaces(int count, const QRect& area)
{
    const QSize preferred = windowSize();
    QList<QRect> places;
    if (count < 2)
        return places; // one window: where the window manager puts it
    const int gap = 16;
    const int height = preferred.height();
    const int top = area.top() + qMax(0, (area.height() - height) / 2);
    // Side by side: each as wide as it likes, or as half the screen allows.
    const int width = qMin(preferred.width(), (area.width() - gap) / 2);
    if (width >= kMinimumWidth) {
        const int left = area.left() + (area.width() - 2 * width - gap) / 2;
        places.append(QRect(left, top, width, height));
        places.append(QRect(left + width + gap, top, width, height));
        return places;
    }
    // Too small a screen for two: the second overlaps the first, offset,
    // so that both title bars show.
    places.append(QRect(area.topLeft(), preferred));
    places.append(QRect(area.topLeft() + QPoint(48, 48), preferred));
    return places;
}

void DeskApp::placeWindows()
{
    if (m_windows.isEmpty())
        return;
    QScreen* screen = m_windows.constFirst()->screen();
    if (!screen)
        return;
    const QList<QRect> places = windowPlaces(int(m_windows.size()), screen->availableGeometry());
    for (int i = 0; i < m_windows.size() && i < places.size(); ++i)
        m_windows.at(i)->setGeometry(places.at(i));
}

void DeskApp::setUpTray()
{
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_tray = new QSystemTrayIcon(deskIcon());
    m_tray->setToolTip(qtTrId("desk_app_title"));
    m_trayMenu = new QMenu;
    QMenu* menu = m_trayMenu;
    QAction* show = menu->addAction(qtTrId("desk_tray_show"));
    QAction* quit = menu->addAction(qtTrId("desk_tray_quit"));
    connect(show, &QAction::triggered, this, [this] {
        for (QQuickWindow* w : std::as_const(m_windows)) {
            w->show();
            w->raise();
        }
    });
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit);
    m_tray->setContextMenu(menu);
    connect(m_backend.get(), &DeskBackend::notified, this, [this](DeskDevice* device, const QString& text) {
        if (m_tray)
            m_tray->showMessage(qtTrId("desk_tray_message_title").arg(device->number()), text,
                                QSystemTrayIcon::Information, 8000);
    });
    connect(m_language, &DeskLanguage::languageChanged, this, [this] {
        if (!m_tray)
            return;
        m_tray->setToolTip(qtTrId("desk_app_title"));
        const QList<QAction*> actions = m_tray->contextMenu()->actions();
        if (actions.size() == 2) {
            actions.at(0)->setText(qtTrId("desk_tray_show"));
            actions.at(1)->setText(qtTrId("desk_tray_quit"));
        }
    });
    m_tray->show();
}
