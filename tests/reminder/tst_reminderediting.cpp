// ReminderHandler: the reminder editor (a new reminder, a reminder quoting a
// chat message, editing an existing one, its text, rule and time), its one
// attachment (attaching, removing, cancelling) and the upload pipeline behind
// it (uploads on the file manager's thread, failures, waiting uploads and
// retries, deleting replaced files on the service). Every upload goes to the
// reference file service; its hold and injected failures make the order of
// events fixed, and every wait is for something that is bound to happen.
#include "editfixture.h"

#include "appsettingmodel.h"
#include "lotteryitem.h"
#include "pollitem.h"
#include "relativemessage.h"
#include "reminderpattern.h"

namespace {

const QString kA = QStringLiteral("7_1");
const QString kB = QStringLiteral("7_2");
constexpr int kWait = 30000;

// The fixture's clock starts at 2031-06-02 12:00 local time; once a test has
// loaded, the editor's clock is half an hour later, so that
// stamps made by an edit differ from anything made while loading.
qint64 editTime()
{
    return at(2031, 6, 2, 12, 30);
}

FileItem* asFile(ContentItem* content)
{
    return qobject_cast<FileItem*>(content);
}

QSharedPointer<ContentItem> textMessage(const QString& text)
{
    QSharedPointer<ContentItem> c(new ContentItem(8, nullptr));
    c->setType(ContentItem::TextType);
    c->setContent(text, {});
    return c;
}

enum MessageKind {
    TextMessage,
    PollMessage,
    LotteryMessage,
    LotteryMarkedAsPoll,
    FileMessage,
};

// A chat message: `title` is the poll's or lottery's title (none when
// null), `text` the text or caption.
QSharedPointer<ContentItem> chatMessage(int kind, const QString& title, const QString& text)
{
    switch (kind) {
    case PollMessage:
    case LotteryMessage:
    case LotteryMarkedAsPoll: {
        QSharedPointer<WithOptionsItem> item;
        if (kind == PollMessage)
            item.reset(new PollItem(8, nullptr));
        else
            item.reset(new LotteryItem(8, nullptr));
        item->setType(kind == LotteryMessage ? ContentItem::LotteryType : ContentItem::PollType);
        item->setContent(text, {});
        if (!title.isNull())
            item->setTitle(title);
        item->setOptions({QStringLiteral("one"), QStringLiteral("two")});
        return item;
    }
    case FileMessage: {
        QSharedPointer<FileItem> file(new FileItem(8, nullptr));
        file->setType(ContentItem::FileType);
        file->setContent(text, {});
        file->setSourceFile(QSharedPointer<BaseFile>(
            new BaseFile(QStringLiteral("ab12"), QStringLiteral("report.pdf"), QStringLiteral("/nowhere/report.pdf"), 10)));
        return file;
    }
    default:
        return textMessage(text);
    }
}

// The stored record read back as a reminder, or null.
ReminderItemPtr stored(EditFixture& e, const QString& id)
{
    return e.f.storedItem(id);
}

bool recordExists(EditFixture& e, const QString& id)
{
    bool found = false;
    e.f.store()->info(id, &found);
    return found;
}

QString rowId(EditFixture& e, int row)
{
    ReminderModel* model = e.f.handler->reminderModel();
    const ReminderItemPtr item = model->data(model->index(row), ReminderModel::ReminderDataRole).value<ReminderItemPtr>();
    return item ? item->remindId() : QString();
}

} // namespace

class TestReminderEditing : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();

    // a new reminder
    void newReminderTakesTheNextIdOfThisDevice_data();
    void newReminderTakesTheNextIdOfThisDevice();
    void newReminderIsStoredListedOnTopAndSentAsText();
    void newReminderBeforeTheListIsStoredAndSentByTheRetry();

    // a reminder quoting a chat message
    void quotingAMessageOpensAnEditWithoutStoring_data();
    void quotingAMessageOpensAnEditWithoutStoring();
    void savingAQuotingReminderStoresAndSendsItWithTheQuote();

    // editing an existing reminder
    void editOpensTheReminderAndMarksItRead();
    void savingAnUnchangedEditSendsNothingAndEndsIt();
    void editingAnUnknownIdDoesNothing();
    void changedTextIsSavedSentAndStamped();
    void changedRepeatRuleStampsThePatternTime();
    void newRemindTimeReschedulesTheReminder();

    // attaching
    void attachingAFolderShowsTheToastAndChangesNothing();
    void attachingAMissingFileChangesNothing();
    void attachingAnImageUploadsItsConvertedCopy_data();
    void attachingAnImageUploadsItsConvertedCopy();
    void uploadForANewReminderOnlySetsAttachmentModify();
    void cancellingANewReminderDropsWhatItsUploadStored();
    void aSoleFailedUploadWaitsInsteadOfRetryingItself();
    void attachingAFileUploadsTheUsersOwnFile();
    void fileTheParserRejectsIsReportedAndCopiesDeleted_data();
    void fileTheParserRejectsIsReportedAndCopiesDeleted();

    // uploads
    void failedUploadWaitsUntilRetried();
    void listFinishedRestartsAWaitingUpload();
    void reuploadWithAnUploadInFlightStartsNothing();
    void uploadWithoutRegisteredFilesStartsNothing();
    void secondAttachmentCancelsTheFirstUploadAndWaits();
    void editingAReminderWhoseUploadWaitsShowsRetry();

    // removing the attachment
    void removingTheAttachmentLeavesTheText();
    void removingTheAttachmentWithoutTextLeavesNoContent();
    void cancelTransferStopsTheDownloadOrTheUpload_data();
    void cancelTransferStopsTheDownloadOrTheUpload();

    // cancelling
    void cancellingANewReminderStoresNothing_data();
    void cancellingANewReminderStoresNothing();
    void cancellingAnEditRestoresTheReplacedAttachment();
    void cancellingAnEditThatWasSentSendsTheRestoredState();

    // saving a replaced attachment
    void savingAReplacedImageDeletesTheOldFilesFirst();
    void savingANewCaptionKeepsTheImageFiles();

    // no open edit
    void editingOperationsWithoutAnEditDoNothing_data();
    void editingOperationsWithoutAnEditDoNothing();

    // the handler going away
    void destroyingTheHandlerMidEditReleasesTheSendItem();
};

void TestReminderEditing::initTestCase()
{
    ReminderHandler::registerMetaType("unused");
    qRegisterMetaType<CancelType>("CancelType");
    AppSettingModel::setTranslationsDirectory(QStringLiteral(REMINDER_TRANSLATIONS_DIR_FOR_TESTS));
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QVERIFY(AppSettingModel::hasTranslator());
}

// ------------------------------------------------------------ a new reminder

void TestReminderEditing::newReminderTakesTheNextIdOfThisDevice_data()
{
    QTest::addColumn<QStringList>("storedIds");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");

    QTest::newRow("nothing stored") << QStringList() << "7_1" << "7_2";
    QTest::newRow("after 7_40") << QStringList{"7_40"} << "7_41" << "7_42";
    QTest::newRow("the highest of this device") << QStringList{"7_40", "7_3", "8_90"} << "7_41" << "7_42";
    // The device number is compared as a bare prefix.
    QTest::newRow("a device number with the same first digit") << QStringList{"7_40", "70_99"} << "7_100"
                                                                << "7_101";
    QTest::newRow("an id without separator") << QStringList{"75"} << "7_76" << "7_77";
}

void TestReminderEditing::newReminderTakesTheNextIdOfThisDevice()
{
    QFETCH(QStringList, storedIds);
    QFETCH(QString, first);
    QFETCH(QString, second);

    EditFixture e;
    for (int i = 0; i < storedIds.size(); ++i)
        e.f.storeItem(HandlerFixture::makeItem(storedIds.at(i), at(2031, 6, 3, 9 + i)));
    e.start();
    const int before = e.f.handler->reminderModel()->count();

    e.f.handler->newReminder(QStringLiteral("first"));
    e.f.handler->newReminder(QStringLiteral("second"));

    QVERIFY(e.live(first));
    QCOMPARE(e.live(first)->text(), QStringLiteral("first"));
    QVERIFY(e.live(second));
    QCOMPARE(e.live(second)->text(), QStringLiteral("second"));
    QCOMPARE(e.f.handler->reminderModel()->count(), before + 2);
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 2);
    QCOMPARE(e.sentId(0), first);
    QCOMPARE(e.sentId(1), second);
}

