#include "accountbase.h"
#include "carditem.h"
#include "contactbase.h"
#include "contentcipher.h"
#include "contentitem.h"
#include "deserializecontent.h"
#include "fileitem.h"
#include "lotteryitem.h"
#include "pollitem.h"

#include "im/content/content.pb.h"

#include <QCryptographicHash>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int kScene = 7;

const UserTextBlocks kBlocks = {
    {0, 4, 1, QStringLiteral("@bob")},
    {10, 5, 2, QStringLiteral("https://example.org")},
};

bool isImageType(int type)
{
    return type == ContentItem::ImageType || type == ContentItem::AnimatedImageType;
}

QByteArray digestOf(const char* text)
{
    return QCryptographicHash::hash(QByteArray(text), QCryptographicHash::Sha256);
}

// A content item of the class that belongs to the type, filled with
// everything that class carries.
QSharedPointer<ContentItem> makeFilled(int type, int scene, AccountBase* account)
{
    QSharedPointer<ContentItem> item;
    if (type >= 2 && type <= 6) {
        auto* file = new FileItem(scene, account);
        QSharedPointer<BaseFile> source(new BaseFile(QStringLiteral("src-%1").arg(type),
                                                     QStringLiteral("source-%1.bin").arg(type),
                                                     QStringLiteral("/device/source-%1.bin").arg(type),
                                                     1000 + type));
        source->setMimeType(QStringLiteral("application/x-%1").arg(type));
        source->setSha256(digestOf("source"));
        QSharedPointer<BaseFile> thumb(new BaseFile(QStringLiteral("thumb-%1").arg(type),
                                                    QStringLiteral("thumb-%1.jpg").arg(type),
                                                    QStringLiteral("/device/thumb-%1.jpg").arg(type),
                                                    10 + type));
        thumb->setMimeType(QStringLiteral("image/jpeg"));
        thumb->setSha256(digestOf("thumb"));
        file->setSourceFile(source);
        file->setThumbnailFile(thumb);
        file->setImageSize(640, 480);
        item.reset(file);
    } else if (type == ContentItem::CardType) {
        auto* card = new CardItem(scene, account);
        card->setCard(1001, QStringLiteral("Bob"));
        item.reset(card);
    } else if (type == ContentItem::PollType) {
        auto* poll = new PollItem(scene, account);
        poll->setTitle(QStringLiteral("Lunch where?"));
        poll->setOptions({QStringLiteral("Pizza"), QStringLiteral("Sushi"), QStringLiteral("Tacos")});
        poll->setMultiple(true);
        item.reset(poll);
    } else if (type == ContentItem::LotteryType) {
        auto* lottery = new LotteryItem(scene, account);
        lottery->setTitle(QStringLiteral("Summer draw"));
        lottery->setOptions({QStringLiteral("Bike"), QStringLiteral("Book")});
        lottery->setDrawTime(1717243200000LL);
        item.reset(lottery);
    } else {
        item.reset(new ContentItem(scene, account));
    }
    item->setType(type);
    item->setContent(type == ContentItem::TextType ? QStringLiteral("@bob see https://example.org")
                                                   : QStringLiteral("caption %1").arg(type),
                     kBlocks);
    return item;
}

void compareFile(const QSharedPointer<BaseFile>& got, const QSharedPointer<BaseFile>& want)
{
    QVERIFY(got);
    QVERIFY(want);
    QCOMPARE(got->fileId(), want->fileId());
    QCOMPARE(got->name(), want->name());
    QCOMPARE(got->path(), want->path());
    QCOMPARE(got->size(), want->size());
    QCOMPARE(got->mimeType(), want->mimeType());
    QCOMPARE(got->sha256(), want->sha256());
}

} // namespace

