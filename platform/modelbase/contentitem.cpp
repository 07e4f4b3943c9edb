#include "contentitem.h"

#include "modelbaseutil.h"

#include "im/content/content.pb.h"

ContentItem::ContentItem(int scene, AccountBase* account, QObject* parent)
    : QObject(parent), m_scene(scene), m_account(account)
{
}

ContentItem::~ContentItem() = default;

void ContentItem::setType(int type)
{
    if (m_type == type)
        return;
    m_type = type;
    emit typeChanged();
}

QString ContentItem::typeName() const
{
    return ModelBaseUtil::messageTypeIntToStr(m_type);
}

void ContentItem::setContent(const QString& text, const UserTextBlocks& blocks)
{
    if (m_text == text && m_blocks == blocks)
        return;
    m_text = text;
    m_blocks = blocks;
    emit contentChanged();
}

void ContentItem::serialize(im::content::Content* out) const
{
    if (!out)
        return;
    out->set_type(m_type);
    auto* text = out->mutable_text();
    text->set_text(m_text.toStdString());
    text->clear_blocks();
    for (const auto& b : m_blocks) {
        auto* block = text->add_blocks();
        block->set_start(b.start);
        block->set_length(b.length);
        block->set_kind(b.kind);
        block->set_value(b.value.toStdString());
    }
}

void ContentItem::readFrom(const im::content::Content& in)
{
    setType(in.type());
    UserTextBlocks blocks;
    for (const auto& b : in.text().blocks())
        blocks.append({b.start(), b.length(), b.kind(), QString::fromStdString(b.value())});
    setContent(QString::fromStdString(in.text().text()), blocks);
}

void ContentItem::appendCacheKeys(QStringList&) const {}

void ContentItem::collectFileData(QList<QSharedPointer<FileData>>&) const {}