void TestReminderEditing::newReminderIsStoredListedOnTopAndSentAsText()
{
    EditFixture e;
    ReminderItemPtr older = HandlerFixture::makeItem(QStringLiteral("7_5"), at(2031, 6, 3, 9));
    older->setOrderTime(at(2031, 6, 1, 9));
    e.f.storeItem(older);
    e.start();
    QCOMPARE(rowId(e, 0), QStringLiteral("7_5"));
    e.f.setNow(editTime());

    e.f.handler->newReminder(QStringLiteral("buy milk"));
    const QString id = QStringLiteral("7_6");

    const ReminderItemPtr item = e.live(id);
    QVERIFY(item);
    QCOMPARE(rowId(e, 0), id);
    QCOMPARE(item->text(), QStringLiteral("buy milk"));
    QVERIFY(item->content()->isTextMsg());
    QCOMPARE(item->lastContentTime(), editTime());
    QCOMPARE(item->orderTime(), editTime());
    QVERIFY(e.f.probe->pendingSync().contains(id));

    e.f.settle();
    const ReminderItemPtr record = stored(e, id);
    QVERIFY(record);
    QCOMPARE(record->text(), QStringLiteral("buy milk"));
    QCOMPARE(record->lastContentTime(), editTime());

    QCOMPARE(e.f.sent->count(), 1);
    QCOMPARE(e.sentId(0), id);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(rc.content(0).type(), int(ContentItem::TextType));
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("buy milk"));
    // No edit was opened.
    QVERIFY(!e.f.handler->attachmentItem());
    QCOMPARE(e.contentChanged->count(), 0);
    QCOMPARE(e.attachmentChanged->count(), 0);
}

void TestReminderEditing::newReminderBeforeTheListIsStoredAndSentByTheRetry()
{
    EditFixture e;
    e.start(false);
    e.f.setNow(editTime());

    e.f.handler->newReminder(QStringLiteral("water the plants"));
    e.f.settle();

    const ReminderItemPtr record = stored(e, kA);
    QVERIFY(record);
    QCOMPARE(record->text(), QStringLiteral("water the plants"));
    QVERIFY(record->lastContentTime() > 0);
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY(e.f.probe->pendingSync().contains(kA));

    QMetaObject::invokeMethod(e.f.handler, "onListFinished");
    QCOMPARE(e.f.sent->count(), 0); // the retry is posted
    e.f.settle();

    QCOMPARE(e.f.sent->count(), 1);
    QCOMPARE(e.sentId(0), kA);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("water the plants"));
}

// ------------------------------------------ a reminder quoting a chat message

void TestReminderEditing::quotingAMessageOpensAnEditWithoutStoring_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("text") << int(TextMessage) << QString() << "see you at 5" << "see you at 5";
    QTest::newRow("poll: its title, newlines kept")
        << int(PollMessage) << "Lunch\nwhere?\tand when\r\n" << "the caption" << "Lunch\nwhere?\tand when\r\n";
    QTest::newRow("poll: only the literal ten characters are replaced")
        << int(PollMessage) << QStringLiteral("a/[\n\t\r\b\f]/gb") << QString() << "a b";
    QTest::newRow("lottery: its title") << int(LotteryMessage) << "Prize draw\nFriday" << "caption"
                                        << "Prize draw\nFriday";
    QTest::newRow("poll without title") << int(PollMessage) << QString() << "the caption" << QString();
    QTest::newRow("lottery without title") << int(LotteryMessage) << QString() << "caption" << QString();
    QTest::newRow("poll type that is no poll") << int(LotteryMarkedAsPoll) << "Title" << "caption" << QString();
    QTest::newRow("file: its caption") << int(FileMessage) << QString() << "the report" << "the report";
    QTest::newRow("file without caption") << int(FileMessage) << QString() << QString() << QString();
}

void TestReminderEditing::quotingAMessageOpensAnEditWithoutStoring()
{
    QFETCH(int, kind);
    QFETCH(QString, title);
    QFETCH(QString, text);
    QFETCH(QString, expected);

    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(QStringLiteral("7_3"), at(2031, 6, 3, 9)));
    e.start();
    const int before = e.f.handler->reminderModel()->count();
    const QSharedPointer<ContentItem> message = chatMessage(kind, title, text);

    e.f.handler->reminderMessage(QStringLiteral("dlg-42"), 9001, 314, message);

    QCOMPARE(e.f.handler->content(), expected);
    QCOMPARE(e.f.handler->property("content").toString(), expected);
    QCOMPARE(e.contentChanged->count(), expected.isEmpty() ? 0 : 1);
    QCOMPARE(e.quoteChanged->count(), 1);
    QCOMPARE(e.attachmentChanged->count(), 1);
    QCOMPARE(e.needRetryChanged->count(), 0);
    QCOMPARE(e.attachmentModifyChanged->count(), 0);

    RelativeMessage* quote = e.f.handler->quoteMsgItem();
    QVERIFY(quote);
    QCOMPARE(quote->dialogId(), QStringLiteral("dlg-42"));
    QCOMPARE(quote->messageId(), qint64(9001));
    QCOMPARE(quote->senderId(), qint64(314));
    QCOMPARE(quote->content(), message.data());
    // A new reminder: no body yet.
    QVERIFY(!e.f.handler->attachmentItem());
    QCOMPARE(e.f.handler->reminderPattern()->remindTime(), 0);
    QVERIFY(e.f.handler->reminderPattern()->timeModified());
    QVERIFY(e.f.handler->reminderPattern()->repeatModified());

    e.f.settle();
    QCOMPARE(e.f.handler->reminderModel()->count(), before);
    QVERIFY(!e.live(QStringLiteral("7_4")));
    QVERIFY(!recordExists(e, QStringLiteral("7_4")));
    QCOMPARE(e.f.sent->count(), 0);
}

void TestReminderEditing::savingAQuotingReminderStoresAndSendsItWithTheQuote()
{
    EditFixture e;
    e.start();
    e.f.setNow(editTime());
    const qint64 due = at(2031, 6, 3, 9);

    e.f.handler->reminderMessage(QStringLiteral("dlg-42"), 9001, 314, textMessage(QStringLiteral("see you at 5")));
    e.f.handler->reminderPattern()->setRemindTime(due);
    e.f.handler->syncReminder();

    const ReminderItemPtr item = e.live(kA);
    QVERIFY(item);
    QCOMPARE(rowId(e, 0), kA);
    QCOMPARE(item->text(), QStringLiteral("see you at 5"));
    QCOMPARE(item->remindTime(), due);
    QCOMPARE(item->originalRemindTime(), due);
    QCOMPARE(item->orderTime(), editTime());
    QCOMPARE(item->lastContentTime(), editTime());
    QCOMPARE(item->lastPatternTime(), editTime());
    QVERIFY(item->quoteMsgItem());
    // The edit is over.
    QVERIFY(!e.f.handler->attachmentItem());
    QVERIFY(!e.f.handler->quoteMsgItem());
    QCOMPARE(e.f.handler->content(), QString());

    e.f.settle();
    const ReminderItemPtr record = stored(e, kA);
    QVERIFY(record);
    QCOMPARE(record->text(), QStringLiteral("see you at 5"));
    QCOMPARE(record->remindTime(), due);
    QVERIFY(record->quoteMsgItem());
    QCOMPARE(record->quoteMsgItem()->dialogId(), QStringLiteral("dlg-42"));
    QCOMPARE(record->quoteMsgItem()->messageId(), qint64(9001));

    QCOMPARE(e.f.sent->count(), 1);
    QCOMPARE(e.sentId(0), kA);
    QCOMPARE(qint64(e.f.sentMessage(0).original_remind_time()), due);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("see you at 5"));
    QVERIFY(rc.has_relative());
    QCOMPARE(QString::fromStdString(rc.relative().dialog_id()), QStringLiteral("dlg-42"));
    QCOMPARE(qint64(rc.relative().message_id()), qint64(9001));
    QCOMPARE(rc.relative().content().type(), int(ContentItem::TextType));
    QCOMPARE(QString::fromStdString(rc.relative().content().text().text()), QStringLiteral("see you at 5"));
}

// ------------------------------------------------ editing an existing reminder

void TestReminderEditing::editOpensTheReminderAndMarksItRead()
{
    EditFixture e;
    ReminderItemPtr original = HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob"));
    original->setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg-1"), 55, 66,
                                                  textMessage(QStringLiteral("ring me")), original.data()));
    original->setUnread(true);
    e.f.storeItem(original);
    e.start();

    e.f.handler->editReminder(kA);

    const ReminderItemPtr item = e.live(kA);
    QCOMPARE(e.f.handler->content(), QStringLiteral("call Bob"));
    QCOMPARE(e.f.handler->property("content").toString(), QStringLiteral("call Bob"));
    QCOMPARE(e.contentChanged->count(), 1);
    QCOMPARE(e.quoteChanged->count(), 1);
    QCOMPARE(e.attachmentChanged->count(), 1);
    QCOMPARE(e.needRetryChanged->count(), 0);
    QCOMPARE(e.attachmentModifyChanged->count(), 0);
    QCOMPARE(e.f.handler->attachmentItem(), item->content());
    QCOMPARE(e.f.handler->attachmentItemPtr(), item->contentPtr());
    QVERIFY(e.f.handler->quoteMsgItem());
    QCOMPARE(e.f.handler->quoteMsgItem(), item->quoteMsgItem());
    QCOMPARE(e.f.handler->quoteMsgItem()->dialogId(), QStringLiteral("dlg-1"));
    QVERIFY(!item->unread());
    QCOMPARE(item->lastUnreadTime(), 0);
    QCOMPARE(e.f.handler->reminderPattern()->remindTime(), at(2031, 6, 2, 14));
    // Opening is no change.
    QVERIFY(!e.f.handler->reminderPattern()->timeModified());
    QVERIFY(!e.f.handler->reminderPattern()->repeatModified());
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 0);
}

