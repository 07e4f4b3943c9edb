// ReminderItem: its properties, setters, body handling and lifetime.
#include "contentitem.h"
#include "fileitem.h"
#include "relativemessage.h"
#include "reminderitem.h"

#include "crossthread.h"

#include <QJSEngine>
#include <QMetaProperty>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

namespace {

QSharedPointer<ContentItem> textBody(const QString& text)
{
    QSharedPointer<ContentItem> c(new ContentItem(8, nullptr));
    c->setType(ContentItem::TextType);
    c->setContent(text, {});
    return c;
}

QSharedPointer<FileItem> fileBody(int type, const QString& fileId, const QString& name,
                                  const QString& caption = QString())
{
    QSharedPointer<FileItem> f(new FileItem(8, nullptr));
    f->setType(type);
    f->setContent(caption, {});
    f->setSourceFile(QSharedPointer<BaseFile>(new BaseFile(fileId, name, QString())));
    return f;
}

// Every change signal of the item, by name, so that a test can check that
// nothing at all was emitted.
struct AllSignals
{
    explicit AllSignals(ReminderItem* item)
    {
        const QMetaObject* mo = item->metaObject();
        for (int i = mo->methodOffset(); i < mo->methodCount(); ++i) {
            const QMetaMethod m = mo->method(i);
            if (m.methodType() == QMetaMethod::Signal)
                spies.emplace_back(new QSignalSpy(item, m));
        }
    }
    int total() const
    {
        int n = 0;
        for (const auto& s : spies)
            n += int(s->count());
        return n;
    }
    std::vector<std::unique_ptr<QSignalSpy>> spies;
};

} // namespace

class TestReminderItem : public QObject
{
    Q_OBJECT
private slots:
    void newItemHasIdAndDefaults();
    void propertiesAreDeclaredInOrder();
    void signalsAreDeclaredInOrder();
    void itemIsOwnedByTheProgram();
    void pointerTypeIsRegisteredByName();

    void setterEmitsOnRealChange_data();
    void setterEmitsOnRealChange();
    void settingPropertyToCurrentValueEmitsNothing_data();
    void settingPropertyToCurrentValueEmitsNothing();
    void bookkeepingSettersEmitNothing();
    void orderTimeTakesOnlyPositiveValues();
    void unitIsWritableFromQml();

    void setContentWithSamePointerEmitsNothing();
    void setContentWithUnchangedTextEmitsNothing();
    void setContentIntoEmptyItemTakesTheBody();
    void setContentTextIntoTextCopiesInPlace();
    void setContentNullReleasesFileBody_data();
    void setContentNullReleasesFileBody();
    void setContentNullOnTextBodyDeletesNoFile();
    void replacingFileBodyByOtherSourceDeletesOldFile_data();
    void replacingFileBodyByOtherSourceDeletesOldFile();
    void replacingFileBodyBySameSourceKeepsObjectAndChangesText();
    void replacingFileBodyBySameSourceAndSameTextEmitsNothing();
    void replacingTextByFileDeletesNothing();
    void replacingFileByTextReleasesFile();
    void fileBodyAfterChangeGetsItsKind();
    void sameKindBodiesWithoutFilesAreReplaced();

    void setTextChangesBodyInPlaceWithoutSignal();
    void setTextWithoutBodyMakesTextBody();
    void setTextEmptyWithoutBodyLeavesNoBody();
    void textOfItemWithoutBodyIsEmpty();
    void isEmpty_data();
    void isEmpty();

    void setQuoteTakesOwnershipAndEmits();
    void destroyingEmitsStartDestroyBeforeQuoteIsDeleted();
    void moveToThreadMovesBodyAndQuote();
};

