#include "accountmanager.h"

#include <QCoreApplication>

AccountManager* AccountManager::getInstance()
{
    static AccountManager* instance = new AccountManager;
    return instance;
}

AccountManager::AccountManager() : m_quiet(this)
{
    // Whichever thread asks first, the manager and its timer live on the
    // application's main thread, where the interface receives its signals.
    if (QCoreApplication::instance())
        moveToThread(QCoreApplication::instance()->thread());
    m_quiet.setSingleShot(true);
    connect(&m_quiet, &QTimer::timeout, this, &AccountManager::releaseGathered);
}

void AccountManager::notifyNewMessage(const QVariantList& messages)
{
    if (!m_gathering) {
        emit newMessageNotified(messages);
        return;
    }
    m_gathered.append(messages);
    // Quiet again from now, but never past the window's end.
    const qint64 left = m_maxMs - m_gatherStarted.elapsed();
    if (left <= 0) {
        releaseGathered();
        return;
    }
    m_quiet.start(int(qMin<qint64>(m_quietMs, left)));
}

void AccountManager::deletedReminder(qint64 accountId, const QString& remindId)
{
    if (m_gathering)
        releaseGathered();
    emit reminderNotificationDeleted(accountId, remindId);
}

void AccountManager::gatherNotifications(int quietMs, int maxMs)
{
    m_quietMs = qMax(0, quietMs);
    m_maxMs = qMax(m_quietMs, maxMs);
    if (!m_gathering) {
        m_gathering = true;
        m_gatherStarted.start();
    }
    m_quiet.start(int(qMin<qint64>(m_quietMs, qMax<qint64>(0, m_maxMs - m_gatherStarted.elapsed()))));
}

void AccountManager::releaseGathered()
{
    m_quiet.stop();
    m_gathering = false;
    if (m_gathered.isEmpty())
        return;
    const QVariantList gathered = m_gathered;
    m_gathered.clear();
    emit newMessageNotified(gathered);
}

void AccountManager::error(int code, const QString& text, int level)
{
    emit errorReported(code, text, level);
}
