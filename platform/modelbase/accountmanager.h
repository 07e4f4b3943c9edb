#pragma once

#include <QObject>
#include <QString>
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
    // A toast: code 0 is a general message, level its severity.
    void error(int code, const QString& text, int level);

signals:
    void newMessageNotified(const QVariantList& messages);
    void reminderNotificationDeleted(qint64 accountId, const QString& remindId);
    void errorReported(int code, const QString& text, int level);

private:
    AccountManager() = default;
};