class TestContentItem : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void defaults();
    void setTypeEmitsOnlyOnChange();
    void setContentEmitsOnlyOnChange();
    void typeNameAndIsTextMsg_data();
    void typeNameAndIsTextMsg();
    void baseAppendsNoCacheKeys();
    void serializeWritesTextAndBlocks();
    void readFromSameContentEmitsNothing();

    void deserializeEveryType_data();
    void deserializeEveryType();
    void deserializeWithoutBody_data();
    void deserializeWithoutBody();
    void deserializePassesSceneAndAccount();

    void fieldsText();
    void fieldsFile();
    void fieldsImage();
    void fieldsCard();
    void fieldsPoll();
    void fieldsLottery();
    void fieldsMissingReadAsEmpty_data();
    void fieldsMissingReadAsEmpty();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<AccountBase> m_account;
};

void TestContentItem::initTestCase()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
    m_account.reset(new AccountBase(42, 1, m_dir->path(), ContentCipher::deriveKey("k")));
}

void TestContentItem::cleanupTestCase()
{
    m_account.reset();
    m_dir.reset();
}

void TestContentItem::defaults()
{
    ContentItem item(kScene, m_account.get());
    QCOMPARE(item.scene(), kScene);
    QCOMPARE(item.account(), m_account.get());
    QCOMPARE(item.type(), 0);
    QVERIFY(item.content().isEmpty());
    QVERIFY(item.textBlocks().isEmpty());
    QVERIFY(!item.isTextMsg());
    QCOMPARE(item.typeName(), QStringLiteral("unknown"));
}

void TestContentItem::setTypeEmitsOnlyOnChange()
{
    ContentItem item(0, nullptr);
    QSignalSpy type(&item, &ContentItem::typeChanged);
    QSignalSpy content(&item, &ContentItem::contentChanged);
    item.setType(ContentItem::TextType);
    QCOMPARE(type.count(), 1);
    item.setType(ContentItem::TextType);
    QCOMPARE(type.count(), 1);
    item.setType(ContentItem::PollType);
    QCOMPARE(type.count(), 2);
    QCOMPARE(item.type(), int(ContentItem::PollType));
    item.setType(0);
    QCOMPARE(type.count(), 3);
    QCOMPARE(content.count(), 0);
}

void TestContentItem::setContentEmitsOnlyOnChange()
{
    ContentItem item(0, nullptr);
    QSignalSpy type(&item, &ContentItem::typeChanged);
    QSignalSpy content(&item, &ContentItem::contentChanged);
    item.setContent(QString(), {});
    QCOMPARE(content.count(), 0);
    item.setContent(QStringLiteral("hello"), {});
    QCOMPARE(content.count(), 1);
    item.setContent(QStringLiteral("hello"), {});
    QCOMPARE(content.count(), 1);
    item.setContent(QStringLiteral("hello"), kBlocks);
    QCOMPARE(content.count(), 2);
    QCOMPARE(item.textBlocks(), kBlocks);
    item.setContent(QStringLiteral("hello"), kBlocks);
    QCOMPARE(content.count(), 2);
    UserTextBlocks changed = kBlocks;
    changed[1].value = QStringLiteral("https://example.com");
    item.setContent(QStringLiteral("hello"), changed);
    QCOMPARE(content.count(), 3);
    item.setContent(QStringLiteral("hello!"), changed);
    QCOMPARE(content.count(), 4);
    QCOMPARE(item.content(), QStringLiteral("hello!"));
    QCOMPARE(item.textBlocks(), changed);
    QCOMPARE(type.count(), 0);
}

void TestContentItem::typeNameAndIsTextMsg_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isText");
    QTest::newRow("text") << 1 << "text" << true;
    QTest::newRow("image") << 2 << "image" << false;
    QTest::newRow("voice") << 3 << "voice" << false;
    QTest::newRow("video") << 4 << "video" << false;
    QTest::newRow("gif") << 5 << "gif" << false;
    QTest::newRow("file") << 6 << "file" << false;
    QTest::newRow("card") << 8 << "card" << false;
    QTest::newRow("poll") << 13 << "poll" << false;
    QTest::newRow("lottery") << 14 << "lottery" << false;
    QTest::newRow("99") << 99 << "unknown" << false;
}