void TestReminderItem::newItemHasIdAndDefaults()
{
    ReminderItem item(QStringLiteral("7_42"));
    QCOMPARE(item.remindId(), QStringLiteral("7_42"));
    QCOMPARE(QString::fromStdString(item.message().id()), QStringLiteral("7_42"));
    QVERIFY(!item.content());
    QVERIFY(!item.quoteMsgItem());
    QCOMPARE(item.remindTime(), 0);
    QCOMPARE(item.originalRemindTime(), 0);
    QCOMPARE(item.showRemindTime(), 0);
    QCOMPARE(item.validTime(), 0);
    QCOMPARE(item.endDate(), 0);
    QCOMPARE(item.repeatCount(), 0);
    QCOMPARE(item.snooze(), 0);
    QCOMPARE(item.interval(), 0);
    QCOMPARE(item.unit(), 0);
    QCOMPARE(item.dayOfWeekFlags(), 0);
    QCOMPARE(item.dayOfMonthFlags(), 0);
    QCOMPARE(item.weekOfMonthFlags(), 0);
    QVERIFY(!item.reminded());
    QVERIFY(!item.completed());
    QVERIFY(!item.unread());
    QCOMPARE(item.lastContentTime(), 0);
    QCOMPARE(item.lastCompletedTime(), 0);
    QCOMPARE(item.lastPatternTime(), 0);
    QCOMPARE(item.lastUnreadTime(), 0);
    QCOMPARE(item.timestamp(), 0);
    QCOMPARE(item.orderTime(), 0);
    QVERIFY(!item.parent());
}

void TestReminderItem::propertiesAreDeclaredInOrder()
{
    const QStringList expected = {"remindId", "content", "originalRemindTime", "showRemindTime",
                                  "remindTime", "quoteMsgItem", "reminded", "completed", "interval",
                                  "unit", "dayOfWeekFlags", "dayOfMonthFlags", "weekOfMonthFlags",
                                  "endDate", "repeatCount", "snooze", "validTime"};
    const QMetaObject& mo = ReminderItem::staticMetaObject;
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        const QMetaProperty p = mo.property(mo.propertyOffset() + i);
        QCOMPARE(QString::fromLatin1(p.name()), expected.at(i));
        QCOMPARE(p.isWritable(), expected.at(i) == QLatin1String("unit"));
        if (i == 0) {
            QVERIFY(p.isConstant());
            QVERIFY(!p.hasNotifySignal());
        } else {
            QCOMPARE(QString::fromLatin1(p.notifySignal().name()), expected.at(i) + QStringLiteral("Changed"));
        }
    }
}

void TestReminderItem::signalsAreDeclaredInOrder()
{
    const QStringList expected = {"contentChanged", "originalRemindTimeChanged", "showRemindTimeChanged",
                                  "remindTimeChanged", "quoteMsgItemChanged", "remindedChanged",
                                  "completedChanged", "intervalChanged", "unitChanged",
                                  "dayOfWeekFlagsChanged", "dayOfMonthFlagsChanged",
                                  "weekOfMonthFlagsChanged", "endDateChanged", "repeatCountChanged",
                                  "snoozeChanged", "validTimeChanged", "startDestroy"};
    const QMetaObject& mo = ReminderItem::staticMetaObject;
    QStringList found;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        const QMetaMethod m = mo.method(i);
        if (m.methodType() == QMetaMethod::Signal) {
            QCOMPARE(m.parameterCount(), 0);
            found << QString::fromLatin1(m.name());
        }
    }
    QCOMPARE(found, expected);
}

void TestReminderItem::itemIsOwnedByTheProgram()
{
    ReminderItem item(QStringLiteral("a"));
    QCOMPARE(QJSEngine::objectOwnership(&item), QJSEngine::CppOwnership);
}

void TestReminderItem::pointerTypeIsRegisteredByName()
{
    ReminderItem item(QStringLiteral("a"));
    const QMetaType type = QMetaType::fromName("ReminderItemPtr");
    QVERIFY(type.isValid());
    QCOMPARE(type, QMetaType::fromType<ReminderItemPtr>());
    ReminderItemPtr ptr(new ReminderItem(QStringLiteral("b")));
    const QVariant v = QVariant::fromValue(ptr);
    QCOMPARE(v.value<ReminderItemPtr>(), ptr);
}

