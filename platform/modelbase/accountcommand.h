#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

// The account's command channel to the server for reminder requests. The
// base class announces every request as a signal; a host connects a
// transport (the reference server does) or overrides the operations.
class AccountCommand : public QObject
{
    Q_OBJECT
public:
    explicit AccountCommand(QObject* parent = nullptr);

    // Sends one reminder: its remind id and the serialised message.
    virtual void updateReminder(const QString& remindId, const QByteArray& data);
    // Asks the server to delete these reminders.
    virtual void deleteReminders(const QStringList& remindIds);

signals:
    void reminderUpdateRequested(const QString& remindId, const QByteArray& data);
    void reminderDeleteRequested(const QStringList& remindIds);
};
