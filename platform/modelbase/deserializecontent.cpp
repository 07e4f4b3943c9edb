#include "deserializecontent.h"

#include "carditem.h"
#include "contentitem.h"
#include "fileitem.h"
#include "lotteryitem.h"
#include "modelbaseutil.h"
#include "pollitem.h"

#include "im/content/content.pb.h"

#include <QFileInfo>

namespace {

ContentItem* makeItem(int type, int scene, AccountBase* account)
{
    if (ModelBaseUtil::isNeedUploadType(type))
        return new FileItem(scene, account);
    switch (type) {
    case ContentItem::CardType: return new CardItem(scene, account);
    case ContentItem::PollType: return new PollItem(scene, account);
    case ContentItem::LotteryType: return new LotteryItem(scene, account);
    default: return new ContentItem(scene, account);
    }
}

} // namespace

QSharedPointer<ContentItem> deserializeContent(const im::content::Content& content, int scene,
                                               AccountBase* account)
{
    QSharedPointer<ContentItem> item(makeItem(content.type(), scene, account));
    item->readFrom(content);
    return item;
}

QSharedPointer<ContentItem> deserializeContent(const QMap<QString, QVariant>& fields,
                                               int messageType, int scene, AccountBase* account)
{
    QSharedPointer<ContentItem> item(makeItem(messageType, scene, account));
    item->setType(messageType);
    item->setContent(fields.value(QStringLiteral("text")).toString(), {});

    if (auto* file = qobject_cast<FileItem*>(item.data())) {
        QSharedPointer<BaseFile> source(new BaseFile(fields.value(QStringLiteral("fileId")).toString(),
                                                     fields.value(QStringLiteral("name")).toString(),
                                                     fields.value(QStringLiteral("path")).toString(),
                                                     fields.value(QStringLiteral("size")).toLongLong()));
        source->setMimeType(fields.value(QStringLiteral("mimeType")).toString());
        source->setSha256(QByteArray::fromHex(fields.value(QStringLiteral("sha256")).toByteArray()));
        file->setSourceFile(source);
        const QString thumb = fields.value(QStringLiteral("thumbPath")).toString();
        if (!thumb.isEmpty()) {
            file->setThumbnailFile(QSharedPointer<BaseFile>(
                new BaseFile(fields.value(QStringLiteral("thumbFileId")).toString(),
                             QFileInfo(thumb).fileName(), thumb)));
        }
        file->setImageSize(fields.value(QStringLiteral("width")).toInt(),
                           fields.value(QStringLiteral("height")).toInt());
    } else if (auto* card = qobject_cast<CardItem*>(item.data())) {
        card->setCard(fields.value(QStringLiteral("userId")).toLongLong(),
                      fields.value(QStringLiteral("nick")).toString());
    } else if (auto* options = qobject_cast<WithOptionsItem*>(item.data())) {
        if (fields.contains(QStringLiteral("title")))
            options->setTitle(fields.value(QStringLiteral("title")).toString());
        options->setOptions(fields.value(QStringLiteral("options")).toStringList());
        if (auto* poll = qobject_cast<PollItem*>(options))
            poll->setMultiple(fields.value(QStringLiteral("multiple")).toBool());
        if (auto* lottery = qobject_cast<LotteryItem*>(options))
            lottery->setDrawTime(fields.value(QStringLiteral("drawTime")).toLongLong());
    }
    return item;
}
