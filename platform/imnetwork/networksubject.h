#pragma once

#include <QObject>
#include <QMutex>
#include <QtGlobal>

namespace network {

// The network layer's view of time and of the application's state.
// currentDateTime() is the server-corrected clock: the system time plus the
// offset the server reported. Tests (and the demo's tour) may fix the clock
// and move it by hand.
class NetworkSubject : public QObject
{
    Q_OBJECT
public:
    static NetworkSubject* instance();

    // Milliseconds since the epoch on the server-corrected clock.
    qint64 currentDateTime() const;

    void setServerOffset(qint64 offsetMs);
    qint64 serverOffset() const;

    // A fixed clock: currentDateTime() returns exactly this until advanced,
    // changed or released. The fixed value is already on the corrected
    // clock: the server offset is not added to it.
    void setFixedTime(qint64 msecsSinceEpoch);
    // Moves the fixed clock by ms (which may be negative). When the clock is
    // not fixed, it is first fixed at the current corrected time (system
    // time plus offset) and then moved.
    void advance(qint64 ms);
    void releaseFixedTime();
    bool isTimeFixed() const;

    // Whether the application is in the foreground (true at start).
    // setAppActive emits appActiveChanged only when the state changes.
    // All members may be called from any thread.
    bool appIsActive() const;
    void setAppActive(bool active);

signals:
    void appActiveChanged(bool active);

private:
    NetworkSubject() = default;

    mutable QMutex m_mutex;
    qint64 m_offset = 0;
    qint64 m_fixed = 0;
    bool m_isFixed = false;
    bool m_active = true;
};

} // namespace network
