#pragma once

#include "contentitem.h"

#include <QSharedPointer>

class ContactBase;
Q_MOC_INCLUDE("contactbase.h")

// A contact shared as a card.
class CardItem : public ContentItem
{
    Q_OBJECT
    Q_PROPERTY(qint64 userId READ userId NOTIFY cardChanged)
    Q_PROPERTY(QString nick READ nick NOTIFY cardChanged)
    Q_PROPERTY(ContactBase* user READ user NOTIFY userChanged)
public:
    CardItem(int scene, AccountBase* account, QObject* parent = nullptr);

    qint64 userId() const { return m_userId; }
    QString nick() const { return m_nick; }
    void setCard(qint64 userId, const QString& nick);

    ContactBase* user() const { return m_user.data(); }
    QSharedPointer<ContactBase> userPtr() const { return m_user; }
    void setUser(const QSharedPointer<ContactBase>& user);

    void serialize(im::content::Content* out) const override;
    void readFrom(const im::content::Content& in) override;

signals:
    void cardChanged();
    void userChanged();

private:
    qint64 m_userId = 0;
    QString m_nick;
    QSharedPointer<ContactBase> m_user;
};
