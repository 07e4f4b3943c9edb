// Qt Quick Test cases of the desktop client. Each QML file under qml/ gets
// its own QML engine; for each, this setup makes a fresh data directory
// with the reference server, the file service and one signed-in device
// (the client's own DeskBackend), fixes the clock on Monday 2 June 2031,
// 10:00, and hands the QML:
//   testDevice   the device (DeskDevice; its handler is testDevice.handler)
//   testDesk     the language switch (DeskLanguage)
//   support      the clock and looks into the store and the server
#include "appsettingmodel.h"
#include "deskbackend.h"
#include "deskdevice.h"
#include "desklanguage.h"
#include "devicesession.h"
#include "fileservice.h"
#include "accountbase.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "reminderserver.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

#include <memory>

Q_IMPORT_QML_PLUGIN(ReminderDeskPlugin)

// What the QML tests may ask of the world around the interface.
class TestSupport : public QObject
{
    Q_OBJECT
public:
    DeskBackend* backend = nullptr;

    // ms since the epoch of a local date and time (month 1..12).
    Q_INVOKABLE double at(int year, int month, int day, int hour, int minute) const
    {
        return double(QDateTime(QDate(year, month, day), QTime(hour, minute)).toMSecsSinceEpoch());
    }
    Q_INVOKABLE double now() const { return double(network::NetworkSubject::instance()->currentDateTime()); }
    // Moves the fixed clock; the interface re-reads its times.
    Q_INVOKABLE void setTime(double ms)
    {
        network::NetworkSubject::instance()->setFixedTime(qint64(ms));
        for (DeskDevice* d : backend->devices())
            d->refreshClock();
    }
    // Moves the fixed clock as time passes on its own: nothing is told.
    Q_INVOKABLE void passTime(double ms) { network::NetworkSubject::instance()->setFixedTime(qint64(ms)); }
    // Lets the storage worker finish and delivers what it posted back.
    Q_INVOKABLE void settle()
    {
        for (int i = 0; i < 3; ++i) {
            ThreadManager::getInstance()->waitForIdle();
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents();
        }
    }
    // Records in device 1's store.
    Q_INVOKABLE int storedCount()
    {
        settle();
        return backend->device(0)->account()->storage()->reminderStorage()->count();
    }
    // The stored record's remind time (0 when there is none).
    Q_INVOKABLE double storedRemindTime(const QString& remindId)
    {
        settle();
        bool found = false;
        const storage::ReminderInfo info =
            backend->device(0)->account()->storage()->reminderStorage()->info(remindId, &found);
        return found ? double(info.remindTime) : 0;
    }
    // The stored reminders' texts in the store's order (the list's order).
    Q_INVOKABLE QStringList storedTexts()
    {
        settle();
        QStringList texts;
        for (const storage::ReminderInfo& info : backend->device(0)->account()->storage()->reminderStorage()->allInfos())
            texts.append(info.text);
        return texts;
    }
    // A small picture in the test's data directory, for attaching.
    Q_INVOKABLE QString makeImage(const QString& name)
    {
        QImage image(320, 200, QImage::Format_RGB32);
        image.fill(QColor(0x4a, 0x90, 0xd9));
        QPainter p(&image);
        p.fillRect(40, 40, 120, 80, QColor(0xf5, 0xa6, 0x23));
        p.end();
        const QString path = QDir(backend->dataDirectory()).filePath(name);
        return image.save(path) ? path : QString();
    }
    // A file of that text in the data directory; its path.
    Q_INVOKABLE QString makeFile(const QString& name, const QString& text)
    {
        const QString path = QDir(backend->dataDirectory()).filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) != text.toUtf8().size())
            return QString();
        return path;
    }
    Q_INVOKABLE QString makeFolder(const QString& name)
    {
        const QString path = QDir(backend->dataDirectory()).filePath(name);
        return QDir().mkpath(path) ? path : QString();
    }
    Q_INVOKABLE bool removeFile(const QString& path) { return QFile::remove(path); }
    // Device 1 signs out and in again: its reminders load anew from the
    // store while the interface stays up (as at a start with stored data).
    Q_INVOKABLE void reload()
    {
        DeviceSession* session = backend->device(0)->session();
        session->signOut();
        session->signIn();
    }
    // Device 1 signs out and in again, its load held back until
    // startLoad(): the interface shows the device loading meanwhile (as at
    // a start, before the window's first frame lets the load begin).
    Q_INVOKABLE void signInHeld()
    {
        DeviceSession* session = backend->device(0)->session();
        session->signOut();
        session->signIn(DeviceSession::Load::Later);
    }
    Q_INVOKABLE void startLoad() { backend->device(0)->session()->startLoad(); }
    // Uploads wait at the file service until let go.
    Q_INVOKABLE void holdUploads(bool hold) { backend->fileService()->holdUploads(hold); }
    // A draft file in device 1's drafts folder, as a run that ended with
    // an edit open leaves it.
    Q_INVOKABLE bool writeDraft(const QString& json)
    {
        const QDir dir(QDir(DeskBackend::deviceDirectory(backend->dataDirectory(), 1)).filePath(QStringLiteral("drafts")));
        if (!QDir().mkpath(dir.path()))
            return false;
        QFile file(dir.filePath(QStringLiteral("1000.json")));
        return file.open(QIODevice::WriteOnly) && file.write(json.toUtf8()) == json.toUtf8().size();
    }
    // Reminders the server holds (not deleted).
    Q_INVOKABLE int serverCount() const
    {
        int n = 0;
        for (const QString& id : backend->server()->remindIds(DeskBackend::kAccountId))
            n += backend->server()->isTombstoned(DeskBackend::kAccountId, id) ? 0 : 1;
        return n;
    }
};

