#include "devicesession.h"

#include "accountbase.h"
#include "accountmanager.h"
#include "contentcipher.h"
#include "filemanager.h"
#include "localzone.h"
#include "mediasendermodel.h"
#include "reminderhandler.h"
#include "remindermodel.h"
#include "reminderserversession.h"
#include "sharedpreferencebase.h"
#include "timechangewatcher.h"

#include "crossthread.h"

#include <QDateTime>
#include <QTimeZone>

namespace {

// After a wake or a clock jump the timer's passes over what fell due end
// within a few storage round trips; their notifications are gathered until
// none came for this long, and for at most the second figure.
constexpr int kCatchUpQuietMs = 150;
constexpr int kCatchUpLongestMs = 1000;

} // namespace

DeviceSession::DeviceSession(ReminderServer* server, FileService* files, const QString& dataDir, qint64 accountId,
                             qint64 deviceId, const QByteArray& secret, QObject* parent)
    : QObject(parent)
{
    // The database is opened by its first use, the load on the loading
    // thread: checking a large file as it opens reads all of it, which the
    // interface thread would otherwise wait for before its first frame.
    m_account = new AccountBase(accountId, deviceId, dataDir, ContentCipher::deriveKey(secret), this,
                                AccountBase::StorageOpening::OnFirstUse);
    m_files.reset(new FileManager(files, m_account->storage()));
    m_files->setCacheDirectory(m_account->cacheDirectory());
    m_account->setFileManager(m_files.get());

    m_session = new ReminderServerSession(server, accountId, deviceId, this);
    m_session->attach(m_account->command());

    // The account's parent-child tree owns the handler.
    m_handler = new ReminderHandler(m_account);
    // What the server says reaches the handler only while it holds the
    // account's data: not after a sign-out, and not before the local
    // reminders are in (a listed reminder would replace its stored record,
    // unsent changes and all).
    connect(m_session, &ReminderServerSession::syncFinished, this,
            [this](const QString& id, const QByteArray& data, int code) {
                if (m_acceptServer)
                    m_handler->syncFinished(id, data, code);
            });
    connect(m_session, &ReminderServerSession::listed, this, [this](const QString& id, const QByteArray& data) {
        if (m_acceptServer)
            m_handler->listAndNotif(id, data);
    });
    connect(m_session, &ReminderServerSession::listFinished, this, [this] {
        if (!m_acceptServer)
            return;
        m_account->sharedPreference()->finishList();
        emit listFinished();
    });
    m_loader.setMaxThreadCount(1);
    m_loader.setObjectName(QStringLiteral("reminder-load"));
}

DeviceSession::~DeviceSession()
{
    // A load reads through the account: stop it and let it end first.
    m_signInGeneration.fetchAndAddOrdered(1);
    m_handler->setStopped(true);
    waitForLoads();
    m_session->detach();
    // The handler goes with the account; the file manager after both, as
    // the handler's uploads report to it.
    delete m_account;
    m_account = nullptr;
    m_files.reset();
}

void DeviceSession::signIn(Load load)
{
    MediaSenderModel::getInstance()->setCacheDirectory(m_account->cacheDirectory());
    const int generation = m_signInGeneration.fetchAndAddOrdered(1) + 1;
    setLoaded(false);
    m_acceptServer = false;
    // Lowered here, on the interface thread, and raised again by signOut:
    // a load that starts after a sign-out stops before its first record.
    m_handler->setStopped(false);
    m_heldLoad = 0;
    if (load == Load::Later)
        m_heldLoad = generation;
    else
        runLoad(generation);
}

void DeviceSession::startLoad()
{
    const int generation = m_heldLoad;
    m_heldLoad = 0;
    // A sign-out since made the held load stale.
    if (generation != 0 && generation == m_signInGeneration.loadAcquire())
        runLoad(generation);
}

void DeviceSession::runLoad(int generation)
{
    ReminderHandler* handler = m_handler;
    CrossThread::run(&m_loader, [this, handler, generation] {
        if (m_signInGeneration.loadAcquire() != generation)
            return;
        handler->loadLocalData(false);
        // Posted after the handler's own hand-over of what it read, so it
        // runs once the list holds the reminders.
        CrossThread::post(this, [this, generation] {
            if (m_signInGeneration.loadAcquire() != generation)
                return;
            setLoaded(true);
            m_acceptServer = true;
            if (m_interfaceReady)
                m_handler->readyReminder();
            m_session->requestList();
        });
    }, &m_loader);
}

void DeviceSession::catchUpWithTheClock()
{
    // Before the interface is ready the timer is not armed yet; the load's
    // end arms it from the current clock.
    if (!m_loaded || !m_interfaceReady)
        return;
    AccountManager::getInstance()->gatherNotifications(kCatchUpQuietMs, kCatchUpLongestMs);
    m_handler->readyReminder();
}

void DeviceSession::followTimeZone(const QByteArray& oldZoneId, const QByteArray& newZoneId)
{
    // The calendar's view of the local zone looks at the zone file only now
    // and then; what follows must already compute in the new zone.
    LocalZone::systemZoneChanged();
    const QTimeZone from(oldZoneId);
    const QTimeZone to(newZoneId);
    if (m_loaded && from.isValid() && to.isValid() && oldZoneId != newZoneId) {
        const qint64 now = m_account->currentServerTime();
        QStringList ids;
        m_handler->reminderModel()->allIds(ids);
        for (const QString& id : std::as_const(ids)) {
            const ReminderItemPtr item = m_handler->reminderModel()->itemById(id);
            // Only a reminder waiting for its time moves. One in a snooze
            // cycle waits a span of minutes, not a time of day; one that
            // already fired stays where it fired.
            if (!item || item->completed() || item->reminded() || item->remindTime() <= now
                || item->remindTime() != item->showRemindTime())
                continue;
            const QDateTime wall = QDateTime::fromMSecsSinceEpoch(item->remindTime(), from);
            const qint64 moved = QDateTime(wall.date(), wall.time(), to).toMSecsSinceEpoch();
            if (moved != item->remindTime() && moved > now)
                m_handler->modifyRemindTime(id, moved);
        }
    }
    catchUpWithTheClock();
}

void DeviceSession::followTimeChanges(TimeChangeWatcher* watcher)
{
    connect(watcher, &TimeChangeWatcher::clockJumped, this, [this] { catchUpWithTheClock(); });
    connect(watcher, &TimeChangeWatcher::resumed, this, [this] { catchUpWithTheClock(); });
    connect(watcher, &TimeChangeWatcher::timeZoneChanged, this, &DeviceSession::followTimeZone);
}

void DeviceSession::waitForLoads()
{
    m_loader.waitForDone();
    CrossThread::acquire(&m_loader);
}

void DeviceSession::setInterfaceReady()
{
    m_interfaceReady = true;
    if (m_loaded)
        m_handler->readyReminder();
}

void DeviceSession::relist()
{
    m_account->sharedPreference()->restartList();
    m_session->requestList();
}

void DeviceSession::signOut()
{
    m_signInGeneration.fetchAndAddOrdered(1);
    m_heldLoad = 0;
    setLoaded(false);
    m_acceptServer = false;
    m_handler->prepareToClearData(false);
    m_handler->clearData(false);
    // clearData lowers the stop flag for the next load; until the next
    // sign-in a load that has not started yet must not run.
    m_handler->setStopped(true);
}

void DeviceSession::setLoaded(bool loaded)
{
    if (m_loaded == loaded)
        return;
    m_loaded = loaded;
    emit loadedChanged();
}