using Setter = std::function<void(ReminderItem&)>;
using Getter = std::function<QVariant(const ReminderItem&)>;
Q_DECLARE_METATYPE(Setter)
Q_DECLARE_METATYPE(Getter)

namespace {
struct SetterCase
{
    const char* signal;
    Setter set;
    Getter get;
    QVariant value;
};

QList<SetterCase> setterCases()
{
    return {
        {SIGNAL(completedChanged()), [](ReminderItem& i) { i.setCompleted(true); },
         [](const ReminderItem& i) { return QVariant(i.completed()); }, true},
        {SIGNAL(remindedChanged()), [](ReminderItem& i) { i.setReminded(true); },
         [](const ReminderItem& i) { return QVariant(i.reminded()); }, true},
        {SIGNAL(remindTimeChanged()), [](ReminderItem& i) { i.setRemindTime(1700000000000); },
         [](const ReminderItem& i) { return QVariant(i.remindTime()); }, qint64(1700000000000)},
        {SIGNAL(originalRemindTimeChanged()), [](ReminderItem& i) { i.setOriginalRemindTime(1700000000001); },
         [](const ReminderItem& i) { return QVariant(i.originalRemindTime()); }, qint64(1700000000001)},
        {SIGNAL(showRemindTimeChanged()), [](ReminderItem& i) { i.setShowRemindTime(1700000000002); },
         [](const ReminderItem& i) { return QVariant(i.showRemindTime()); }, qint64(1700000000002)},
        {SIGNAL(validTimeChanged()), [](ReminderItem& i) { i.setValidTime(1700000000003); },
         [](const ReminderItem& i) { return QVariant(i.validTime()); }, qint64(1700000000003)},
        {SIGNAL(endDateChanged()), [](ReminderItem& i) { i.setEndDate(1700000000004); },
         [](const ReminderItem& i) { return QVariant(i.endDate()); }, qint64(1700000000004)},
        {SIGNAL(repeatCountChanged()), [](ReminderItem& i) { i.setRepeatCount(5); },
         [](const ReminderItem& i) { return QVariant(i.repeatCount()); }, 5},
        {SIGNAL(snoozeChanged()), [](ReminderItem& i) { i.setSnooze(10); },
         [](const ReminderItem& i) { return QVariant(i.snooze()); }, 10},
        {SIGNAL(intervalChanged()), [](ReminderItem& i) { i.setInterval(3); },
         [](const ReminderItem& i) { return QVariant(i.interval()); }, 3},
        {SIGNAL(unitChanged()), [](ReminderItem& i) { i.setUnit(2); },
         [](const ReminderItem& i) { return QVariant(i.unit()); }, 2},
        {SIGNAL(dayOfWeekFlagsChanged()), [](ReminderItem& i) { i.setDayOfWeekFlags(31); },
         [](const ReminderItem& i) { return QVariant(i.dayOfWeekFlags()); }, 31},
        {SIGNAL(dayOfMonthFlagsChanged()), [](ReminderItem& i) { i.setDayOfMonthFlags(-1); },
         [](const ReminderItem& i) { return QVariant(i.dayOfMonthFlags()); }, -1},
        {SIGNAL(weekOfMonthFlagsChanged()), [](ReminderItem& i) { i.setWeekOfMonthFlags(2); },
         [](const ReminderItem& i) { return QVariant(i.weekOfMonthFlags()); }, 2},
    };
}

void addSetterRows()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<Setter>("set");
    QTest::addColumn<Getter>("get");
    QTest::addColumn<QVariant>("value");
    for (const auto& c : setterCases())
        QTest::newRow(c.signal + 1) << QByteArray(c.signal) << c.set << c.get << c.value;
}
} // namespace

void TestReminderItem::setterEmitsOnRealChange_data()
{
    addSetterRows();
}