void TestReminderEditing::savingAnUnchangedEditSendsNothingAndEndsIt()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const storage::ReminderInfo before = e.f.record(kA);

    e.f.handler->editReminder(kA);
    QVERIFY(e.f.handler->attachmentItem());
    e.f.handler->syncReminder();

    QVERIFY(!e.f.handler->attachmentItem());
    QVERIFY(!e.f.handler->quoteMsgItem());
    QCOMPARE(e.f.handler->content(), QString());
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY(!e.f.probe->pendingSync().contains(kA));
    QCOMPARE(e.f.record(kA), before);
}

void TestReminderEditing::editingAnUnknownIdDoesNothing()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();

    e.f.handler->editReminder(QStringLiteral("7_99"));

    QVERIFY(!e.f.handler->attachmentItem());
    QVERIFY(!e.f.handler->quoteMsgItem());
    QCOMPARE(e.f.handler->content(), QString());
    QCOMPARE(e.contentChanged->count(), 0);
    QCOMPARE(e.quoteChanged->count(), 0);
    QCOMPARE(e.attachmentChanged->count(), 0);
    QCOMPARE(e.needRetryChanged->count(), 0);
    QCOMPARE(e.attachmentModifyChanged->count(), 0);
    e.f.handler->syncReminder();
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 0);
}

void TestReminderEditing::changedTextIsSavedSentAndStamped()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    e.f.setNow(editTime());

    e.f.handler->editReminder(kA);
    e.contentChanged->clear();
    e.f.handler->setContent(QStringLiteral("call Bob at five"));
    QCOMPARE(e.contentChanged->count(), 1);
    e.f.handler->setContent(QStringLiteral("call Bob at five"));
    QCOMPARE(e.contentChanged->count(), 1);
    QVERIFY(e.f.handler->reminderPattern()->timeModified());
    e.f.handler->syncReminder();

    const ReminderItemPtr item = e.live(kA);
    QCOMPARE(item->text(), QStringLiteral("call Bob at five"));
    QCOMPARE(item->lastContentTime(), editTime());
    QCOMPARE(item->lastPatternTime(), 0);
    QCOMPARE(item->remindTime(), at(2031, 6, 2, 14));
    QVERIFY(e.f.probe->pendingSync().contains(kA));
    QVERIFY(!e.f.handler->attachmentItem());

    e.f.settle();
    const ReminderItemPtr record = stored(e, kA);
    QCOMPARE(record->text(), QStringLiteral("call Bob at five"));
    QCOMPARE(record->lastContentTime(), editTime());
    QCOMPARE(e.f.sent->count(), 1);
    QCOMPARE(e.sentId(0), kA);
    QCOMPARE(QString::fromStdString(e.sentContent(0).content(0).text().text()), QStringLiteral("call Bob at five"));
}

void TestReminderEditing::changedRepeatRuleStampsThePatternTime()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    e.f.setNow(editTime());

    e.f.handler->editReminder(kA);
    ReminderPattern* pattern = e.f.handler->reminderPattern();
    pattern->setRepeatFlag(ReminderPattern::EveryDay);
    pattern->repeatFinish();
    e.f.handler->syncReminder();

    const ReminderItemPtr item = e.live(kA);
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->unit(), 0);
    QCOMPARE(item->lastPatternTime(), editTime());
    e.f.settle();
    const ReminderItemPtr record = stored(e, kA);
    QCOMPARE(record->interval(), 1);
    QCOMPARE(record->lastPatternTime(), editTime());
    QCOMPARE(e.f.sent->count(), 1);
    QCOMPARE(e.f.sentMessage(0).pattern().interval(), 1);
    QCOMPARE(e.f.sentMessage(0).pattern().unit(), 0);
}

void TestReminderEditing::newRemindTimeReschedulesTheReminder()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    e.f.setNow(editTime());
    e.f.probe->notifiedIdsRef().insert(kA);
    const qint64 moved = at(2031, 6, 4, 10);

    e.f.handler->editReminder(kA);
    e.f.handler->reminderPattern()->setRemindTime(moved);
    e.f.handler->syncReminder();

    const ReminderItemPtr item = e.live(kA);
    QCOMPARE(item->originalRemindTime(), moved);
    QCOMPARE(item->showRemindTime(), moved);
    QCOMPARE(item->remindTime(), moved);
    QVERIFY(!item->reminded());
    // The standing notification is withdrawn.
    QCOMPARE(e.f.withdrawn->count(), 1);
    QCOMPARE(e.f.withdrawn->at(0).at(1).toString(), kA);
    QVERIFY(!e.f.probe->notifiedIds().contains(kA));

    e.f.settle();
    QCOMPARE(e.f.record(kA).remindTime, moved);
    QCOMPARE(e.f.probe->nearest(), moved);
    QCOMPARE(e.f.sent->count(), 1);
    QCOMPARE(qint64(e.f.sentMessage(0).original_remind_time()), moved);
}

// ------------------------------------------------------------------ attaching

void TestReminderEditing::attachingAFolderShowsTheToastAndChangesNothing()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    e.f.handler->editReminder(kA);
    e.clearSpies();
    const QSharedPointer<ContentItem> before = e.f.handler->attachmentItemPtr();
    QSignalSpy toast(AccountManager::getInstance(), &AccountManager::errorReported);
    const QString folder = e.userDir.filePath(QStringLiteral("holiday photos"));
    QVERIFY(QDir().mkpath(folder));

    e.f.handler->addAttachment(folder);

    QCOMPARE(toast.count(), 1);
    QCOMPARE(toast.at(0).at(0).toInt(), 0);
    QCOMPARE(toast.at(0).at(1).toString(), QStringLiteral("Folders can't be attached to a reminder."));
    QCOMPARE(toast.at(0).at(2).toInt(), 0);
    QCOMPARE(e.f.handler->attachmentItem(), before.data());
    QVERIFY(e.f.handler->attachmentItem()->isTextMsg());
    QVERIFY(!e.f.handler->attachmentModify());
    QVERIFY(!e.f.handler->reminderPattern()->timeModified());
    QCOMPARE(e.attachmentChanged->count(), 0);
    QCOMPARE(e.attachmentModifyChanged->count(), 0);
    QCOMPARE(e.service->uploadAttempts(), 0);
    QVERIFY(QFileInfo(folder).isDir());
}

void TestReminderEditing::attachingAMissingFileChangesNothing()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    e.f.handler->editReminder(kA);
    e.clearSpies();
    const QSharedPointer<ContentItem> before = e.f.handler->attachmentItemPtr();
    QSignalSpy toast(AccountManager::getInstance(), &AccountManager::errorReported);
    QSignalSpy mediaError(MediaSenderModel::getInstance(), &MediaSenderModel::errorNotified);

    e.f.handler->addAttachment(e.userDir.filePath(QStringLiteral("not there.txt")));

    QCOMPARE(toast.count(), 0);
    QCOMPARE(mediaError.count(), 0);
    QCOMPARE(e.f.handler->attachmentItem(), before.data());
    QCOMPARE(e.f.handler->attachmentItem()->content(), QStringLiteral("call Bob"));
    QVERIFY(!e.f.handler->attachmentModify());
    QCOMPARE(e.attachmentChanged->count(), 0);
    QCOMPARE(e.attachmentModifyChanged->count(), 0);
    QCOMPARE(e.service->uploadAttempts(), 0);
    QVERIFY(uploadingIds(e.f.handler).isEmpty());
    QVERIFY(e.cacheFiles().isEmpty());
}

void TestReminderEditing::attachingAnImageUploadsItsConvertedCopy_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<int>("pixels");

    QTest::newRow("png") << "photo.png" << QByteArray("PNG") << int(QImage::Format_RGB32);
    QTest::newRow("jpeg") << "photo.jpg" << QByteArray("JPEG") << int(QImage::Format_RGB32);
    QTest::newRow("png with alpha") << "sticker.png" << QByteArray("PNG") << int(QImage::Format_ARGB32);
}