void TestContentItem::typeNameAndIsTextMsg()
{
    QFETCH(int, type);
    QFETCH(QString, name);
    QFETCH(bool, isText);
    ContentItem item(0, nullptr);
    item.setType(type);
    QCOMPARE(item.typeName(), name);
    QCOMPARE(item.isTextMsg(), isText);
    QCOMPARE(item.property("typeName").toString(), name);
    QCOMPARE(item.property("isTextMsg").toBool(), isText);
}

void TestContentItem::baseAppendsNoCacheKeys()
{
    ContentItem item(0, nullptr);
    item.setType(ContentItem::TextType);
    item.setContent(QStringLiteral("text"), {});
    QStringList keys{QStringLiteral("already-there")};
    item.appendCacheKeys(keys);
    QCOMPARE(keys, QStringList{QStringLiteral("already-there")});
}

void TestContentItem::serializeWritesTextAndBlocks()
{
    ContentItem item(0, nullptr);
    item.setType(ContentItem::TextType);
    item.setContent(QStringLiteral("Grüße @bob"), kBlocks);
    im::content::Content out;
    // Blocks already in the message are replaced, not appended to.
    out.mutable_text()->add_blocks()->set_value("stale");
    item.serialize(&out);
    QCOMPARE(out.type(), 1);
    QCOMPARE(QString::fromStdString(out.text().text()), QStringLiteral("Grüße @bob"));
    QCOMPARE(out.text().blocks_size(), 2);
    QCOMPARE(out.text().blocks(0).start(), 0);
    QCOMPARE(out.text().blocks(0).length(), 4);
    QCOMPARE(out.text().blocks(0).kind(), 1);
    QCOMPARE(QString::fromStdString(out.text().blocks(0).value()), QStringLiteral("@bob"));
    QCOMPARE(out.text().blocks(1).start(), 10);
    QCOMPARE(QString::fromStdString(out.text().blocks(1).value()),
             QStringLiteral("https://example.org"));
    QCOMPARE(out.body_case(), im::content::Content::BODY_NOT_SET);
    // A null message is ignored.
    item.serialize(nullptr);
}

void TestContentItem::readFromSameContentEmitsNothing()
{
    ContentItem item(0, nullptr);
    im::content::Content in;
    in.set_type(1);
    in.mutable_text()->set_text("same");
    item.readFrom(in);
    QSignalSpy type(&item, &ContentItem::typeChanged);
    QSignalSpy content(&item, &ContentItem::contentChanged);
    item.readFrom(in);
    QCOMPARE(type.count(), 0);
    QCOMPARE(content.count(), 0);
    in.mutable_text()->set_text("different");
    item.readFrom(in);
    QCOMPARE(type.count(), 0);
    QCOMPARE(content.count(), 1);
    QCOMPARE(item.content(), QStringLiteral("different"));
}

void TestContentItem::deserializeEveryType_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("className");
    QTest::newRow("1 text") << 1 << "ContentItem";
    QTest::newRow("2 image") << 2 << "FileItem";
    QTest::newRow("3 voice") << 3 << "FileItem";
    QTest::newRow("4 video") << 4 << "FileItem";
    QTest::newRow("5 animated image") << 5 << "FileItem";
    QTest::newRow("6 file") << 6 << "FileItem";
    QTest::newRow("8 card") << 8 << "CardItem";
    QTest::newRow("13 poll") << 13 << "PollItem";
    QTest::newRow("14 lottery") << 14 << "LotteryItem";
    QTest::newRow("99 unknown") << 99 << "ContentItem";
}

