#pragma once

#include <QList>
#include <QObject>
#include <QRect>
#include <QSize>
#include <QString>
#include <memory>

class DeskBackend;
class DeskDevice;
class DeskLanguage;
class QMenu;
class QQmlApplicationEngine;
class QQuickItem;
class QQuickWindow;
class QSystemTrayIcon;

// How the client was asked to run (its command line).
struct DeskOptions
{
    int devices = 1;          // 1, or 2 devices of one account side by side
    QString dataDir;          // server database, file store, one folder per device
    QString language;         // "en", "zh_CN"; empty: the setting as it is
    QString tourDir;          // scripted tour: screenshots go here
    bool quitAfterList = false;
};

// The desktop client: the backend (server, file service, devices), one
// window per device showing the QML interface, the language and the tray
// icon where the platform has a system tray.
class DeskApp : public QObject
{
    Q_OBJECT
public:
    explicit DeskApp(const DeskOptions& options, QObject* parent = nullptr);
    ~DeskApp() override;

    // The size every window opens with.
    static QSize windowSize();
    // Where two windows go on a screen's free area: side by side when they
    // fit (narrower than windowSize() when need be, never under the
    // windows' minimum width), else overlapping with an offset. One window
    // gets no place: the window manager chooses.
    static QList<QRect> windowPlaces(int count, const QRect& area);
    static constexpr int kMinimumWidth = 760;
    // The local reminders start loading once every window has shown its
    // first frame, or this long after the windows were shown.
    static constexpr int kLoadAtTheLatestMs = 3000;

    // Creates the backend, signs every device in, loads one window per
    // device and tells each handler that its pages are ready; each device's
    // reminders load (and the account is listed from the server) once the
    // windows have shown their first frames. False when the interface did
    // not load.
    bool start();

    const DeskOptions& options() const { return m_options; }
    DeskBackend* backend() const { return m_backend.get(); }
    DeskLanguage* language() const { return m_language; }
    QQmlApplicationEngine* engine() const { return m_engine.get(); }
    QList<QQuickWindow*> windows() const { return m_windows; }
    // The device pane inside window `index` (objectName "devicePane").
    QQuickItem* pane(int index) const;

    // The program ends (quit, the session ends, a signal): every open
    // edit keeps its draft, and completions and deletions that waited for
    // their Undo are carried out now.
    void settleBeforeQuit();

signals:
    // Every device finished its first listing from the server.
    void allListed();

private:
    void setUpTray();
    void placeWindows();
    void startLoadsAfterFirstFrames();

    DeskOptions m_options;
    std::unique_ptr<DeskBackend> m_backend;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    DeskLanguage* m_language = nullptr;
    QList<QQuickWindow*> m_windows;
    QSystemTrayIcon* m_tray = nullptr;
    QMenu* m_trayMenu = nullptr;
};
