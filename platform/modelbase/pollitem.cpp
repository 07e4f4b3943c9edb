#include "pollitem.h"

#include "im/content/content.pb.h"

PollItem::PollItem(int scene, AccountBase* account, QObject* parent)
    : WithOptionsItem(scene, account, parent)
{
}

void PollItem::setMultiple(bool multiple)
{
    if (m_multiple == multiple)
        return;
    m_multiple = multiple;
    emit optionsChanged();
}

void PollItem::serialize(im::content::Content* out) const
{
    if (!out)
        return;
    ContentItem::serialize(out);
    auto* poll = out->mutable_poll();
    if (titlePtr())
        poll->mutable_title()->set_text(title().toStdString());
    for (const auto& o : options())
        poll->add_options(o.toStdString());
    poll->set_multiple(m_multiple);
}

void PollItem::readFrom(const im::content::Content& in)
{
    ContentItem::readFrom(in);
    const auto& poll = in.poll();
    if (poll.has_title())
        setTitle(QString::fromStdString(poll.title().text()));
    else
        clearTitle();
    QStringList options;
    for (const auto& o : poll.options())
        options.append(QString::fromStdString(o));
    setOptions(options);
    setMultiple(poll.multiple());
}