void TestContentItem::deserializeEveryType()
{
    QFETCH(int, type);
    QFETCH(QString, className);

    const QSharedPointer<ContentItem> original = makeFilled(type, kScene, m_account.get());
    QCOMPARE(QString::fromLatin1(original->metaObject()->className()), className);

    im::content::Content message;
    original->serialize(&message);
    // Through the wire, as a synchronised body travels.
    im::content::Content parsed;
    QVERIFY(parsed.ParseFromString(message.SerializeAsString()));

    const QSharedPointer<ContentItem> item = deserializeContent(parsed, kScene + 1, m_account.get());
    QVERIFY(item);
    QCOMPARE(QString::fromLatin1(item->metaObject()->className()), className);
    QCOMPARE(item->type(), type);
    QCOMPARE(item->content(), original->content());
    QCOMPARE(item->textBlocks(), kBlocks);
    QCOMPARE(item->scene(), kScene + 1);
    QCOMPARE(item->account(), m_account.get());

    auto* file = qobject_cast<FileItem*>(item.data());
    auto* card = qobject_cast<CardItem*>(item.data());
    auto* options = qobject_cast<WithOptionsItem*>(item.data());
    auto* poll = qobject_cast<PollItem*>(item.data());
    auto* lottery = qobject_cast<LotteryItem*>(item.data());
    QCOMPARE(file != nullptr, type >= 2 && type <= 6);
    QCOMPARE(card != nullptr, type == 8);
    QCOMPARE(options != nullptr, type == 13 || type == 14);
    QCOMPARE(poll != nullptr, type == 13);
    QCOMPARE(lottery != nullptr, type == 14);

    if (file) {
        auto* want = qobject_cast<FileItem*>(original.data());
        QVERIFY(want);
        QCOMPARE(message.body_case(), isImageType(type) ? im::content::Content::kImage
                                                        : im::content::Content::kFile);
        compareFile(file->sourceFilePtr(), want->sourceFilePtr());
        compareFile(file->thumbnailFilePtr(), want->thumbnailFilePtr());
        QCOMPARE(file->fileName(), want->fileName());
        QCOMPARE(file->fileSize(), want->fileSize());
        QCOMPARE(file->filePath(), want->filePath());
        QCOMPARE(file->thumbnailFile(), want->thumbnailFile());
        // Only an image body carries its dimensions.
        QCOMPARE(file->width(), isImageType(type) ? 640 : 0);
        QCOMPARE(file->height(), isImageType(type) ? 480 : 0);
    }
    if (card) {
        QCOMPARE(message.body_case(), im::content::Content::kCard);
        QCOMPARE(card->userId(), qint64(1001));
        QCOMPARE(card->nick(), QStringLiteral("Bob"));
        QVERIFY(card->user());
        QCOMPARE(card->user()->userId(), qint64(1001));
    }
    if (poll) {
        QCOMPARE(message.body_case(), im::content::Content::kPoll);
        QCOMPARE(poll->title(), QStringLiteral("Lunch where?"));
        QCOMPARE(poll->options(), (QStringList{QStringLiteral("Pizza"), QStringLiteral("Sushi"),
                                               QStringLiteral("Tacos")}));
        QCOMPARE(poll->multiple(), true);
    }
    if (lottery) {
        QCOMPARE(message.body_case(), im::content::Content::kLottery);
        QCOMPARE(lottery->title(), QStringLiteral("Summer draw"));
        QCOMPARE(lottery->options(), (QStringList{QStringLiteral("Bike"), QStringLiteral("Book")}));
        QCOMPARE(lottery->drawTime(), qint64(1717243200000LL));
    }
    if (options) {
        QVERIFY(options->titlePtr());
        QCOMPARE(options->titlePtr()->scene(), kScene + 1);
        QCOMPARE(options->titlePtr()->account(), m_account.get());
        QCOMPARE(options->titlePtr()->type(), int(ContentItem::TextType));
    }
    if (!file && !card && !options)
        QCOMPARE(message.body_case(), im::content::Content::BODY_NOT_SET);

    // Serialising the result again gives the same message.
    im::content::Content again;
    item->serialize(&again);
    QCOMPARE(again.SerializeAsString(), message.SerializeAsString());
}