void TestReminderItem::setterEmitsOnRealChange()
{
    QFETCH(QByteArray, signal);
    QFETCH(Setter, set);
    QFETCH(Getter, get);
    QFETCH(QVariant, value);
    ReminderItem item(QStringLiteral("a"));
    AllSignals all(&item);
    QSignalSpy spy(&item, signal.constData());
    set(item);
    QCOMPARE(get(item), value);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(all.total(), 1);
}

void TestReminderItem::settingPropertyToCurrentValueEmitsNothing_data()
{
    addSetterRows();
}

void TestReminderItem::settingPropertyToCurrentValueEmitsNothing()
{
    QFETCH(Setter, set);
    ReminderItem item(QStringLiteral("a"));
    set(item);
    AllSignals all(&item);
    set(item);
    QCOMPARE(all.total(), 0);
}

void TestReminderItem::bookkeepingSettersEmitNothing()
{
    ReminderItem item(QStringLiteral("a"));
    AllSignals all(&item);
    item.setUnread(true);
    item.setLastContentTime(11);
    item.setLastCompletedTime(12);
    item.setLastPatternTime(13);
    item.setLastUnreadTime(14);
    item.setTimestamp(15);
    item.setOrderTime(16);
    QCOMPARE(all.total(), 0);
    QVERIFY(item.unread());
    QCOMPARE(item.lastContentTime(), 11);
    QCOMPARE(item.lastCompletedTime(), 12);
    QCOMPARE(item.lastPatternTime(), 13);
    QCOMPARE(item.lastUnreadTime(), 14);
    QCOMPARE(item.timestamp(), 15);
    QCOMPARE(item.orderTime(), 16);
}

void TestReminderItem::orderTimeTakesOnlyPositiveValues()
{
    ReminderItem item(QStringLiteral("a"));
    item.setOrderTime(300);
    item.setOrderTime(0);
    QCOMPARE(item.orderTime(), 300);
    item.setOrderTime(-5);
    QCOMPARE(item.orderTime(), 300);
    item.setOrderTime(1);
    QCOMPARE(item.orderTime(), 1);
}

void TestReminderItem::unitIsWritableFromQml()
{
    ReminderItem item(QStringLiteral("a"));
    QSignalSpy spy(&item, &ReminderItem::unitChanged);
    QVERIFY(item.setProperty("unit", 1));
    QCOMPARE(item.unit(), 1);
    QCOMPARE(spy.count(), 1);
    QVERIFY(!item.setProperty("interval", 4));
    QCOMPARE(item.interval(), 0);
}

void TestReminderItem::setContentWithSamePointerEmitsNothing()
{
    ReminderItem item(QStringLiteral("a"));
    auto body = textBody(QStringLiteral("hello"));
    item.setContent(body, true);
    AllSignals all(&item);
    item.setContent(body, true);
    QCOMPARE(all.total(), 0);
    QCOMPARE(item.contentPtr(), body);
}

void TestReminderItem::setContentWithUnchangedTextEmitsNothing()
{
    ReminderItem item(QStringLiteral("a"));
    auto body = textBody(QStringLiteral("hello"));
    item.setContent(body, true);
    AllSignals all(&item);
    item.setContent(textBody(QStringLiteral("hello")), true);
    QCOMPARE(all.total(), 0);
    QCOMPARE(item.contentPtr(), body);
}

void TestReminderItem::setContentIntoEmptyItemTakesTheBody()
{
    ReminderItem item(QStringLiteral("a"));
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    auto body = textBody(QStringLiteral("hello"));
    item.setContent(body, false);
    QCOMPARE(item.contentPtr(), body);
    QCOMPARE(spy.count(), 1);
}

void TestReminderItem::setContentTextIntoTextCopiesInPlace()
{
    ReminderItem item(QStringLiteral("a"));
    auto body = textBody(QStringLiteral("hello"));
    item.setContent(body, true);
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setContent(textBody(QStringLiteral("world")), true);
    QCOMPARE(item.contentPtr(), body);
    QCOMPARE(body->content(), QStringLiteral("world"));
    QCOMPARE(spy.count(), 1);
}