void TestReminderEditing::attachingAnImageUploadsItsConvertedCopy()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, format);
    QFETCH(int, pixels);

    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    e.f.setNow(editTime());
    const QString photo = e.userImage(name, QColor(200, 40, 40, 180), format.constData(), QImage::Format(pixels));
    QVERIFY(!photo.isEmpty());
    e.f.handler->editReminder(kA);
    e.clearSpies();
    e.service->holdUploads(true);

    e.f.handler->addAttachment(photo);

    QCOMPARE(e.attachmentChanged->count(), 1);
    QCOMPARE(e.attachmentModifyChanged->count(), 1);
    QVERIFY(e.f.handler->attachmentModify());
    QCOMPARE(e.needRetryChanged->count(), 0);
    FileItem* file = asFile(e.f.handler->attachmentItem());
    QVERIFY(file);
    QCOMPARE(static_cast<ContentItem*>(file), e.live(kA)->content());
    QCOMPARE(file->type(), int(ContentItem::ImageType));
    // An existing reminder keeps its text as the caption.
    QCOMPARE(file->content(), QStringLiteral("call Bob"));
    const QSharedPointer<BaseFile> source = file->sourceFilePtr();
    QVERIFY(source);
    const QString cache = QDir(e.f.account->cacheDirectory()).absolutePath();
    QVERIFY2(source->path().startsWith(cache + QLatin1Char('/')), qPrintable(source->path()));
    QVERIFY(source->path() != photo);
    QCOMPARE(QImage(source->path()).size(), EditFixture::imageSize());
    QVERIFY(file->validThumbFile());
    const QSharedPointer<BaseFile> thumb = file->thumbnailFilePtr();
    const QByteArray sourceBytes = fileBytes(source->path());
    const QByteArray thumbBytes = fileBytes(thumb->path());
    QCOMPARE(source->fileId(), sha256Hex(sourceBytes));
    QCOMPARE(thumb->fileId(), sha256Hex(thumbBytes));
    QVERIFY(thumb->fileId() != source->fileId());
    QVERIFY(e.files->isUploadRegistered(source->fileId()));
    QVERIFY(e.files->isUploadRegistered(thumb->fileId()));
    const QSharedPointer<FileData> sourceRecord = e.files->fileDataMgr()->fileInfo(source->fileId());
    QVERIFY(sourceRecord);
    QCOMPARE(sourceRecord->path, source->path());
    QCOMPARE(sourceRecord->size, qint64(sourceBytes.size()));
    QVERIFY(!sourceRecord->thumb);
    const QSharedPointer<FileData> thumbRecord = e.files->fileDataMgr()->fileInfo(thumb->fileId());
    QVERIFY(thumbRecord);
    QCOMPARE(thumbRecord->path, thumb->path());
    QVERIFY(thumbRecord->thumb);

    // The upload started at once; nothing is sent while it runs.
    QVERIFY(e.service->waitForHeld(1, kWait));
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kA});
    QVERIFY(!e.service->contains(source->fileId()));
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 0);

    // Each of the two files is held on its own: stop holding altogether.
    e.service->holdUploads(false);
    QTRY_COMPARE_WITH_TIMEOUT(e.f.sent->count(), 1, kWait);

    QCOMPARE(e.service->read(source->fileId()), sourceBytes);
    QCOMPARE(e.service->read(thumb->fileId()), thumbBytes);
    QVERIFY(!e.files->isUploadRegistered(source->fileId()));
    QVERIFY(uploadingIds(e.f.handler).isEmpty());
    QVERIFY(failedIds(e.f.handler).isEmpty());
    const ReminderItemPtr item = e.live(kA);
    QCOMPARE(item->lastCompletedTime(), editTime());
    QVERIFY(e.f.probe->pendingSync().contains(kA));
    QCOMPARE(e.sentId(0), kA);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(rc.content(0).type(), int(ContentItem::ImageType));
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("call Bob"));
    QCOMPARE(QString::fromStdString(rc.content(0).image().source().file_id()), source->fileId());
    QCOMPARE(QString::fromStdString(rc.content(0).image().thumbnail().file_id()), thumb->fileId());
    // The upload's file ids were stored with the reminder.
    e.f.settle();
    const ReminderItemPtr record = stored(e, kA);
    QVERIFY(asFile(record->content()));
    QCOMPARE(asFile(record->content())->sourceFilePtr()->fileId(), source->fileId());
    QCOMPARE(e.attachmentModifyChanged->count(), 1);
    QCOMPARE(e.needRetryChanged->count(), 0);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::uploadForANewReminderOnlySetsAttachmentModify()
{
    EditFixture e;
    e.start();
    e.f.setNow(editTime());
    const QString photo = e.userImage(QStringLiteral("cat.png"), QColor(10, 120, 200), "PNG");
    e.f.handler->reminderMessage(QStringLiteral("dlg-7"), 17, 4, textMessage(QStringLiteral("feed the cat")));
    e.clearSpies();
    e.service->holdUploads(true);

    e.f.handler->addAttachment(photo);

    const QSharedPointer<ContentItem> attached = e.f.handler->attachmentItemPtr();
    FileItem* file = asFile(attached.data());
    QVERIFY(file);
    // The caption of a new reminder is applied when it is saved.
    QCOMPARE(file->content(), QString());
    const QString sourceId = file->sourceFilePtr()->fileId();
    QVERIFY(e.service->waitForHeld(1, kWait));
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kA});
    e.f.handler->setAttachmentModify(false);
    e.attachmentModifyChanged->clear();

    e.service->holdUploads(false);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);

    QVERIFY(e.service->contains(sourceId));
    const int attempts = e.service->uploadAttempts();
    QVERIFY(e.f.handler->attachmentModify());
    QCOMPARE(e.attachmentModifyChanged->count(), 1);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY(!e.live(kA));
    QCOMPARE(asFile(e.f.handler->attachmentItem()), file);

    // Saving sends it whole: the upload is done, so nothing is left out.
    e.f.handler->reminderPattern()->setRemindTime(at(2031, 6, 3, 9));
    e.f.handler->syncReminder();
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 1);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content(0).type(), int(ContentItem::ImageType));
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("feed the cat"));
    QCOMPARE(QString::fromStdString(rc.content(0).image().source().file_id()), sourceId);
    QCOMPARE(e.service->uploadAttempts(), attempts);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::cancellingANewReminderDropsWhatItsUploadStored()
{
    EditFixture e;
    e.start();
    e.f.setNow(editTime());
    const QString photo = e.userImage(QStringLiteral("dog.png"), QColor(200, 120, 10), "PNG");
    e.f.handler->reminderMessage(QStringLiteral("dlg-7"), 17, 4, textMessage(QStringLiteral("walk the dog")));
    e.f.handler->addAttachment(photo);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    e.f.settle();
    // The upload stored the reminder with its file ids before any save.
    QCOMPARE(e.f.record(kA).id, kA);
    QVERIFY(!e.live(kA));

    e.f.handler->cancel();
    e.f.settle();

    QCOMPARE(e.f.record(kA).id, QString());
    QVERIFY(!e.live(kA));
    QVERIFY(!e.f.probe->pendingSync().contains(kA));
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::aSoleFailedUploadWaitsInsteadOfRetryingItself()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QString notes = e.userFile(QStringLiteral("agenda.txt"), QByteArrayLiteral("one\ntwo\n"));
    e.f.handler->editReminder(kA);
    e.clearSpies();
    e.service->failNextUploads(1);

    e.f.handler->addAttachment(notes);
    const QString sourceId = asFile(e.f.handler->attachmentItem())->sourceFilePtr()->fileId();
    QTRY_VERIFY_WITH_TIMEOUT(failedIds(e.f.handler).contains(kA), kWait);
    e.f.settle();

    // Nothing else waits, and the failed one is not started again by its
    // own failure: it waits for a retry.
    QCOMPARE(failedIds(e.f.handler), QStringList{kA});
    QVERIFY(uploadingIds(e.f.handler).isEmpty());
    QCOMPARE(e.service->uploadAttempts(), 1);
    QVERIFY(!e.service->contains(sourceId));
    QVERIFY(e.f.handler->needRetry());
    QCOMPARE(e.needRetryChanged->count(), 1);

    e.f.handler->retryUpload(kA);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QVERIFY(e.service->contains(sourceId));
    QCOMPARE(e.service->uploadAttempts(), 2);
    QVERIFY(!e.f.handler->needRetry());
}

void TestReminderEditing::attachingAFileUploadsTheUsersOwnFile()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QByteArray bytes = QByteArrayLiteral("minutes of the meeting\nitem one\nitem two\n");
    const QString notes = e.userFile(QStringLiteral("notes.txt"), bytes);
    e.f.handler->editReminder(kA);
    e.clearSpies();

    e.f.handler->addAttachment(notes);

    FileItem* file = asFile(e.f.handler->attachmentItem());
    QVERIFY(file);
    QCOMPARE(file->type(), int(ContentItem::FileType));
    QCOMPARE(file->sourceFilePtr()->path(), QFileInfo(notes).absoluteFilePath());
    QCOMPARE(file->sourceFilePtr()->fileId(), sha256Hex(bytes));
    QCOMPARE(file->content(), QStringLiteral("call Bob"));
    QVERIFY(!file->validThumbFile());
    QVERIFY(e.files->fileDataMgr()->fileInfo(sha256Hex(bytes)));
    QCOMPARE(e.attachmentChanged->count(), 1);
    QCOMPARE(e.attachmentModifyChanged->count(), 1);

    QTRY_COMPARE_WITH_TIMEOUT(e.f.sent->count(), 1, kWait);
    QCOMPARE(e.service->read(sha256Hex(bytes)), bytes);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content(0).type(), int(ContentItem::FileType));
    QCOMPARE(QString::fromStdString(rc.content(0).file().source().file_id()), sha256Hex(bytes));
    QCOMPARE(QString::fromStdString(rc.content(0).file().source().name()), QStringLiteral("notes.txt"));

    // Saving keeps the user's file: only the send item goes.
    e.f.handler->syncReminder();
    e.f.settle();
    QVERIFY(e.cacheFiles().isEmpty());
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::fileTheParserRejectsIsReportedAndCopiesDeleted_data()
{
    QTest::addColumn<bool>("tooLarge");
    QTest::addColumn<int>("code");

    QTest::newRow("empty file") << false << int(FileUtil::ErrorEmptyFile);
    QTest::newRow("larger than the limit") << true << int(FileUtil::ErrorTooLarge);
}