void TestContentItem::deserializeWithoutBody_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("className");
    QTest::newRow("0") << 0 << "ContentItem";
    QTest::newRow("2 image") << 2 << "FileItem";
    QTest::newRow("6 file") << 6 << "FileItem";
    QTest::newRow("8 card") << 8 << "CardItem";
    QTest::newRow("13 poll") << 13 << "PollItem";
    QTest::newRow("14 lottery") << 14 << "LotteryItem";
}

void TestContentItem::deserializeWithoutBody()
{
    QFETCH(int, type);
    QFETCH(QString, className);
    im::content::Content message;
    message.set_type(type);
    message.mutable_text()->set_text("only a caption");
    const QSharedPointer<ContentItem> item = deserializeContent(message, 3, nullptr);
    QVERIFY(item);
    QCOMPARE(QString::fromLatin1(item->metaObject()->className()), className);
    QCOMPARE(item->type(), type);
    QCOMPARE(item->content(), QStringLiteral("only a caption"));
    QCOMPARE(item->account(), static_cast<AccountBase*>(nullptr));
    if (auto* file = qobject_cast<FileItem*>(item.data())) {
        QVERIFY(!file->sourceFilePtr());
        QVERIFY(!file->thumbnailFilePtr());
        QVERIFY(file->fileName().isEmpty());
        QCOMPARE(file->fileSize(), qint64(0));
    }
    if (auto* card = qobject_cast<CardItem*>(item.data())) {
        QCOMPARE(card->userId(), qint64(0));
        QVERIFY(!card->user());
    }
    if (auto* options = qobject_cast<WithOptionsItem*>(item.data())) {
        QVERIFY(!options->titlePtr());
        QVERIFY(options->title().isEmpty());
        QVERIFY(options->options().isEmpty());
    }
}

void TestContentItem::deserializePassesSceneAndAccount()
{
    QTemporaryDir otherDir;
    QVERIFY(otherDir.isValid());
    AccountBase other(43, 1, otherDir.path(), ContentCipher::deriveKey("k2"));
    im::content::Content message;
    message.set_type(1);
    for (int scene : {0, 1, -5, 1000}) {
        for (AccountBase* account : {m_account.get(), &other, static_cast<AccountBase*>(nullptr)}) {
            const QSharedPointer<ContentItem> item = deserializeContent(message, scene, account);
            QCOMPARE(item->scene(), scene);
            QCOMPARE(item->account(), account);
            const QSharedPointer<ContentItem> viaFields =
                deserializeContent(QMap<QString, QVariant>(), 6, scene, account);
            QCOMPARE(viaFields->scene(), scene);
            QCOMPARE(viaFields->account(), account);
        }
    }
}

void TestContentItem::fieldsText()
{
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("text"), QStringLiteral("plain words"));
    const QSharedPointer<ContentItem> item = deserializeContent(fields, 1, kScene, m_account.get());
    QCOMPARE(QString::fromLatin1(item->metaObject()->className()), QStringLiteral("ContentItem"));
    QCOMPARE(item->type(), 1);
    QCOMPARE(item->content(), QStringLiteral("plain words"));
    QVERIFY(item->textBlocks().isEmpty());
}

void TestContentItem::fieldsFile()
{
    const QByteArray digest = digestOf("report");
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("text"), QStringLiteral("the report"));
    fields.insert(QStringLiteral("fileId"), QStringLiteral("srv-1"));
    fields.insert(QStringLiteral("name"), QStringLiteral("report.pdf"));
    fields.insert(QStringLiteral("path"), QStringLiteral("/docs/report.pdf"));
    fields.insert(QStringLiteral("size"), qint64(5000000000LL));
    fields.insert(QStringLiteral("mimeType"), QStringLiteral("application/pdf"));
    fields.insert(QStringLiteral("sha256"), QString::fromLatin1(digest.toHex()));
    const QSharedPointer<ContentItem> item = deserializeContent(fields, 6, kScene, m_account.get());
    auto* file = qobject_cast<FileItem*>(item.data());
    QVERIFY(file);
    QCOMPARE(file->type(), 6);
    QCOMPARE(file->content(), QStringLiteral("the report"));
    QVERIFY(file->sourceFilePtr());
    QCOMPARE(file->sourceFilePtr()->fileId(), QStringLiteral("srv-1"));
    QCOMPARE(file->fileName(), QStringLiteral("report.pdf"));
    QCOMPARE(file->filePath(), QStringLiteral("/docs/report.pdf"));
    QCOMPARE(file->fileSize(), qint64(5000000000LL));
    QCOMPARE(file->sourceFilePtr()->mimeType(), QStringLiteral("application/pdf"));
    QCOMPARE(file->sourceFilePtr()->sha256(), digest);
    QVERIFY(!file->thumbnailFilePtr());
    QVERIFY(file->thumbnailFile().isEmpty());
    QCOMPARE(file->width(), 0);
    QCOMPARE(file->height(), 0);
}

