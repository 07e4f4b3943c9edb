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
    // changed or released.
    void setFixedTime(qint64 msecsSinceEpoch);
    void advance(qint64 ms);
    void releaseFixedTime();
    bool isTimeFixed() const;

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
