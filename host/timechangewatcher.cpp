#include "timechangewatcher.h"

#include "imlog.h"
#include "networksubject.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QTimeZone>

#include <atomic>

namespace {

const char kLogindService[] = "org.freedesktop.login1";
const char kLogindPath[] = "/org/freedesktop/login1";
const char kLogindInterface[] = "org.freedesktop.login1.Manager";
const char kPrepareForSleep[] = "PrepareForSleep";

// A machine without a system bus (a container, a build machine) stays
// without one for the life of the process; saying so once is enough however
// many watchers start and stop.
std::atomic_bool noBusLogged{false};

qint64 wallNow()
{
    return network::NetworkSubject::instance()->currentDateTime();
}

} // namespace

TimeChangeWatcher::TimeChangeWatcher(QObject* parent)
    : QObject(parent)
{
    m_timer.setInterval(kDefaultIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &TimeChangeWatcher::runCheck);
}

TimeChangeWatcher::~TimeChangeWatcher()
{
    stop();
}

void TimeChangeWatcher::start()
{
    takeReference();
    m_running = true;
    m_timer.start();
    if (!m_listening)
        listenToLogind();
}

void TimeChangeWatcher::stop()
{
    m_running = false;
    m_timer.stop();
    stopListeningToLogind();
}

bool TimeChangeWatcher::isRunning() const
{
    return m_running;
}

void TimeChangeWatcher::checkNow()
{
    if (m_running)
        runCheck();
}

void TimeChangeWatcher::setInterval(int ms)
{
    m_timer.setInterval(ms);
}

int TimeChangeWatcher::interval() const
{
    return m_timer.interval();
}

void TimeChangeWatcher::setThresholdMs(qint64 ms)
{
    m_thresholdMs = ms;
}

qint64 TimeChangeWatcher::thresholdMs() const
{
    return m_thresholdMs;
}

bool TimeChangeWatcher::isListeningToLogind() const
{
    return m_listening;
}

void TimeChangeWatcher::takeReference()
{
    m_monotonic.start();
    m_lastMonotonicMs = 0;
    m_lastWallMs = wallNow();
    m_lastZoneId = QTimeZone::systemTimeZoneId();
}

void TimeChangeWatcher::runCheck()
{
    const qint64 wall = wallNow();
    const qint64 monotonic = m_monotonic.elapsed();
    const QByteArray zone = QTimeZone::systemTimeZoneId();

    // Comparing the two clocks between consecutive checks, rather than
    // against the start, keeps slow drift and slewing from ever adding up
    // to a jump, and a busy event loop that delays a check moves both
    // clocks alike. The reference moves on before anything is emitted, so
    // a receiver that calls checkNow() sees no jump twice.
    const qint64 jump = (wall - m_lastWallMs) - (monotonic - m_lastMonotonicMs);
    m_lastWallMs = wall;
    m_lastMonotonicMs = monotonic;
    const QByteArray oldZone = m_lastZoneId;
    m_lastZoneId = zone;

    // The zone goes first: following it re-times the pending reminders,
    // and the catch-up after a jump should aim at the re-timed ones.
    if (zone != oldZone)
        emit timeZoneChanged(oldZone, zone);
    // A receiver of the zone change may have stopped the watcher.
    if (m_running && qAbs(jump) > m_thresholdMs)
        emit clockJumped(jump);
}

void TimeChangeWatcher::listenToLogind()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        if (!noBusLogged.exchange(true)) {
            ImLog::instance()->error(
                QStringLiteral("No system bus (%1): wake-ups are noticed by the clock check alone")
                    .arg(bus.lastError().message()));
        }
        return;
    }
    // The sender is named so that only logind, whoever owns its name at the
    // moment, is believed: any client of the system bus may emit a signal
    // with this interface and path.
    m_listening = bus.connect(QLatin1String(kLogindService), QLatin1String(kLogindPath),
                              QLatin1String(kLogindInterface), QLatin1String(kPrepareForSleep), this,
                              SLOT(onPrepareForSleep(bool)));
    if (!m_listening && !noBusLogged.exchange(true)) {
        ImLog::instance()->error(
            QStringLiteral("Cannot listen to logind on the system bus (%1): wake-ups are noticed by "
                           "the clock check alone")
                .arg(bus.lastError().message()));
    }
}

void TimeChangeWatcher::stopListeningToLogind()
{
    if (!m_listening)
        return;
    m_listening = false;
    QDBusConnection::systemBus().disconnect(QLatin1String(kLogindService), QLatin1String(kLogindPath),
                                            QLatin1String(kLogindInterface),
                                            QLatin1String(kPrepareForSleep), this,
                                            SLOT(onPrepareForSleep(bool)));
}

void TimeChangeWatcher::onPrepareForSleep(bool goingToSleep)
{
    // Deliberate: nothing is done before the machine sleeps. The reference
    // is at most one interval old, which is all the check after the wake
    // needs, and logind would only wait for us if we held a delay lock.
    if (goingToSleep || !m_running)
        return;
    runCheck();
    emit resumed();
}