class ClientSetup : public QObject
{
    Q_OBJECT
public:
    ClientSetup() = default;

public slots:
    void applicationAvailable()
    {
        QQuickStyle::setStyle(QStringLiteral("Material"));
        ReminderHandler::registerMetaType("ReminderDesk");
        ImLog::instance()->setEchoToStderr(false);
        AppSettingModel::setTranslationsDirectory(QStringLiteral(CLIENT_TRANSLATIONS_DIR));
        AppSettingModel::setLanguage(QStringLiteral("en"));
        m_language.reset(new DeskLanguage);
    }

    void qmlEngineAvailable(QQmlEngine* engine)
    {
        release();
        AppSettingModel::setLanguage(QStringLiteral("en"));
        network::NetworkSubject::instance()->setFixedTime(
            QDateTime(QDate(2031, 6, 2), QTime(10, 0)).toMSecsSinceEpoch());
        m_dir.reset(new QTemporaryDir);
        m_backend.reset(new DeskBackend(m_dir->path(), 1));
        QSignalSpy listed(m_backend.get(), &DeskBackend::allListed);
        m_backend->signInAll();
        if (!m_backend->isAllListed() && !listed.wait(30000))
            qFatal("the device's first listing did not finish");
        m_support.reset(new TestSupport);
        m_support->backend = m_backend.get();

        m_language->addEngine(engine);
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine->rootContext()->setContextProperty(QStringLiteral("testDevice"), m_backend->device(0));
        engine->rootContext()->setContextProperty(QStringLiteral("testDesk"), m_language.get());
        engine->rootContext()->setContextProperty(QStringLiteral("support"), m_support.get());
        m_backend->device(0)->handler()->readyReminder();
        // The device goes with the engine that shows it.
        connect(engine, &QObject::destroyed, this, &ClientSetup::release);
    }

    void cleanupTestCase()
    {
        release();
        m_language.reset();
        network::NetworkSubject::instance()->releaseFixedTime();
    }

private:
    void release()
    {
        m_backend.reset();
        m_support.reset();
        m_dir.reset();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<DeskBackend> m_backend;
    std::unique_ptr<TestSupport> m_support;
    std::unique_ptr<DeskLanguage> m_language;
};

QUICK_TEST_MAIN_WITH_SETUP(client, ClientSetup)

#include "tst_client_qml.moc"