void TestContentItem::fieldsImage()
{
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("fileId"), QStringLiteral("img-1"));
    fields.insert(QStringLiteral("name"), QStringLiteral("cat.jpg"));
    fields.insert(QStringLiteral("path"), QStringLiteral("/pics/cat.jpg"));
    fields.insert(QStringLiteral("size"), 2048);
    fields.insert(QStringLiteral("width"), 1920);
    fields.insert(QStringLiteral("height"), 1080);
    fields.insert(QStringLiteral("thumbPath"), QStringLiteral("/cache/thumbs/cat_small.jpg"));
    fields.insert(QStringLiteral("thumbFileId"), QStringLiteral("img-1-t"));
    const QSharedPointer<ContentItem> item = deserializeContent(fields, 2, kScene, m_account.get());
    auto* file = qobject_cast<FileItem*>(item.data());
    QVERIFY(file);
    QCOMPARE(file->type(), 2);
    QCOMPARE(file->width(), 1920);
    QCOMPARE(file->height(), 1080);
    QCOMPARE(file->fileName(), QStringLiteral("cat.jpg"));
    QCOMPARE(file->fileSize(), qint64(2048));
    QVERIFY(file->thumbnailFilePtr());
    QCOMPARE(file->thumbnailFile(), QStringLiteral("/cache/thumbs/cat_small.jpg"));
    QCOMPARE(file->thumbnailFilePtr()->fileId(), QStringLiteral("img-1-t"));
    QCOMPARE(file->thumbnailFilePtr()->name(), QStringLiteral("cat_small.jpg"));
    QCOMPARE(file->uploadedFileIds(), (QStringList{QStringLiteral("img-1"), QStringLiteral("img-1-t")}));

    // And the dimensions survive a trip through a message.
    im::content::Content message;
    file->serialize(&message);
    QVERIFY(message.has_image());
    QCOMPARE(message.image().width(), 1920);
    QCOMPARE(message.image().height(), 1080);
    auto back = deserializeContent(message, kScene, m_account.get());
    auto* backFile = qobject_cast<FileItem*>(back.data());
    QVERIFY(backFile);
    QCOMPARE(backFile->width(), 1920);
    QCOMPARE(backFile->height(), 1080);
    QCOMPARE(backFile->thumbnailFile(), QStringLiteral("/cache/thumbs/cat_small.jpg"));
}

void TestContentItem::fieldsCard()
{
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("userId"), qint64(77));
    fields.insert(QStringLiteral("nick"), QStringLiteral("Carol"));
    const QSharedPointer<ContentItem> item = deserializeContent(fields, 8, kScene, m_account.get());
    auto* card = qobject_cast<CardItem*>(item.data());
    QVERIFY(card);
    QCOMPARE(card->type(), 8);
    QCOMPARE(card->userId(), qint64(77));
    QCOMPARE(card->nick(), QStringLiteral("Carol"));
}