void TestReminderEditing::fileTheParserRejectsIsReportedAndCopiesDeleted()
{
    QFETCH(bool, tooLarge);
    QFETCH(int, code);

    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QString photo = e.userImage(QStringLiteral("first.png"), QColor(0, 160, 60), "PNG");
    QString rejected;
    if (tooLarge) {
        // Sparse: the size is checked before a byte is read.
        rejected = e.userDir.filePath(QStringLiteral("huge.bin"));
        QFile huge(rejected);
        QVERIFY(huge.open(QIODevice::WriteOnly));
        QVERIFY(huge.resize(FileUtil::kMaxFileSize + 1));
        huge.close();
    } else {
        rejected = e.userFile(QStringLiteral("empty.txt"), QByteArray());
    }
    e.f.handler->editReminder(kA);
    e.service->holdUploads(true);
    e.f.handler->addAttachment(photo);
    QVERIFY(e.service->waitForHeld(1, kWait));
    FileItem* first = asFile(e.f.handler->attachmentItem());
    QVERIFY(first);
    const QString copy = first->sourceFilePtr()->path();
    const QString thumb = first->thumbnailFile();
    QVERIFY(QFileInfo::exists(copy));
    QVERIFY(QFileInfo::exists(thumb));
    e.clearSpies();
    QSignalSpy mediaError(MediaSenderModel::getInstance(), &MediaSenderModel::errorNotified);

    e.f.handler->addAttachment(rejected);

    QCOMPARE(mediaError.count(), 1);
    QCOMPARE(mediaError.at(0).at(0).toInt(), code);
    // The earlier attachment was removed first; the text stays.
    ContentItem* content = e.f.handler->attachmentItem();
    QVERIFY(content);
    QVERIFY(content->isTextMsg());
    QCOMPARE(content->content(), QStringLiteral("call Bob"));
    QCOMPARE(e.attachmentChanged->count(), 1);
    QVERIFY(!QFileInfo::exists(copy));
    QVERIFY(!QFileInfo::exists(thumb));
    QVERIFY2(e.cacheFiles().isEmpty(), qPrintable(e.cacheFiles().join(QLatin1Char(' '))));

    // The held upload of the first file was cancelled.
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QCOMPARE(e.service->count(), 0);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QCOMPARE(e.service->uploadAttempts(), 1);
    QVERIFY(QFileInfo::exists(rejected));
    QCOMPARE(QFileInfo(rejected).size(), tooLarge ? FileUtil::kMaxFileSize + 1 : 0);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

// -------------------------------------------------------------------- uploads

void TestReminderEditing::failedUploadWaitsUntilRetried()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    // B was attached in an earlier session and its file never went up.
    const QString notes = e.userFile(QStringLiteral("b.txt"), QByteArrayLiteral("b's attachment"));
    const QSharedPointer<ContentItem> bFile = e.prepared(notes, QStringLiteral("for B"));
    QVERIFY(bFile);
    ReminderItemPtr b = HandlerFixture::makeItem(kB, at(2031, 6, 2, 15), QString());
    b->setContent(bFile, false);
    e.f.storeItem(b);
    e.files->addUploadId(asFile(bFile.data())->sourceFilePtr()->fileId());
    e.start(false);
    QCOMPARE(failedIds(e.f.handler), QStringList{kB});
    const QString photo = e.userImage(QStringLiteral("a.png"), QColor(90, 90, 10), "PNG");

    e.f.handler->editReminder(kA);
    e.service->holdUploads(true);
    e.f.handler->addAttachment(photo);
    QVERIFY(e.service->waitForHeld(1, kWait));
    const QString aSource = asFile(e.f.handler->attachmentItem())->sourceFilePtr()->fileId();
    e.f.handler->retryUpload(kB); // queued behind A's
    QCOMPARE(uploadingIds(e.f.handler), (QStringList{kA, kB}));
    QCOMPARE(e.needRetryChanged->count(), 0);

    // A's first file fails, which ends A's upload.
    e.service->failNextUploads(1);
    e.service->releaseHeld();
    QTRY_VERIFY_WITH_TIMEOUT(failedIds(e.f.handler).contains(kA), kWait);

    // A waits while B's upload is under way.
    QVERIFY(e.service->waitForHeld(1, kWait));
    QCOMPARE(failedIds(e.f.handler), QStringList{kA});
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kB});
    QVERIFY(e.f.handler->needRetry());
    QCOMPARE(e.needRetryChanged->count(), 1);
    QVERIFY(!e.service->contains(aSource));
    QVERIFY(e.files->isUploadRegistered(aSource));

    e.f.handler->retryUpload(kA);
    QVERIFY(!e.f.handler->needRetry());
    QCOMPARE(e.needRetryChanged->count(), 2);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QCOMPARE(uploadingIds(e.f.handler), (QStringList{kA, kB}));
    // A second retry of a reminder that no longer waits does nothing.
    e.f.handler->retryUpload(kA);
    QCOMPARE(uploadingIds(e.f.handler), (QStringList{kA, kB}));

    QMetaObject::invokeMethod(e.f.handler, "onListFinished");
    e.service->holdUploads(false);
    QTRY_VERIFY_WITH_TIMEOUT(e.lastSentFor(kA) >= 0 && e.lastSentFor(kB) >= 0, kWait);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);

    QVERIFY(e.service->contains(aSource));
    // A's thumbnail, B's file, then A's thumbnail and image.
    QCOMPARE(e.service->uploadAttempts(), 4);
    QCOMPARE(e.sentCountFor(kA), 1);
    const im::content::ReminderContent rc = e.sentContent(e.lastSentFor(kA));
    QCOMPARE(QString::fromStdString(rc.content(0).image().source().file_id()), aSource);
    QCOMPARE(e.needRetryChanged->count(), 2);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::listFinishedRestartsAWaitingUpload()
{
    EditFixture e;
    const QByteArray bytes = QByteArrayLiteral("shopping list: eggs, flour");
    const QString list = e.userFile(QStringLiteral("list.txt"), bytes);
    const QSharedPointer<ContentItem> content = e.prepared(list, QStringLiteral("groceries"));
    QVERIFY(content);
    ReminderItemPtr b = HandlerFixture::makeItem(kB, at(2031, 6, 2, 15), QString());
    b->setContent(content, false);
    b->setLastContentTime(at(2031, 6, 1, 8));
    e.f.storeItem(b);
    e.files->addUploadId(sha256Hex(bytes));
    e.start(false);
    e.f.setNow(editTime());
    QCOMPARE(failedIds(e.f.handler), QStringList{kB});
    QVERIFY(e.f.probe->pendingSync().contains(kB));
    QCOMPARE(e.service->uploadAttempts(), 0);
    e.service->holdUploads(true);

    QMetaObject::invokeMethod(e.f.handler, "onListFinished");
    e.f.settle();

    // The retry of unsent changes leaves the waiting upload to the upload.
    QVERIFY(e.service->waitForHeld(1, kWait));
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kB});

    e.service->releaseHeld();
    QTRY_COMPARE_WITH_TIMEOUT(e.f.sent->count(), 1, kWait);
    QCOMPARE(e.sentId(0), kB);
    QCOMPARE(e.service->read(sha256Hex(bytes)), bytes);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content(0).type(), int(ContentItem::FileType));
    QCOMPARE(QString::fromStdString(rc.content(0).file().source().file_id()), sha256Hex(bytes));
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("groceries"));
    QCOMPARE(e.live(kB)->lastCompletedTime(), editTime());
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::reuploadWithAnUploadInFlightStartsNothing()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    const QByteArray bytes = QByteArrayLiteral("b's file");
    const QSharedPointer<ContentItem> content = e.prepared(e.userFile(QStringLiteral("b.txt"), bytes), QString());
    QVERIFY(content);
    ReminderItemPtr b = HandlerFixture::makeItem(kB, at(2031, 6, 2, 15), QString());
    b->setContent(content, false);
    e.f.storeItem(b);
    e.files->addUploadId(sha256Hex(bytes));
    e.start(false);
    QCOMPARE(failedIds(e.f.handler), QStringList{kB});
    const QString photo = e.userImage(QStringLiteral("a.png"), QColor(1, 2, 250), "PNG");
    e.f.handler->editReminder(kA);
    e.service->holdUploads(true);
    e.f.handler->addAttachment(photo);
    QVERIFY(e.service->waitForHeld(1, kWait));

    callReuploadFailed(e.f.handler);

    QCOMPARE(failedIds(e.f.handler), QStringList{kB});
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kA});
    QCOMPARE(e.files->activeUploadCount(), 1);

    e.service->holdUploads(false);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QCOMPARE(e.service->uploadAttempts(), 2); // A's thumbnail and image
    QCOMPARE(failedIds(e.f.handler), QStringList{kB});
    QVERIFY(!e.service->contains(sha256Hex(bytes)));

    // With nothing in flight the waiting one goes.
    callReuploadFailed(e.f.handler);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kB});
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QCOMPARE(e.service->read(sha256Hex(bytes)), bytes);
    QCOMPARE(e.service->uploadAttempts(), 3);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::uploadWithoutRegisteredFilesStartsNothing()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    const QByteArray bytes = QByteArrayLiteral("already uploaded long ago");
    const QSharedPointer<ContentItem> content = e.prepared(e.userFile(QStringLiteral("old.txt"), bytes), QString());
    QVERIFY(content);
    ReminderItemPtr b = HandlerFixture::makeItem(kB, at(2031, 6, 2, 15), QString());
    b->setContent(content, false);
    e.f.storeItem(b);
    e.start();
    QVERIFY(failedIds(e.f.handler).isEmpty());

    QVERIFY(!callUploadFile(e.f.handler, e.live(kB)));
    QVERIFY(!callUploadFile(e.f.handler, e.live(kA)));

    QVERIFY(uploadingIds(e.f.handler).isEmpty());
    QCOMPARE(e.files->activeUploadCount(), 0);
    e.f.settle();
    QCOMPARE(e.service->uploadAttempts(), 0);
    QCOMPARE(e.f.sent->count(), 0);

    // Registered again, the same reminder does upload.
    e.files->addUploadId(sha256Hex(bytes));
    QVERIFY(callUploadFile(e.f.handler, e.live(kB)));
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kB});
    QTRY_COMPARE_WITH_TIMEOUT(e.f.sent->count(), 1, kWait);
    QCOMPARE(e.service->uploadAttempts(), 1);
    QCOMPARE(e.service->read(sha256Hex(bytes)), bytes);
}

