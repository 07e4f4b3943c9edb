#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>

// The host's application-wide sink for what models hand to the interface:
// notifications, withdrawn notifications and error toasts. Each call is also
// emitted as a signal, which the interface (and tests) observe.
class AccountManager : public QObject
{
    Q_OBJECT
public:
    static AccountManager* getInstance();

    void notifyNewMessage(const QVariantList& messages);
    void deletedReminder(qint64 accountId, const QString& remindId);

    // Gathers the notifications that follow into one: until no new one has
    // come for quietMs, or maxMs have passed, notifyNewMessage collects
    // instead of emitting, and the whole collection is then emitted as one
    // newMessageNotified. Used when the machine wakes or the clock jumps,
    // so that everything that fell due meanwhile arrives as one list. A
    // withdrawn notification first lets out what was gathered, so the
    // order of the two stays as it was. Call on the manager's thread.
    void gatherNotifications(int quietMs, int maxMs);
    bool isGathering() const { return m_gathering; }
    // A toast: code 0 is a general message, level its severity.
    void error(int code, const QString& text, int level);

signals:
    void newMessageNotified(const QVariantList& messages);
    void reminderNotificationDeleted(qint64 accountId, const QString& remindId);
    void errorReported(int code, const QString& text, int level);

private:
    AccountManager();
    void releaseGathered();

    bool m_gathering = false;
    int m_quietMs = 0;
    int m_maxMs = 0;
    QVariantList m_gathered;
    QTimer m_quiet;
    QElapsedTimer m_gatherStarted;
};
