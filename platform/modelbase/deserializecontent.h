#pragma once

#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

namespace im { namespace content { class Content; } }
class AccountBase;
class ContentItem;

// Builds the content item of the message's type: a FileItem for types 2 to
// 6, a CardItem for 8, a PollItem for 13, a LotteryItem for 14 and a plain
// ContentItem for text and any other type. scene is passed on unchanged.
QSharedPointer<ContentItem> deserializeContent(const im::content::Content& content, int scene,
                                               AccountBase* account);

// The same from the field map that a media parser produces. Keys read:
// "text"; for files "fileId", "name", "path", "size", "mimeType", "sha256"
// (hex), "thumbPath", "thumbFileId", "width", "height"; for cards "userId",
// "nick"; for polls and lotteries "title", "options" (a string list),
// "multiple", "drawTime". Missing keys read as empty or 0.
QSharedPointer<ContentItem> deserializeContent(const QMap<QString, QVariant>& fields,
                                               int messageType, int scene, AccountBase* account);
