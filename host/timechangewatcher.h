#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QtGlobal>

// Notices the events that a QTimer cannot: the machine slept (the monotonic
// clock that QTimer runs on stood still while the wall clock went on), the
// wall clock was set, or the system time zone changed. The host answers each
// by aiming the remind timer anew.
//
// Three sources: a repeating check that compares how far the wall clock
// (network::NetworkSubject::currentDateTime()) and the monotonic clock
// moved since the previous check, and reads the system time zone id; and
// logind's PrepareForSleep signal on the system bus, which says the machine
// woke up. A machine without a system bus is watched by the check alone.
//
// Lives on, and emits on, the thread it was created on (the interface
// thread in the host). A stopped watcher emits nothing.
class TimeChangeWatcher : public QObject
{
    Q_OBJECT
public:
    static constexpr int kDefaultIntervalMs = 1000;
    static constexpr qint64 kDefaultThresholdMs = 2000;

    explicit TimeChangeWatcher(QObject* parent = nullptr);
    ~TimeChangeWatcher() override;

    // Takes the current clocks and zone as the reference, starts the
    // repeating check and listens to logind. Starting a running watcher
    // only takes a new reference.
    void start();
    void stop();
    bool isRunning() const;

    // Runs the check now, outside the repeating schedule (does nothing while
    // stopped).
    void checkNow();

    // Time between two checks; a jump is noticed at most this long after the
    // event loop runs again. Takes effect at once on a running watcher.
    void setInterval(int ms);
    int interval() const;
    // How far the two clocks may drift apart between two checks before it
    // counts as a jump: small corrections (NTP slewing) stay below it.
    void setThresholdMs(qint64 ms);
    qint64 thresholdMs() const;

    // Whether logind's signals reach this watcher (the system bus is there
    // and the watcher is running).
    bool isListeningToLogind() const;

signals:
    // The wall clock moved by jumpMs more (or, when negative, less) than the
    // monotonic clock since the previous check: the machine slept, or the
    // clock was set forward or back. Reported once per jump.
    void clockJumped(qint64 jumpMs);
    // logind says the machine has woken up. A check runs first, so a jump
    // across the sleep is reported (clockJumped) before this.
    void resumed();
    // The system time zone id changed between two checks. Reported before a
    // clock jump found by the same check.
    void timeZoneChanged(const QByteArray& oldId, const QByteArray& newId);

private slots:
    void onPrepareForSleep(bool goingToSleep);

private:
    void takeReference();
    void runCheck();
    void listenToLogind();
    void stopListeningToLogind();

    QTimer m_timer;
    QElapsedTimer m_monotonic;
    qint64 m_lastWallMs = 0;
    qint64 m_lastMonotonicMs = 0;
    QByteArray m_lastZoneId;
    qint64 m_thresholdMs = kDefaultThresholdMs;
    bool m_running = false;
    bool m_listening = false;
};
