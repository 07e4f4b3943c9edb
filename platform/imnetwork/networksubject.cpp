#include "networksubject.h"

#include "synclocker.h"

#include <QDateTime>

namespace network {

NetworkSubject* NetworkSubject::instance()
{
    // Function-local statics are initialised once, thread-safely.
    static NetworkSubject subject;
    return &subject;
}

qint64 NetworkSubject::currentDateTime() const
{
    SyncLocker lock(&m_mutex);
    if (m_isFixed)
        return m_fixed;
    return QDateTime::currentMSecsSinceEpoch() + m_offset;
}

void NetworkSubject::setServerOffset(qint64 offsetMs)
{
    SyncLocker lock(&m_mutex);
    m_offset = offsetMs;
}

qint64 NetworkSubject::serverOffset() const
{
    SyncLocker lock(&m_mutex);
    return m_offset;
}

void NetworkSubject::setFixedTime(qint64 msecsSinceEpoch)
{
    SyncLocker lock(&m_mutex);
    m_fixed = msecsSinceEpoch;
    m_isFixed = true;
}

void NetworkSubject::advance(qint64 ms)
{
    SyncLocker lock(&m_mutex);
    if (!m_isFixed) {
        m_fixed = QDateTime::currentMSecsSinceEpoch() + m_offset;
        m_isFixed = true;
    }
    m_fixed += ms;
}

void NetworkSubject::releaseFixedTime()
{
    SyncLocker lock(&m_mutex);
    m_isFixed = false;
    m_fixed = 0;
}

bool NetworkSubject::isTimeFixed() const
{
    SyncLocker lock(&m_mutex);
    return m_isFixed;
}

bool NetworkSubject::appIsActive() const
{
    SyncLocker lock(&m_mutex);
    return m_active;
}

void NetworkSubject::setAppActive(bool active)
{
    {
        SyncLocker lock(&m_mutex);
        if (m_active == active)
            return;
        m_active = active;
    }
    // Emitted outside the lock so that receivers may call back in.
    emit appActiveChanged(active);
}

} // namespace network