void TestReminderEditing::secondAttachmentCancelsTheFirstUploadAndWaits()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QString photo = e.userImage(QStringLiteral("first.jpg"), QColor(250, 250, 0), "JPEG");
    const QByteArray bytes = QByteArrayLiteral("the second choice");
    const QString notes = e.userFile(QStringLiteral("second.txt"), bytes);
    e.f.handler->editReminder(kA);
    e.service->holdUploads(true);
    e.f.handler->addAttachment(photo);
    QVERIFY(e.service->waitForHeld(1, kWait));
    FileItem* first = asFile(e.f.handler->attachmentItem());
    const QString firstId = first->sourceFilePtr()->fileId();
    const QString firstCopy = first->sourceFilePtr()->path();
    e.clearSpies();

    e.f.handler->addAttachment(notes);

    // One change for the removed image, one for the new file.
    QCOMPARE(e.attachmentChanged->count(), 2);
    QCOMPARE(asFile(e.f.handler->attachmentItem())->sourceFilePtr()->fileId(), sha256Hex(bytes));
    QCOMPARE(failedIds(e.f.handler), QStringList{kA});
    // The cancelled upload ends without storing anything; the new one waits.
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QCOMPARE(failedIds(e.f.handler), QStringList{kA});
    QCOMPARE(e.files->activeUploadCount(), 0);
    QCOMPARE(e.service->uploadAttempts(), 1);
    QCOMPARE(e.service->count(), 0);
    QVERIFY(!QFileInfo::exists(firstCopy));
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY(e.files->isUploadRegistered(firstId));

    callReuploadFailed(e.f.handler);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kA});
    QVERIFY(e.service->waitForHeld(1, kWait));
    e.service->releaseHeld();
    QTRY_COMPARE_WITH_TIMEOUT(e.f.sent->count(), 1, kWait);
    QCOMPARE(e.service->read(sha256Hex(bytes)), bytes);
    QVERIFY(!e.service->contains(firstId));
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content(0).type(), int(ContentItem::FileType));
    QCOMPARE(QString::fromStdString(rc.content(0).file().source().file_id()), sha256Hex(bytes));
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}


