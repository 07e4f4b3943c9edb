#pragma once

#include <QObject>
#include <QPointer>
#include <QSharedPointer>
#include <QString>

class ContactBase;
class UserManager;

// One conversation. Its members are looked up through the account's users.
class DialogBase : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString dialogId READ dialogId CONSTANT)
public:
    DialogBase(const QString& dialogId, UserManager* users, QObject* parent = nullptr);

    QString dialogId() const { return m_dialogId; }
    // The member with that user id (created on first sight); null for an id
    // below 1 or without a user manager.
    QSharedPointer<ContactBase> contact(qint64 userId, const QString& nick) const;

private:
    const QString m_dialogId;
    QPointer<UserManager> m_users;
};
