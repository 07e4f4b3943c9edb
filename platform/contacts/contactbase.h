#pragma once

#include <QObject>
#include <QString>

// A user as the interface shows them.
class ContactBase : public QObject
{
    Q_OBJECT
    Q_PROPERTY(qint64 userId READ userId CONSTANT)
    Q_PROPERTY(QString nick READ nick NOTIFY nickChanged)
    Q_PROPERTY(QString displayName READ displayName NOTIFY nickChanged)
public:
    explicit ContactBase(qint64 userId, const QString& nick = QString(), QObject* parent = nullptr);

    qint64 userId() const { return m_userId; }
    QString nick() const { return m_nick; }
    void setNick(const QString& nick);
    // The nick, or a neutral name built from the id when there is none.
    QString displayName() const;

signals:
    void nickChanged();

private:
    const qint64 m_userId;
    QString m_nick;
};
