#include "lotteryitem.h"

#include "im/content/content.pb.h"

LotteryItem::LotteryItem(int scene, AccountBase* account, QObject* parent)
    : WithOptionsItem(scene, account, parent)
{
}

void LotteryItem::setDrawTime(qint64 time)
{
    if (m_drawTime == time)
        return;
    m_drawTime = time;
    emit optionsChanged();
}

void LotteryItem::serialize(im::content::Content* out) const
{
    if (!out)
        return;
    ContentItem::serialize(out);
    auto* lottery = out->mutable_lottery();
    if (titlePtr())
        lottery->mutable_title()->set_text(title().toStdString());
    for (const auto& p : options())
        lottery->add_prizes(p.toStdString());
    lottery->set_draw_time(m_drawTime);
}

void LotteryItem::readFrom(const im::content::Content& in)
{
    ContentItem::readFrom(in);
    const auto& lottery = in.lottery();
    if (lottery.has_title())
        setTitle(QString::fromStdString(lottery.title().text()));
    else
        clearTitle();
    QStringList prizes;
    for (const auto& p : lottery.prizes())
        prizes.append(QString::fromStdString(p));
    setOptions(prizes);
    setDrawTime(lottery.draw_time());
}
