#include "accountmanager.h"

AccountManager* AccountManager::getInstance()
{
    static AccountManager* instance = new AccountManager;
    return instance;
}

void AccountManager::notifyNewMessage(const QVariantList& messages)
{
    emit newMessageNotified(messages);
}

void AccountManager::deletedReminder(qint64 accountId, const QString& remindId)
{
    emit reminderNotificationDeleted(accountId, remindId);
}

void AccountManager::error(int code, const QString& text, int level)
{
    emit errorReported(code, text, level);
}
