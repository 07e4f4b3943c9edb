#pragma once

#include "usertextblock.h"

#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <QStringList>

namespace im { namespace content { class Content; } }
class AccountBase;
struct FileData;

// The body of a message: a text, or (in the subclasses) a file, a card, a
// poll or a lottery. `type` is the message type code (1 text, 2 image,
// 3 voice, 4 video, 5 animated image, 6 file, 8 card, 13 poll, 14 lottery);
// `content` is the text of a text message and the caption of the others.
class ContentItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int type READ type NOTIFY typeChanged)
    Q_PROPERTY(QString typeName READ typeName NOTIFY typeChanged)
    Q_PROPERTY(QString content READ content NOTIFY contentChanged)
    Q_PROPERTY(bool isTextMsg READ isTextMsg NOTIFY typeChanged)
public:
    enum MessageType {
        TextType = 1,
        ImageType = 2,
        VoiceType = 3,
        VideoType = 4,
        AnimatedImageType = 5,
        FileType = 6,
        CardType = 8,
        PollType = 13,
        LotteryType = 14,
    };
    Q_ENUM(MessageType)

    // scene: where the content is shown (an opaque code of the caller's).
    ContentItem(int scene, AccountBase* account, QObject* parent = nullptr);
    ~ContentItem() override;

    int scene() const { return m_scene; }
    AccountBase* account() const { return m_account; }

    int type() const { return m_type; }
    void setType(int type);
    QString typeName() const;
    bool isTextMsg() const { return m_type == TextType; }

    QString content() const { return m_text; }
    void setContent(const QString& text, const UserTextBlocks& blocks);
    UserTextBlocks textBlocks() const { return m_blocks; }

    // Writes the content into a message, and reads it back.
    virtual void serialize(im::content::Content* out) const;
    virtual void readFrom(const im::content::Content& in);
    // Appends the keys of the cached files this content uses.
    virtual void appendCacheKeys(QStringList& keys) const;
    // Appends the local records of the files this content carries (none
    // for a content without files).
    virtual void collectFileData(QList<QSharedPointer<FileData>>& records) const;

signals:
    void typeChanged();
    void contentChanged();

private:
    const int m_scene;
    AccountBase* const m_account;
    int m_type = 0;
    QString m_text;
    UserTextBlocks m_blocks;
};