void TestReminderItem::setContentNullReleasesFileBody_data()
{
    QTest::addColumn<bool>("deleteOldFile");
    QTest::newRow("delete") << true;
    QTest::newRow("keep") << false;
}

void TestReminderItem::setContentNullReleasesFileBody()
{
    QFETCH(bool, deleteOldFile);
    ReminderItem item(QStringLiteral("a"));
    auto file = fileBody(ContentItem::FileType, QStringLiteral("f1"), QStringLiteral("a.pdf"));
    item.setContent(file, true);
    QSignalSpy released(file.data(), &FileItem::filesReleased);
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setContent(nullptr, deleteOldFile);
    QVERIFY(!item.content());
    QCOMPARE(spy.count(), 1);
    QCOMPARE(released.count(), 1);
    QCOMPARE(released.at(0).at(0).toBool(), deleteOldFile);
}

void TestReminderItem::setContentNullOnTextBodyDeletesNoFile()
{
    ReminderItem item(QStringLiteral("a"));
    item.setContent(textBody(QStringLiteral("x")), true);
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setContent(nullptr, true);
    QVERIFY(!item.content());
    QCOMPARE(spy.count(), 1);
}

void TestReminderItem::replacingFileBodyByOtherSourceDeletesOldFile_data()
{
    setContentNullReleasesFileBody_data();
}

void TestReminderItem::replacingFileBodyByOtherSourceDeletesOldFile()
{
    QFETCH(bool, deleteOldFile);
    ReminderItem item(QStringLiteral("a"));
    auto oldFile = fileBody(ContentItem::FileType, QStringLiteral("f1"), QStringLiteral("a.pdf"));
    auto newFile = fileBody(ContentItem::FileType, QStringLiteral("f2"), QStringLiteral("b.zip"));
    item.setContent(oldFile, true);
    QSignalSpy released(oldFile.data(), &FileItem::filesReleased);
    QSignalSpy newReleased(newFile.data(), &FileItem::filesReleased);
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setContent(newFile, deleteOldFile);
    QCOMPARE(item.contentPtr(), newFile);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(oldFile->deleteFileCount(), 1);
    QCOMPARE(released.count(), 1);
    QCOMPARE(released.at(0).at(0).toBool(), deleteOldFile);
    QCOMPARE(newReleased.count(), 0);
}

void TestReminderItem::replacingFileBodyBySameSourceKeepsObjectAndChangesText()
{
    ReminderItem item(QStringLiteral("a"));
    auto oldFile = fileBody(ContentItem::FileType, QStringLiteral("f1"), QStringLiteral("a.pdf"),
                            QStringLiteral("old caption"));
    auto sameFile = fileBody(ContentItem::FileType, QStringLiteral("f1"), QStringLiteral("a.pdf"),
                             QStringLiteral("new caption"));
    item.setContent(oldFile, true);
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setContent(sameFile, true);
    QCOMPARE(item.contentPtr(), oldFile);
    QCOMPARE(oldFile->content(), QStringLiteral("new caption"));
    QCOMPARE(oldFile->deleteFileCount(), 0);
    QCOMPARE(spy.count(), 1);
}

void TestReminderItem::replacingFileBodyBySameSourceAndSameTextEmitsNothing()
{
    ReminderItem item(QStringLiteral("a"));
    auto oldFile = fileBody(ContentItem::ImageType, QStringLiteral("f1"), QStringLiteral("a.png"),
                            QStringLiteral("cap"));
    item.setContent(oldFile, true);
    AllSignals all(&item);
    item.setContent(fileBody(ContentItem::ImageType, QStringLiteral("f1"), QStringLiteral("a.png"),
                             QStringLiteral("cap")),
                    true);
    QCOMPARE(all.total(), 0);
    QCOMPARE(item.contentPtr(), oldFile);
    QCOMPARE(oldFile->deleteFileCount(), 0);
}