void TestReminderEditing::editingAReminderWhoseUploadWaitsShowsRetry()
{
    EditFixture e;
    const QByteArray bytes = QByteArrayLiteral("b's pending attachment");
    const QSharedPointer<ContentItem> content = e.prepared(e.userFile(QStringLiteral("b.txt"), bytes), QStringLiteral("for B"));
    QVERIFY(content);
    ReminderItemPtr b = HandlerFixture::makeItem(kB, at(2031, 6, 2, 15), QString());
    b->setContent(content, false);
    e.f.storeItem(b);
    e.files->addUploadId(sha256Hex(bytes));
    e.start(false);
    QCOMPARE(failedIds(e.f.handler), QStringList{kB});
    QVERIFY(!e.f.handler->needRetry());

    e.f.handler->editReminder(kB);

    QVERIFY(e.f.handler->needRetry());
    QCOMPARE(e.needRetryChanged->count(), 1);
    QCOMPARE(e.f.handler->property("needRetry").toBool(), true);
    const QSharedPointer<ContentItem> file = e.f.handler->attachmentItemPtr();
    QVERIFY(asFile(file.data()));
    QCOMPARE(e.f.handler->content(), QStringLiteral("for B"));

    e.f.handler->retryUpload(kB);
    QVERIFY(!e.f.handler->needRetry());
    QCOMPARE(e.needRetryChanged->count(), 2);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QCOMPARE(e.service->read(sha256Hex(bytes)), bytes);

    // Nothing was changed in the edit: cancelling keeps the attachment.
    e.f.handler->cancel();
    QCOMPARE(e.live(kB)->content(), file.data());
    QVERIFY(!e.f.handler->attachmentItem());
    QCOMPARE(e.needRetryChanged->count(), 2);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

// ------------------------------------------------------ removing the attachment

void TestReminderEditing::removingTheAttachmentLeavesTheText()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QString photo = e.userImage(QStringLiteral("p.png"), QColor(33, 66, 99), "PNG");
    e.f.handler->editReminder(kA);
    e.service->holdUploads(true);
    e.f.handler->addAttachment(photo);
    QVERIFY(e.service->waitForHeld(1, kWait));
    FileItem* file = asFile(e.f.handler->attachmentItem());
    const QString copy = file->sourceFilePtr()->path();
    const QString thumb = file->thumbnailFile();
    e.clearSpies();

    e.f.handler->removeAttachment();

    ContentItem* content = e.f.handler->attachmentItem();
    QVERIFY(content);
    QVERIFY(content->isTextMsg());
    QCOMPARE(content->content(), QStringLiteral("call Bob"));
    QCOMPARE(e.live(kA)->text(), QStringLiteral("call Bob"));
    QCOMPARE(e.attachmentChanged->count(), 1);
    QVERIFY(e.f.handler->reminderPattern()->timeModified());
    QVERIFY(!QFileInfo::exists(copy));
    QVERIFY(!QFileInfo::exists(thumb));
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QCOMPARE(e.service->count(), 0);

    // Saved: the text goes out.
    e.f.handler->syncReminder();
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 1);
    QCOMPARE(e.sentContent(0).content(0).type(), int(ContentItem::TextType));
    QCOMPARE(QString::fromStdString(e.sentContent(0).content(0).text().text()), QStringLiteral("call Bob"));
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::removingTheAttachmentWithoutTextLeavesNoContent()
{
    EditFixture e;
    e.start();
    const QString photo = e.userImage(QStringLiteral("q.png"), QColor(120, 0, 120), "PNG");
    e.f.handler->reminderMessage(QStringLiteral("dlg-9"), 3, 4, chatMessage(PollMessage, QString(), QString()));
    QCOMPARE(e.f.handler->content(), QString());
    e.service->holdUploads(true);
    e.f.handler->addAttachment(photo);
    QVERIFY(e.service->waitForHeld(1, kWait));
    QVERIFY(asFile(e.f.handler->attachmentItem()));
    e.clearSpies();

    e.f.handler->removeAttachment();

    QVERIFY(!e.f.handler->attachmentItem());
    QVERIFY(!e.f.handler->attachmentItemPtr());
    QCOMPARE(e.attachmentChanged->count(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);

    // Cancelling the edit of that empty new reminder deletes it.
    e.f.handler->cancel();
    e.f.settle();
    QCOMPARE(e.f.deleted->count(), 1);
    QCOMPARE(e.f.deleted->at(0).at(0).toStringList(), QStringList{kA});
    QVERIFY(!recordExists(e, kA));
    QVERIFY(!e.live(kA));
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY(!e.f.handler->quoteMsgItem());
    QCOMPARE(e.service->count(), 0);
    QVERIFY(e.cacheFiles().isEmpty());
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}


void TestReminderEditing::cancelTransferStopsTheDownloadOrTheUpload_data()
{
    QTest::addColumn<bool>("uploading");

    QTest::newRow("a stored attachment: its download") << false;
    QTest::newRow("an attachment going up: its upload") << true;
}

void TestReminderEditing::cancelTransferStopsTheDownloadOrTheUpload()
{
    QFETCH(bool, uploading);

    EditFixture e;
    // A's image went up in an earlier session; nothing is registered.
    const QSharedPointer<ContentItem> stored =
        e.prepared(e.userImage(QStringLiteral("kept.png"), QColor(20, 40, 60), "PNG"), QStringLiteral("call Bob"));
    QVERIFY(stored);
    const QString storedCopy = asFile(stored.data())->sourceFilePtr()->path();
    ReminderItemPtr a = HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QString());
    a->setContent(stored, false);
    e.f.storeItem(a);
    e.start();
    e.f.handler->editReminder(kA);
    if (uploading) {
        e.service->holdUploads(true);
        e.f.handler->addAttachment(e.userFile(QStringLiteral("up.txt"), QByteArrayLiteral("going up")));
        QVERIFY(e.service->waitForHeld(1, kWait));
        QCOMPARE(uploadingIds(e.f.handler), QStringList{kA});
    }
    FileItem* file = asFile(e.f.handler->attachmentItem());
    QVERIFY(file);
    QSignalSpy download(file, &FileItem::downloadCancelled);
    e.clearSpies();

    e.f.handler->cancelTransfer();

    QCOMPARE(download.count(), uploading ? 0 : 1);
    if (!uploading)
        QCOMPARE(download.at(0).at(0).value<CancelType>(), CancelByUser);
    // Either way the attachment is removed; the text stays.
    ContentItem* content = e.f.handler->attachmentItem();
    QVERIFY(content);
    QVERIFY(content->isTextMsg());
    QCOMPARE(content->content(), QStringLiteral("call Bob"));
    QCOMPARE(e.attachmentChanged->count(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QCOMPARE(e.service->count(), 0);
    // The content the edit began with is not deleted by removing it.
    QVERIFY(QFileInfo::exists(storedCopy));
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 0);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

// ------------------------------------------------------------------ cancelling

void TestReminderEditing::cancellingANewReminderStoresNothing_data()
{
    QTest::addColumn<QString>("quoted");
    QTest::addColumn<bool>("attach");
    QTest::addColumn<bool>("deleteRequested");

    QTest::newRow("quote only") << "pick up Ann" << false << true;
    QTest::newRow("quote and attachment") << "pick up Ann" << true << false;
    QTest::newRow("empty quote and attachment") << QString() << true << true;
}

void TestReminderEditing::cancellingANewReminderStoresNothing()
{
    QFETCH(QString, quoted);
    QFETCH(bool, attach);
    QFETCH(bool, deleteRequested);

    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(QStringLiteral("7_3"), at(2031, 6, 3, 9)));
    e.start();
    const QString id = QStringLiteral("7_4");
    const int before = e.f.handler->reminderModel()->count();
    e.f.handler->reminderMessage(QStringLiteral("dlg-3"), 8, 9,
                                 quoted.isEmpty() ? chatMessage(PollMessage, QString(), QString()) : textMessage(quoted));
    e.service->holdUploads(true);
    if (attach) {
        e.f.handler->addAttachment(e.userFile(QStringLiteral("a.txt"), QByteArrayLiteral("attached")));
        QVERIFY(e.service->waitForHeld(1, kWait));
    }
    e.clearSpies();

    e.f.handler->cancel();

    QVERIFY(!e.f.handler->attachmentItem());
    QVERIFY(!e.f.handler->quoteMsgItem());
    QCOMPARE(e.f.handler->content(), QString());
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    e.f.settle();
    QCOMPARE(e.f.handler->reminderModel()->count(), before);
    QVERIFY(!e.live(id));
    QVERIFY(!recordExists(e, id));
    QCOMPARE(e.f.sent->count(), 0);
    QCOMPARE(e.f.deleted->count(), deleteRequested ? 1 : 0);
    if (deleteRequested)
        QCOMPARE(e.f.deleted->at(0).at(0).toStringList(), QStringList{id});
    QCOMPARE(e.service->count(), 0);
    QVERIFY(failedIds(e.f.handler).isEmpty());
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::cancellingAnEditRestoresTheReplacedAttachment()
{
    EditFixture e;
    // A's image went up in an earlier session.
    const QString oldPhoto = e.userImage(QStringLiteral("old.png"), QColor(5, 200, 5), "PNG");
    const QSharedPointer<ContentItem> oldContent = e.prepared(oldPhoto, QStringLiteral("photo note"));
    QVERIFY(oldContent);
    const QSharedPointer<BaseFile> oldSource = asFile(oldContent.data())->sourceFilePtr();
    QCOMPARE(e.service->upload(oldSource->fileId(), oldSource->path()), FileService::UploadOk);
    ReminderItemPtr a = HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QString());
    a->setContent(oldContent, false);
    e.f.storeItem(a);
    e.start();
    const QString newPhoto = e.userImage(QStringLiteral("new.png"), QColor(200, 5, 5), "PNG");

    e.f.handler->editReminder(kA);
    const QSharedPointer<ContentItem> original = e.f.handler->attachmentItemPtr();
    QCOMPARE(e.f.handler->content(), QStringLiteral("photo note"));
    e.service->holdUploads(true);
    e.f.handler->addAttachment(newPhoto);
    QVERIFY(e.service->waitForHeld(1, kWait));
    FileItem* replacement = asFile(e.f.handler->attachmentItem());
    QVERIFY(replacement != original.data());
    const QString newCopy = replacement->sourceFilePtr()->path();
    const QString newId = replacement->sourceFilePtr()->fileId();
    e.clearSpies();

    e.f.handler->cancel();

    const ReminderItemPtr item = e.live(kA);
    QCOMPARE(item->content(), original.data());
    QCOMPARE(asFile(item->content())->sourceFilePtr()->fileId(), oldSource->fileId());
    QCOMPARE(item->text(), QStringLiteral("photo note"));
    QVERIFY(QFileInfo::exists(oldSource->path()));
    QVERIFY(!QFileInfo::exists(newCopy));
    // The edit is over.
    QVERIFY(!e.f.handler->attachmentItem());
    QCOMPARE(e.f.handler->content(), QString());
    QVERIFY(!e.f.handler->reminderPattern()->timeModified());
    QTRY_VERIFY_WITH_TIMEOUT(uploadingIds(e.f.handler).isEmpty(), kWait);
    QVERIFY(!e.service->contains(newId));
    QVERIFY(e.service->contains(oldSource->fileId()));
    e.f.settle();
    // Not sent during the edit: nothing to send back, nothing deleted.
    QCOMPARE(e.f.sent->count(), 0);
    QCOMPARE(e.f.deleted->count(), 0);
    QCOMPARE(asFile(stored(e, kA)->content())->sourceFilePtr()->fileId(), oldSource->fileId());
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::cancellingAnEditThatWasSentSendsTheRestoredState()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QString photo = e.userImage(QStringLiteral("sent.png"), QColor(70, 140, 210), "PNG");
    e.f.handler->editReminder(kA);
    e.f.handler->addAttachment(photo);
    // The finished upload sends the reminder during this edit.
    QTRY_COMPARE_WITH_TIMEOUT(e.f.sent->count(), 1, kWait);
    QCOMPARE(e.sentContent(0).content(0).type(), int(ContentItem::ImageType));
    const QString copy = asFile(e.f.handler->attachmentItem())->sourceFilePtr()->path();

    e.f.handler->cancel();

    const ReminderItemPtr item = e.live(kA);
    QVERIFY(item->content()->isTextMsg());
    QCOMPARE(item->text(), QStringLiteral("call Bob"));
    QVERIFY(!e.f.handler->attachmentItem());
    QVERIFY(!QFileInfo::exists(copy));
    e.f.settle();
    QCOMPARE(e.f.sent->count(), 2);
    QCOMPARE(e.sentId(1), kA);
    const im::content::ReminderContent rc = e.sentContent(1);
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(rc.content(0).type(), int(ContentItem::TextType));
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("call Bob"));
    const ReminderItemPtr record = stored(e, kA);
    QVERIFY(record->content()->isTextMsg());
    QCOMPARE(record->text(), QStringLiteral("call Bob"));
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

// --------------------------------------------------- saving a replaced image

void TestReminderEditing::savingAReplacedImageDeletesTheOldFilesFirst()
{
    // Outlive the fixture: the handler, the context of the connections
    // below, goes with it.
    QStringList events;
    QList<QStringList> deletedIds;
    EditFixture e;
    const QString oldPhoto = e.userImage(QStringLiteral("old.jpg"), QColor(9, 99, 199), "JPEG");
    const QSharedPointer<ContentItem> oldContent = e.prepared(oldPhoto, QStringLiteral("old caption"));
    QVERIFY(oldContent);
    FileItem* oldFile = asFile(oldContent.data());
    const QString oldSourceId = oldFile->sourceFilePtr()->fileId();
    const QString oldThumbId = oldFile->thumbnailFilePtr()->fileId();
    const QString oldCopy = oldFile->sourceFilePtr()->path();
    QVERIFY(oldSourceId != oldThumbId);
    QCOMPARE(e.service->upload(oldSourceId, oldCopy), FileService::UploadOk);
    QCOMPARE(e.service->upload(oldThumbId, oldFile->thumbnailFile()), FileService::UploadOk);
    QList<QSharedPointer<FileData>> oldRecords;
    oldContent->collectFileData(oldRecords);
    QVERIFY(e.files->fileDataMgr()->saveFileInfos(oldRecords));
    ReminderItemPtr a = HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QString());
    a->setContent(oldContent, false);
    e.f.storeItem(a);
    e.start();
    const QString newPhoto = e.userImage(QStringLiteral("new.jpg"), QColor(199, 99, 9), "JPEG");

    e.f.handler->editReminder(kA);
    e.service->holdUploads(true);
    e.f.handler->addAttachment(newPhoto);
    QVERIFY(e.service->waitForHeld(1, kWait));
    FileItem* newFile = asFile(e.f.handler->attachmentItem());
    const QString newSourceId = newFile->sourceFilePtr()->fileId();
    const QString newThumbId = newFile->thumbnailFilePtr()->fileId();
    // Until saved, the old files stay on the service and on the disk.
    QVERIFY(e.service->contains(oldSourceId));
    QVERIFY(QFileInfo::exists(oldCopy));

    QObject::connect(e.files->fileServiceCmd(), &FileServiceCmd::filesDeleted, e.f.handler,
                     [&events, &deletedIds, &e, newSourceId](const QStringList& ids) {
                         deletedIds << ids;
                         events << (e.service->contains(newSourceId) ? QStringLiteral("deleted after the new upload")
                                                                     : QStringLiteral("deleted"));
                     });
    QObject::connect(e.f.account->command(), &AccountCommand::reminderUpdateRequested, e.f.handler,
                     [&events, &e, newSourceId](const QString& id, const QByteArray&) {
                         if (id == kA)
                             events << (e.service->contains(newSourceId) ? QStringLiteral("sent with the new file")
                                                                         : QStringLiteral("sent"));
                     });

    e.f.handler->syncReminder();

    QCOMPARE(deletedIds.size(), 1);
    QCOMPARE(deletedIds.at(0), (QStringList{oldSourceId, oldThumbId}));
    QVERIFY(!e.service->contains(oldSourceId));
    QVERIFY(!e.service->contains(oldThumbId));
    QVERIFY(!e.files->fileDataMgr()->fileInfo(oldSourceId));
    QVERIFY(!e.files->fileDataMgr()->fileInfo(oldThumbId));
    QVERIFY(!QFileInfo::exists(oldCopy));
    QCOMPARE(uploadingIds(e.f.handler), QStringList{kA});

    e.service->holdUploads(false);
    QTRY_VERIFY_WITH_TIMEOUT(e.sentCountFor(kA) == 2, kWait);
    // Saved while the upload ran: first the text alone, then the whole.
    QCOMPARE(events, (QStringList{QStringLiteral("deleted"), QStringLiteral("sent"),
                                  QStringLiteral("sent with the new file")}));
    QVERIFY(e.service->contains(newSourceId));
    QVERIFY(e.service->contains(newThumbId));
    QCOMPARE(e.service->count(), 2);
    const im::content::ReminderContent textOnly = e.sentContent(0);
    QCOMPARE(textOnly.content(0).type(), int(ContentItem::TextType));
    QCOMPARE(QString::fromStdString(textOnly.content(0).text().text()), QStringLiteral("old caption"));
    const im::content::ReminderContent whole = e.sentContent(1);
    QCOMPARE(whole.content(0).type(), int(ContentItem::ImageType));
    QCOMPARE(QString::fromStdString(whole.content(0).image().source().file_id()), newSourceId);
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

void TestReminderEditing::savingANewCaptionKeepsTheImageFiles()
{
    EditFixture e;
    const QString photo = e.userImage(QStringLiteral("kept.jpg"), QColor(60, 30, 90), "JPEG");
    const QSharedPointer<ContentItem> content = e.prepared(photo, QStringLiteral("old caption"));
    QVERIFY(content);
    FileItem* file = asFile(content.data());
    const QString sourceId = file->sourceFilePtr()->fileId();
    const QString thumbId = file->thumbnailFilePtr()->fileId();
    const QString copy = file->sourceFilePtr()->path();
    QCOMPARE(e.service->upload(sourceId, copy), FileService::UploadOk);
    QCOMPARE(e.service->upload(thumbId, file->thumbnailFile()), FileService::UploadOk);
    ReminderItemPtr a = HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QString());
    a->setContent(content, false);
    e.f.storeItem(a);
    e.start();
    e.f.setNow(editTime());
    QSignalSpy filesDeleted(e.files->fileServiceCmd(), &FileServiceCmd::filesDeleted);
    const int attempts = e.service->uploadAttempts();

    e.f.handler->editReminder(kA);
    e.f.handler->setContent(QStringLiteral("new caption"));
    e.f.handler->syncReminder();

    QCOMPARE(filesDeleted.count(), 0);
    QVERIFY(e.service->contains(sourceId));
    QVERIFY(e.service->contains(thumbId));
    QVERIFY(QFileInfo::exists(copy));
    const ReminderItemPtr item = e.live(kA);
    QCOMPARE(item->content()->type(), int(ContentItem::ImageType));
    QCOMPARE(item->text(), QStringLiteral("new caption"));
    QCOMPARE(item->lastContentTime(), editTime());
    e.f.settle();
    QCOMPARE(e.service->uploadAttempts(), attempts);
    QCOMPARE(e.f.sent->count(), 1);
    const im::content::ReminderContent rc = e.sentContent(0);
    QCOMPARE(rc.content(0).type(), int(ContentItem::ImageType));
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("new caption"));
    QCOMPARE(QString::fromStdString(rc.content(0).image().source().file_id()), sourceId);
    QCOMPARE(stored(e, kA)->text(), QStringLiteral("new caption"));
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