void TestContentItem::fieldsPoll()
{
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("title"), QStringLiteral("Which day?"));
    fields.insert(QStringLiteral("options"), QStringList{QStringLiteral("Mon"), QStringLiteral("Tue")});
    fields.insert(QStringLiteral("multiple"), true);
    const QSharedPointer<ContentItem> item = deserializeContent(fields, 13, kScene, m_account.get());
    auto* poll = qobject_cast<PollItem*>(item.data());
    QVERIFY(poll);
    QCOMPARE(poll->type(), 13);
    QCOMPARE(poll->title(), QStringLiteral("Which day?"));
    QCOMPARE(poll->options(), (QStringList{QStringLiteral("Mon"), QStringLiteral("Tue")}));
    QCOMPARE(poll->multiple(), true);
    QVERIFY(poll->titlePtr());
    QCOMPARE(poll->titlePtr()->scene(), kScene);
}

void TestContentItem::fieldsLottery()
{
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("title"), QStringLiteral("Raffle"));
    fields.insert(QStringLiteral("options"), QStringList{QStringLiteral("Car")});
    fields.insert(QStringLiteral("drawTime"), qint64(1735689600000LL));
    const QSharedPointer<ContentItem> item = deserializeContent(fields, 14, kScene, m_account.get());
    auto* lottery = qobject_cast<LotteryItem*>(item.data());
    QVERIFY(lottery);
    QCOMPARE(lottery->type(), 14);
    QCOMPARE(lottery->title(), QStringLiteral("Raffle"));
    QCOMPARE(lottery->options(), QStringList{QStringLiteral("Car")});
    QCOMPARE(lottery->drawTime(), qint64(1735689600000LL));
    QVERIFY(!qobject_cast<PollItem*>(item.data()));
}

void TestContentItem::fieldsMissingReadAsEmpty_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("className");
    QTest::newRow("1 text") << 1 << "ContentItem";
    QTest::newRow("2 image") << 2 << "FileItem";
    QTest::newRow("6 file") << 6 << "FileItem";
    QTest::newRow("8 card") << 8 << "CardItem";
    QTest::newRow("13 poll") << 13 << "PollItem";
    QTest::newRow("14 lottery") << 14 << "LotteryItem";
    QTest::newRow("99 unknown") << 99 << "ContentItem";
}

void TestContentItem::fieldsMissingReadAsEmpty()
{
    QFETCH(int, type);
    QFETCH(QString, className);
    const QSharedPointer<ContentItem> item =
        deserializeContent(QMap<QString, QVariant>(), type, kScene, m_account.get());
    QVERIFY(item);
    QCOMPARE(QString::fromLatin1(item->metaObject()->className()), className);
    QCOMPARE(item->type(), type);
    QVERIFY(item->content().isEmpty());
    if (auto* file = qobject_cast<FileItem*>(item.data())) {
        QVERIFY(file->fileName().isEmpty());
        QVERIFY(file->filePath().isEmpty());
        QCOMPARE(file->fileSize(), qint64(0));
        if (file->sourceFilePtr()) {
            QVERIFY(file->sourceFilePtr()->fileId().isEmpty());
            QVERIFY(file->sourceFilePtr()->sha256().isEmpty());
            QVERIFY(file->sourceFilePtr()->mimeType().isEmpty());
        }
        QVERIFY(!file->thumbnailFilePtr());
        QCOMPARE(file->width(), 0);
        QCOMPARE(file->height(), 0);
        QVERIFY(file->uploadedFileIds().isEmpty());
    }
    if (auto* card = qobject_cast<CardItem*>(item.data())) {
        QCOMPARE(card->userId(), qint64(0));
        QVERIFY(card->nick().isEmpty());
    }
    if (auto* options = qobject_cast<WithOptionsItem*>(item.data())) {
        QVERIFY(options->title().isEmpty());
        QVERIFY(options->options().isEmpty());
    }
    if (auto* poll = qobject_cast<PollItem*>(item.data()))
        QCOMPARE(poll->multiple(), false);
    if (auto* lottery = qobject_cast<LotteryItem*>(item.data()))
        QCOMPARE(lottery->drawTime(), qint64(0));
}

QTEST_GUILESS_MAIN(TestContentItem)
#include "tst_contentitem.moc"