void TestReminderItem::replacingTextByFileDeletesNothing()
{
    ReminderItem item(QStringLiteral("a"));
    item.setContent(textBody(QStringLiteral("x")), true);
    auto file = fileBody(ContentItem::FileType, QStringLiteral("f1"), QStringLiteral("a.pdf"));
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setContent(file, true);
    QCOMPARE(item.contentPtr(), file);
    QCOMPARE(file->deleteFileCount(), 0);
    QCOMPARE(spy.count(), 1);
}

void TestReminderItem::replacingFileByTextReleasesFile()
{
    ReminderItem item(QStringLiteral("a"));
    auto file = fileBody(ContentItem::ImageType, QStringLiteral("f1"), QStringLiteral("a.png"));
    item.setContent(file, true);
    auto text = textBody(QStringLiteral("x"));
    item.setContent(text, false);
    QCOMPARE(item.contentPtr(), text);
    QCOMPARE(file->deleteFileCount(), 1);
}

void TestReminderItem::fileBodyAfterChangeGetsItsKind()
{
    ReminderItem item(QStringLiteral("a"));
    item.setContent(textBody(QStringLiteral("x")), true);
    auto file = fileBody(ContentItem::FileType, QStringLiteral("f1"), QStringLiteral("report.pdf"));
    QCOMPARE(file->fileKind(), int(FileItem::KindUnknown));
    item.setContent(file, true);
    QCOMPARE(file->fileKind(), int(FileItem::KindPdf));

    // An image body is not a file body in this sense.
    ReminderItem other(QStringLiteral("b"));
    other.setContent(textBody(QStringLiteral("x")), true);
    auto image = fileBody(ContentItem::ImageType, QStringLiteral("f2"), QStringLiteral("a.pdf"));
    other.setContent(image, true);
    QCOMPARE(image->fileKind(), int(FileItem::KindUnknown));
}

void TestReminderItem::sameKindBodiesWithoutFilesAreReplaced()
{
    ReminderItem item(QStringLiteral("a"));
    QSharedPointer<ContentItem> a(new ContentItem(8, nullptr));
    a->setType(ContentItem::CardType);
    QSharedPointer<ContentItem> b(new ContentItem(8, nullptr));
    b->setType(ContentItem::CardType);
    item.setContent(a, true);
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setContent(b, true);
    QCOMPARE(item.contentPtr(), b);
    QCOMPARE(spy.count(), 1);
}

void TestReminderItem::setTextChangesBodyInPlaceWithoutSignal()
{
    ReminderItem item(QStringLiteral("a"));
    auto body = textBody(QStringLiteral("before"));
    item.setContent(body, true);
    AllSignals all(&item);
    item.setText(QStringLiteral("after"));
    QCOMPARE(all.total(), 0);
    QCOMPARE(item.contentPtr(), body);
    QCOMPARE(item.text(), QStringLiteral("after"));
}

void TestReminderItem::setTextWithoutBodyMakesTextBody()
{
    ReminderItem item(QStringLiteral("a"));
    QSignalSpy spy(&item, &ReminderItem::contentChanged);
    item.setText(QStringLiteral("buy milk"));
    QCOMPARE(spy.count(), 1);
    QVERIFY(item.content());
    QCOMPARE(item.content()->type(), int(ContentItem::TextType));
    QCOMPARE(item.content()->scene(), 8);
    QVERIFY(!item.content()->account());
    QCOMPARE(item.text(), QStringLiteral("buy milk"));
}

void TestReminderItem::setTextEmptyWithoutBodyLeavesNoBody()
{
    ReminderItem item(QStringLiteral("a"));
    AllSignals all(&item);
    item.setText(QString());
    QVERIFY(!item.content());
    QCOMPARE(all.total(), 0);
}

void TestReminderItem::textOfItemWithoutBodyIsEmpty()
{
    ReminderItem item(QStringLiteral("a"));
    QCOMPARE(item.text(), QString());
}

void TestReminderItem::isEmpty_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("expected");
    QTest::newRow("no body") << 0 << true;
    QTest::newRow("text with words") << 1 << false;
    QTest::newRow("text without words") << 2 << true;
    QTest::newRow("file with source, no caption") << 3 << false;
    QTest::newRow("file without source, no caption") << 4 << true;
    QTest::newRow("file without source, with caption") << 5 << false;
}

