#include "samplechat.h"

#include "basefile.h"
#include "carditem.h"
#include "contentitem.h"
#include "fileitem.h"
#include "fileservice.h"
#include "pollitem.h"

#include <QCryptographicHash>
#include <QLocale>
#include <QStringList>

namespace samplechat {

namespace {

// The content origin code the module passes for reminders; the chat's
// contents are made the same way.
constexpr int kScene = 8;

constexpr qint64 kLiWei = 2001;
constexpr qint64 kAnna = 2002;
constexpr qint64 kTom = 2003;
constexpr qint64 kDrChen = 2100;

} // namespace

QList<Message> messages()
{
    return {
        {QStringLiteral("text"), QStringLiteral("dialog-team"), 101, kLiWei, QStringLiteral("Li Wei"),
         QStringLiteral("09:12")},
        {QStringLiteral("file"), QStringLiteral("dialog-team"), 102, kAnna, QStringLiteral("Anna Berg"),
         QStringLiteral("09:20")},
        {QStringLiteral("card"), QStringLiteral("dialog-tom"), 103, kTom, QStringLiteral("Tom Okafor"),
         QStringLiteral("10:05")},
        {QStringLiteral("poll"), QStringLiteral("dialog-team"), 104, kAnna, QStringLiteral("Anna Berg"),
         QStringLiteral("10:41")},
    };
}

QList<Person> people()
{
    return {
        {kLiWei, QStringLiteral("Li Wei")},
        {kAnna, QStringLiteral("Anna Berg")},
        {kTom, QStringLiteral("Tom Okafor")},
    };
}

QByteArray sampleFileBytes()
{
    // A small text stand-in for the report: its bytes only matter for the
    // file id.
    QByteArray bytes("%PDF-1.4\n% Quarterly report (sample)\n");
    for (int i = 0; i < 1500; ++i)
        bytes += QByteArray("Revenue line ") + QByteArray::number(i) + " : " + QByteArray::number(i * 37 % 1000)
            + "\n";
    return bytes;
}

QString sampleFileId()
{
    return QString::fromLatin1(QCryptographicHash::hash(sampleFileBytes(), QCryptographicHash::Sha256).toHex());
}

void publishSampleFile(FileService* files)
{
    if (files && !files->contains(sampleFileId()))
        files->uploadData(sampleFileId(), sampleFileBytes());
}

QVariantMap describe(int index)
{
    const QList<Message> all = messages();
    QVariantMap m;
    if (index < 0 || index >= all.size())
        return m;
    const Message& msg = all.at(index);
    m.insert(QStringLiteral("kind"), msg.kind);
    m.insert(QStringLiteral("sender"), msg.senderName);
    m.insert(QStringLiteral("time"), msg.time);
    if (msg.kind == QLatin1String("text")) {
        m.insert(QStringLiteral("text"), qtTrId("desk_sample_text"));
    } else if (msg.kind == QLatin1String("file")) {
        m.insert(QStringLiteral("fileName"), qtTrId("desk_sample_file_name"));
        m.insert(QStringLiteral("fileSize"), QLocale().formattedDataSize(sampleFileBytes().size()));
    } else if (msg.kind == QLatin1String("card")) {
        m.insert(QStringLiteral("cardName"), qtTrId("desk_sample_card_name"));
    } else if (msg.kind == QLatin1String("poll")) {
        m.insert(QStringLiteral("pollTitle"), qtTrId("desk_sample_poll_title"));
        m.insert(QStringLiteral("options"),
                 QStringList{qtTrId("desk_sample_poll_option_1"), qtTrId("desk_sample_poll_option_2"),
                             qtTrId("desk_sample_poll_option_3")});
    }
    return m;
}

QSharedPointer<ContentItem> buildContent(int index, AccountBase* account)
{
    const QList<Message> all = messages();
    if (index < 0 || index >= all.size())
        return {};
    const Message& msg = all.at(index);
    if (msg.kind == QLatin1String("file")) {
        auto file = QSharedPointer<FileItem>::create(kScene, account);
        file->setType(ContentItem::FileType);
        auto source = QSharedPointer<BaseFile>::create(sampleFileId(), qtTrId("desk_sample_file_name"), QString(),
                                                       sampleFileBytes().size());
        source->setMimeType(QStringLiteral("application/pdf"));
        source->setSha256(QByteArray::fromHex(sampleFileId().toLatin1()));
        file->setSourceFile(source);
        file->calcFileType();
        return file;
    }
    if (msg.kind == QLatin1String("card")) {
        auto card = QSharedPointer<CardItem>::create(kScene, account);
        card->setType(ContentItem::CardType);
        card->setCard(kDrChen, qtTrId("desk_sample_card_name"));
        return card;
    }
    if (msg.kind == QLatin1String("poll")) {
        auto poll = QSharedPointer<PollItem>::create(kScene, account);
        poll->setType(ContentItem::PollType);
        poll->setTitle(qtTrId("desk_sample_poll_title"));
        poll->setOptions({qtTrId("desk_sample_poll_option_1"), qtTrId("desk_sample_poll_option_2"),
                          qtTrId("desk_sample_poll_option_3")});
        return poll;
    }
    auto text = QSharedPointer<ContentItem>::create(kScene, account);
    text->setType(ContentItem::TextType);
    text->setContent(qtTrId("desk_sample_text"), {});
    return text;
}

} // namespace samplechat
