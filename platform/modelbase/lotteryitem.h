#pragma once

#include "withoptionsitem.h"

// A lottery: a title, its prizes and the time of the draw.
class LotteryItem : public WithOptionsItem
{
    Q_OBJECT
    Q_PROPERTY(qint64 drawTime READ drawTime NOTIFY optionsChanged)
public:
    LotteryItem(int scene, AccountBase* account, QObject* parent = nullptr);

    qint64 drawTime() const { return m_drawTime; }
    void setDrawTime(qint64 time);

    void serialize(im::content::Content* out) const override;
    void readFrom(const im::content::Content& in) override;

private:
    qint64 m_drawTime = 0;
};