void TestReminderItem::isEmpty()
{
    QFETCH(int, kind);
    QFETCH(bool, expected);
    ReminderItem item(QStringLiteral("a"));
    switch (kind) {
    case 1: item.setContent(textBody(QStringLiteral("x")), true); break;
    case 2: item.setContent(textBody(QString()), true); break;
    case 3: item.setContent(fileBody(ContentItem::FileType, QStringLiteral("f"), QStringLiteral("n")), true); break;
    case 4:
    case 5: {
        QSharedPointer<FileItem> f(new FileItem(8, nullptr));
        f->setType(ContentItem::FileType);
        if (kind == 5)
            f->setContent(QStringLiteral("caption"), {});
        item.setContent(f, true);
        break;
    }
    default: break;
    }
    QCOMPARE(item.isEmpty(), expected);
}

void TestReminderItem::setQuoteTakesOwnershipAndEmits()
{
    ReminderItem item(QStringLiteral("a"));
    QSignalSpy spy(&item, &ReminderItem::quoteMsgItemChanged);
    auto* quote = new RelativeMessage(QStringLiteral("d"), 1, 2, textBody(QStringLiteral("q")), nullptr);
    item.setQuoteMsgItem(quote);
    QCOMPARE(item.quoteMsgItem(), quote);
    QCOMPARE(quote->parent(), &item);
    QCOMPARE(spy.count(), 1);
    item.setQuoteMsgItem(quote);
    QCOMPARE(spy.count(), 1);
}

void TestReminderItem::destroyingEmitsStartDestroyBeforeQuoteIsDeleted()
{
    auto* item = new ReminderItem(QStringLiteral("a"));
    auto body = textBody(QStringLiteral("body"));
    item->setContent(body, true);
    auto* quote = new RelativeMessage(QStringLiteral("d"), 1, 2, textBody(QStringLiteral("q")), nullptr);
    item->setQuoteMsgItem(quote);
    QPointer<RelativeMessage> watch(quote);

    bool quoteAliveAtSignal = false;
    bool bodyHeldAtSignal = false;
    int emitted = 0;
    QObject::connect(item, &ReminderItem::startDestroy, [&] {
        ++emitted;
        quoteAliveAtSignal = !watch.isNull() && item->quoteMsgItem() == quote;
        bodyHeldAtSignal = item->contentPtr() == body;
    });
    delete item;
    QCOMPARE(emitted, 1);
    QVERIFY(quoteAliveAtSignal);
    QVERIFY(bodyHeldAtSignal);
    QVERIFY(watch.isNull());
    // The body is shared: the item only let go of it.
    QCOMPARE(body->content(), QStringLiteral("body"));
}

void TestReminderItem::moveToThreadMovesBodyAndQuote()
{
    QThread thread;
    ReminderItem* item = new ReminderItem(QStringLiteral("a"));
    auto body = textBody(QStringLiteral("b"));
    auto quoteBody = textBody(QStringLiteral("q"));
    item->setContent(body, true);
    item->setQuoteMsgItem(new RelativeMessage(QStringLiteral("d"), 1, 2, quoteBody, nullptr));
    item->moveToThread(&thread);
    QCOMPARE(item->thread(), &thread);
    QCOMPARE(body->thread(), &thread);
    QCOMPARE(item->quoteMsgItem()->thread(), &thread);
    QCOMPARE(quoteBody->thread(), &thread);
    // Back from the item's own thread, so that it can be deleted here.
    QThread* here = QThread::currentThread();
    thread.start();
    CrossThread::postAndWait(item, [item, here] { item->moveToThread(here); });
    thread.quit();
    thread.wait();
    QCOMPARE(body->thread(), here);
    delete item;
}

QTEST_GUILESS_MAIN(TestReminderItem)
#include "tst_reminderitem.moc"
