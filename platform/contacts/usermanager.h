#pragma once

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QSharedPointer>

class ContactBase;

// The account's known users, one shared ContactBase per user id.
// Thread-safe.
class UserManager : public QObject
{
    Q_OBJECT
public:
    explicit UserManager(QObject* parent = nullptr);

    // The user with that id. A known user whose nick is empty takes the
    // given nick. An unknown user is created (with the nick) when
    // createIfMissing is set, else null. requestFromServer asks for a fresh
    // profile; this platform has no contact directory, so it only records
    // the request (see requestedUserIds()).
    QSharedPointer<ContactBase> getUserPointer(qint64 userId, bool requestFromServer,
                                               const QString& nick, bool createIfMissing);
    void addUser(const QSharedPointer<ContactBase>& user);
    int count() const;
    QList<qint64> requestedUserIds() const;

private:
    mutable QMutex m_mutex;
    QHash<qint64, QSharedPointer<ContactBase>> m_users;
    QList<qint64> m_requested;
};