// ------------------------------------------------------------------ no open edit

void TestReminderEditing::editingOperationsWithoutAnEditDoNothing_data()
{
    QTest::addColumn<QString>("operation");

    for (const char* op : {"addAttachment", "removeAttachment", "cancelTransfer", "cancel", "syncReminder",
                           "retryUpload", "cancelUpload", "reuploadFailed"})
        QTest::newRow(op) << QString::fromLatin1(op);
}

void TestReminderEditing::editingOperationsWithoutAnEditDoNothing()
{
    QFETCH(QString, operation);

    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QString photo = e.userImage(QStringLiteral("idle.png"), QColor(1, 1, 1), "PNG");
    const storage::ReminderInfo before = e.f.record(kA);
    const QSharedPointer<ContentItem> content = e.live(kA)->contentPtr();
    QSignalSpy toast(AccountManager::getInstance(), &AccountManager::errorReported);
    QSignalSpy mediaError(MediaSenderModel::getInstance(), &MediaSenderModel::errorNotified);

    if (operation == QLatin1String("addAttachment"))
        e.f.handler->addAttachment(photo);
    else if (operation == QLatin1String("removeAttachment"))
        e.f.handler->removeAttachment();
    else if (operation == QLatin1String("cancelTransfer"))
        e.f.handler->cancelTransfer();
    else if (operation == QLatin1String("cancel"))
        e.f.handler->cancel();
    else if (operation == QLatin1String("syncReminder"))
        e.f.handler->syncReminder();
    else if (operation == QLatin1String("retryUpload"))
        e.f.handler->retryUpload(kA);
    else if (operation == QLatin1String("cancelUpload"))
        e.f.handler->cancelUpload(kA);
    else
        callReuploadFailed(e.f.handler);

    e.f.settle();
    QVERIFY(!e.f.handler->attachmentItem());
    QCOMPARE(e.live(kA)->content(), content.data());
    QCOMPARE(e.f.handler->reminderModel()->count(), 1);
    QCOMPARE(e.f.record(kA), before);
    QCOMPARE(e.f.sent->count(), 0);
    QCOMPARE(e.f.deleted->count(), 0);
    QCOMPARE(e.contentChanged->count(), 0);
    QCOMPARE(e.quoteChanged->count(), 0);
    QCOMPARE(e.attachmentChanged->count(), 0);
    QCOMPARE(e.needRetryChanged->count(), 0);
    QCOMPARE(e.attachmentModifyChanged->count(), 0);
    QCOMPARE(toast.count(), 0);
    QCOMPARE(mediaError.count(), 0);
    QCOMPARE(e.files->activeUploadCount(), 0);
    QCOMPARE(e.service->uploadAttempts(), 0);
    QVERIFY(e.cacheFiles().isEmpty());
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

// ------------------------------------------------------ the handler going away

void TestReminderEditing::destroyingTheHandlerMidEditReleasesTheSendItem()
{
    EditFixture e;
    e.f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14), QStringLiteral("call Bob")));
    e.start();
    const QString notes = e.userFile(QStringLiteral("kept.txt"), QByteArrayLiteral("the user's notes"));
    e.f.handler->editReminder(kA);
    e.f.handler->addAttachment(notes);
    QPointer<MediaSendItem> attachment = sendItem(e.f.handler);
    QVERIFY(attachment);
    // Whatever the outcome, the item does not outlive this test.
    struct Release
    {
        QPointer<MediaSendItem>& item;
        ~Release() { delete item.data(); }
    } release{attachment};

    // The account goes with the edit still open (its handler is its child).
    e.shutDown(false);

    QVERIFY2(attachment.isNull(), "the handler's own media-send item outlives the handler");
    QVERIFY2(e.userFilesChanged().isEmpty(), qPrintable(e.userFilesChanged()));
}

QTEST_GUILESS_MAIN(TestReminderEditing)
#include "tst_reminderediting.moc"
