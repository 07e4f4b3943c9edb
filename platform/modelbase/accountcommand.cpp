#include "accountcommand.h"

AccountCommand::AccountCommand(QObject* parent) : QObject(parent) {}

void AccountCommand::updateReminder(const QString& remindId, const QByteArray& data)
{
    emit reminderUpdateRequested(remindId, data);
}

void AccountCommand::deleteReminders(const QStringList& remindIds)
{
    emit reminderDeleteRequested(remindIds);
}
