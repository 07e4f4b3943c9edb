// The open edit of a device's window (DeskEdit): a new reminder is stored
// when it is saved, never before; a draft file follows an edit with
// changes while it is open, survives the end of the program, and brings
// the edit back as it was at the next start.
#include "accountbase.h"
#include "accountmanager.h"
#include "contentitem.h"
#include "deskbackend.h"
#include "deskfixture.h"
#include "deskdevice.h"
#include "deskedit.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "remindermodel.h"
#include "reminderpattern.h"
#include "reminderserver.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class DeskEditTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aNewReminderIsStoredOnSaveNotBefore();
    void aNewReminderTakesItsTimeRuleAndFileOnSave();
    void discardingANewReminderStoresNothing();
    void onlyTheTypedTextCountsAsAChange();
    void theDraftFollowsTypingWithoutWaitingForAPause();
    void anUnchangedEditLeavesNoDraft();
    void savingOrDiscardingRemovesTheDraft();
    void aNewReminderDraftComesBackAfterTheProgramEnds();
    void anExistingReminderDraftComesBackAsItWas();
    void aDraftOfAReminderDeletedMeanwhileComesBackAsANewOne();
    void aQuoteDraftComesBackWithItsQuote();
    void aDraftCanBeDropped();
    void aFileRefusedForANewReminderSaysWhy_data();
    void aFileRefusedForANewReminderSaysWhy();
    void aFileGoneBeforeSaveKeepsTheEditOpen();

private:
    void start() { QVERIFY(m_fx.start()); }
    void stop() { m_fx.stop(); }
    static void settle() { DeskFixture::settle(); }
    QString add(const QString& text) { return m_fx.add(text); }
    DeskDevice* device() const { return m_fx.device(); }
    DeskEdit* edit() const { return device()->edit(); }
    ReminderHandler* handler() const { return device()->handler(); }
    storage::ReminderStorage* store() const
    {
        return device()->account()->storage()->reminderStorage();
    }
    QStringList draftFiles() const;
    QJsonObject onlyDraft() const;
    QString storedText(const QString& id);
    QString makeFile(const QString& name, const QByteArray& bytes) const;
    QString makeImage(const QString& name) const;

    DeskFixture m_fx;
};

void DeskEditTest::init()
{
    QVERIFY(m_fx.setUp());
}

void DeskEditTest::cleanup()
{
    m_fx.tearDown();
}

QStringList DeskEditTest::draftFiles() const
{
    const QDir dir(QDir(DeskBackend::deviceDirectory(m_fx.dir->path(), 1)).filePath(QStringLiteral("drafts")));
    QStringList files;
    for (const QString& name : dir.entryList({QStringLiteral("*.json")}, QDir::Files))
        files.append(dir.filePath(name));
    return files;
}

QJsonObject DeskEditTest::onlyDraft() const
{
    const QStringList files = draftFiles();
    if (files.size() != 1)
        return QJsonObject();
    QFile file(files.constFirst());
    if (!file.open(QIODevice::ReadOnly))
        return QJsonObject();
    return QJsonDocument::fromJson(file.readAll()).object();
}

QString DeskEditTest::storedText(const QString& id)
{
    settle();
    bool found = false;
    const storage::ReminderInfo info = store()->info(id, &found);
    return found ? info.text : QStringLiteral("<none>");
}

QString DeskEditTest::makeFile(const QString& name, const QByteArray& bytes) const
{
    const QString path = QDir(m_fx.dir->path()).filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return QString();
    return path;
}

QString DeskEditTest::makeImage(const QString& name) const
{
    QImage image(200, 120, QImage::Format_RGB32);
    image.fill(QColor(0x4a, 0x90, 0xd9));
    const QString path = QDir(m_fx.dir->path()).filePath(name);
    return image.save(path) ? path : QString();
}

// ------------------------------------------------------------- new ones

void DeskEditTest::aNewReminderIsStoredOnSaveNotBefore()
{
    QSignalSpy opened(edit(), &DeskEdit::openChanged);
    QSignalSpy saved(edit(), &DeskEdit::saved);
    edit()->startNew(QStringLiteral("water the plants"));
    QVERIFY(edit()->isOpen());
    QCOMPARE(edit()->kind(), QStringLiteral("new"));
    QCOMPARE(opened.count(), 1);
    handler()->reminderPattern()->setRemindTime(m_fx.now + 3600 * 1000);
    settle();
    QCOMPARE(handler()->reminderModel()->count(), 0);
    QCOMPARE(store()->count(), 0);

    const QString id = edit()->save();
    QVERIFY(!id.isEmpty());
    QCOMPARE(saved.count(), 1);
    QCOMPARE(saved.at(0).at(0).toString(), id);
    QVERIFY(!edit()->isOpen());
    QCOMPARE(handler()->reminderModel()->count(), 1);
    QCOMPARE(storedText(id), QStringLiteral("water the plants"));
    bool found = false;
    QCOMPARE(store()->info(id, &found).remindTime, m_fx.now + 3600 * 1000);
    QVERIFY(found);
}

void DeskEditTest::aNewReminderTakesItsTimeRuleAndFileOnSave()
{
    const QString photo = makeImage(QStringLiteral("holiday.png"));
    QVERIFY(!photo.isEmpty());
    edit()->startNew(QStringLiteral("print the photo"));
    ReminderPattern* pattern = handler()->reminderPattern();
    pattern->setRemindTime(m_fx.now + 2 * 3600 * 1000);
    pattern->setRepeatFlag(ReminderPattern::EveryWeek);
    pattern->repeatFinish();
    edit()->attach(QUrl::fromLocalFile(photo));
    QCOMPARE(edit()->pendingAttachment().value(QStringLiteral("kind")).toString(), QStringLiteral("image"));
    // The chosen file is the edit's until it is saved.
    QCOMPARE(handler()->attachmentItem(), nullptr);

    const QString id = edit()->save();
    QVERIFY(!id.isEmpty());
    const ReminderItemPtr item = handler()->reminderModel()->itemById(id);
    QVERIFY(item);
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->unit(), 1);
    QCOMPARE(item->showRemindTime(), m_fx.now + 2 * 3600 * 1000);
    QCOMPARE(device()->bodyText(item.data()), QStringLiteral("print the photo"));
    QCOMPARE(device()->attachment(item->content()).value(QStringLiteral("kind")).toString(),
             QStringLiteral("image"));
    // The upload runs, and the server gets it whole.
    QTRY_VERIFY_WITH_TIMEOUT(m_fx.backend->server()->remindIds(DeskBackend::kAccountId).contains(id), 20000);
}

void DeskEditTest::discardingANewReminderStoresNothing()
{
    edit()->startNew(QStringLiteral("never mind"));
    handler()->reminderPattern()->setRemindTime(m_fx.now + 60 * 1000);
    edit()->discard();
    QVERIFY(!edit()->isOpen());
    settle();
    QCOMPARE(handler()->reminderModel()->count(), 0);
    QCOMPARE(store()->count(), 0);
    // Nothing of it is left for the next edit either.
    QCOMPARE(handler()->content(), QString());
    QCOMPARE(handler()->reminderPattern()->remindTime(), 0);
}

void DeskEditTest::onlyTheTypedTextCountsAsAChange()
{
    QSignalSpy changed(edit(), &DeskEdit::changedChanged);
    // The quick add's text was typed by the person: it counts.
    edit()->startNew(QStringLiteral("from the quick add"));
    QVERIFY(edit()->isChanged());
    edit()->discard();
    QVERIFY(!edit()->isChanged());

    edit()->startNew(QString());
    QVERIFY(!edit()->isChanged());
    handler()->setContent(QStringLiteral("x"));
    QVERIFY(edit()->isChanged());
    handler()->setContent(QString());
    QVERIFY(!edit()->isChanged());
    handler()->reminderPattern()->setRemindTime(m_fx.now + 60 * 1000);
    QVERIFY(edit()->isChanged());
    QVERIFY(changed.count() >= 4);
    edit()->discard();

    // An existing reminder opened and left as it was is unchanged.
    const QString id = add(QStringLiteral("call the bank"));
    QVERIFY(edit()->startExisting(id));
    QVERIFY(!edit()->isChanged());
    handler()->setContent(QStringLiteral("call the bank at nine"));
    QVERIFY(edit()->isChanged());
    edit()->discard();
}

// ------------------------------------------------------------- drafts

void DeskEditTest::theDraftFollowsTypingWithoutWaitingForAPause()
{
    edit()->startNew(QString());
    QVERIFY(draftFiles().isEmpty());
    // Typing on, a character every 50 ms for three seconds: the draft is
    // written while it goes on, not once it stops.
    QString typed;
    QStringList seen;
    for (int i = 0; i < 60; ++i) {
        typed.append(QChar(u'a' + i % 26));
        handler()->setContent(typed);
        QTest::qWait(50);
        const QString text = onlyDraft().value(QStringLiteral("text")).toString();
        if (!text.isEmpty() && (seen.isEmpty() || seen.constLast() != text))
            seen.append(text);
    }
    QVERIFY2(seen.size() >= 2, qPrintable(QStringLiteral("draft texts seen while typing: %1").arg(seen.size())));
    for (const QString& text : std::as_const(seen))
        QVERIFY(typed.startsWith(text));
    // And once typing stops, the last of it is there.
    QTRY_COMPARE(onlyDraft().value(QStringLiteral("text")).toString(), typed);
    edit()->discard();
}

void DeskEditTest::anUnchangedEditLeavesNoDraft()
{
    const QString id = add(QStringLiteral("feed the cat"));
    QVERIFY(edit()->startExisting(id));
    QTest::qWait(DeskEdit::kDraftDelayMs * 2);
    edit()->keepDraft();
    QVERIFY(draftFiles().isEmpty());
    stop();
    QVERIFY(draftFiles().isEmpty());
    start();
    QVERIFY(!edit()->hasDraft());
}

void DeskEditTest::savingOrDiscardingRemovesTheDraft()
{
    edit()->startNew(QStringLiteral("one"));
    edit()->keepDraft();
    QCOMPARE(draftFiles().size(), 1);
    edit()->save();
    QVERIFY(draftFiles().isEmpty());

    edit()->startNew(QStringLiteral("two"));
    edit()->keepDraft();
    QCOMPARE(draftFiles().size(), 1);
    edit()->discard();
    QVERIFY(draftFiles().isEmpty());
}

void DeskEditTest::aNewReminderDraftComesBackAfterTheProgramEnds()
{
    edit()->startNew(QStringLiteral("book the dentist"));
    handler()->reminderPattern()->setRemindTime(m_fx.now + 86400 * 1000);
    handler()->reminderPattern()->setRepeatFlag(ReminderPattern::EveryDay);
    handler()->reminderPattern()->repeatFinish();
    // The program ends with the editor open: no question, the draft stays.
    stop();
    QCOMPARE(draftFiles().size(), 1);

    start();
    QVERIFY(edit()->hasDraft());
    QCOMPARE(edit()->draftText(), QStringLiteral("book the dentist"));
    QCOMPARE(handler()->reminderModel()->count(), 0);
    QSignalSpy draft(edit(), &DeskEdit::draftChanged);
    QVERIFY(edit()->restoreDraft());
    QCOMPARE(draft.count(), 1);
    QVERIFY(!edit()->hasDraft());
    QCOMPARE(edit()->kind(), QStringLiteral("new"));
    QVERIFY(edit()->isChanged());
    QCOMPARE(handler()->content(), QStringLiteral("book the dentist"));
    QCOMPARE(handler()->reminderPattern()->remindTime(), m_fx.now + 86400 * 1000);
    QCOMPARE(handler()->reminderPattern()->interval(), 1);
    QVERIFY(!handler()->reminderPattern()->repeatText().isEmpty());
    // The restored edit has its own draft at once.
    QCOMPARE(draftFiles().size(), 1);

    const QString id = edit()->save();
    const ReminderItemPtr item = handler()->reminderModel()->itemById(id);
    QVERIFY(item);
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->unit(), 0);
    QCOMPARE(storedText(id), QStringLiteral("book the dentist"));
    QVERIFY(draftFiles().isEmpty());
}

void DeskEditTest::anExistingReminderDraftComesBackAsItWas()
{
    const QString id = add(QStringLiteral("renew the passport"));
    QVERIFY(edit()->startExisting(id));
    handler()->setContent(QStringLiteral("renew the passport before July"));
    handler()->reminderPattern()->setRemindTime(m_fx.now + 7 * 86400 * 1000LL);
    stop();
    // Not saved: the store holds the reminder as it was.
    start();
    QCOMPARE(storedText(id), QStringLiteral("renew the passport"));
    QVERIFY(edit()->hasDraft());
    QVERIFY(edit()->restoreDraft());
    QCOMPARE(edit()->kind(), QStringLiteral("existing"));
    QCOMPARE(handler()->content(), QStringLiteral("renew the passport before July"));
    QCOMPARE(handler()->reminderPattern()->remindTime(), m_fx.now + 7 * 86400 * 1000LL);
    QCOMPARE(edit()->save(), id);
    QCOMPARE(handler()->reminderModel()->count(), 1);
    QCOMPARE(storedText(id), QStringLiteral("renew the passport before July"));
}

void DeskEditTest::aDraftOfAReminderDeletedMeanwhileComesBackAsANewOne()
{
    const QString id = add(QStringLiteral("old text"));
    QVERIFY(edit()->startExisting(id));
    handler()->setContent(QStringLiteral("new text typed before the end"));
    stop();
    start();
    handler()->deleteSelect(id);
    settle();
    QCOMPARE(handler()->reminderModel()->count(), 0);
    QVERIFY(edit()->restoreDraft());
    QCOMPARE(edit()->kind(), QStringLiteral("new"));
    QCOMPARE(handler()->content(), QStringLiteral("new text typed before the end"));
    const QString saved = edit()->save();
    QVERIFY(!saved.isEmpty());
    QVERIFY(saved != id);
    QCOMPARE(storedText(saved), QStringLiteral("new text typed before the end"));
}

void DeskEditTest::aQuoteDraftComesBackWithItsQuote()
{
    edit()->startQuote(0);
    QCOMPARE(edit()->kind(), QStringLiteral("quote"));
    QVERIFY(handler()->quoteMsgItem());
    // The quoted text is filled in by the handler: not a change of the
    // person's yet.
    QVERIFY(!edit()->isChanged());
    handler()->setContent(QStringLiteral("answer Sam about Friday"));
    stop();
    start();
    QVERIFY(edit()->restoreDraft());
    QCOMPARE(edit()->kind(), QStringLiteral("quote"));
    QVERIFY(handler()->quoteMsgItem());
    QCOMPARE(handler()->content(), QStringLiteral("answer Sam about Friday"));
    const QString id = edit()->save();
    QVERIFY(!id.isEmpty());
    const ReminderItemPtr item = handler()->reminderModel()->itemById(id);
    QVERIFY(item);
    QVERIFY(item->quoteMsgItem());
}

void DeskEditTest::aDraftCanBeDropped()
{
    edit()->startNew(QStringLiteral("maybe later"));
    stop();
    start();
    QVERIFY(edit()->hasDraft());
    QSignalSpy draft(edit(), &DeskEdit::draftChanged);
    edit()->dropDraft();
    QCOMPARE(draft.count(), 1);
    QVERIFY(!edit()->hasDraft());
    QVERIFY(draftFiles().isEmpty());
    stop();
    start();
    QVERIFY(!edit()->hasDraft());
}

// ------------------------------------------------------------- files

void DeskEditTest::aFileRefusedForANewReminderSaysWhy_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a folder") << "folder" << "reminder_directory_send_disable";
    QTest::newRow("an empty file") << "empty" << "desk_attach_empty";
    QTest::newRow("a missing file") << "missing" << "desk_attach_unreadable";
}

void DeskEditTest::aFileRefusedForANewReminderSaysWhy()
{
    QFETCH(QString, kind);
    QFETCH(QString, reason);
    QString path;
    if (kind == QLatin1String("folder")) {
        path = QDir(m_fx.dir->path()).filePath(QStringLiteral("a-folder"));
        QVERIFY(QDir().mkpath(path));
    } else if (kind == QLatin1String("empty")) {
        path = makeFile(QStringLiteral("empty.txt"), QByteArray());
    } else {
        path = QDir(m_fx.dir->path()).filePath(QStringLiteral("not-there.txt"));
    }
    QVERIFY(!path.isEmpty());
    QSignalSpy toast(device(), &DeskDevice::toast);
    QSignalSpy errors(AccountManager::getInstance(), &AccountManager::errorReported);
    edit()->startNew(QStringLiteral("attach it"));
    edit()->attach(QUrl::fromLocalFile(path));
    QCOMPARE(edit()->pendingAttachment().value(QStringLiteral("kind")).toString(), QStringLiteral("none"));
    // The folder's words are the handler's own, reported through the host.
    const QStringList said = [&] {
        QStringList all;
        for (const QList<QVariant>& args : std::as_const(toast))
            all.append(args.at(0).toString());
        for (const QList<QVariant>& args : std::as_const(errors))
            all.append(args.at(1).toString());
        return all;
    }();
    QVERIFY2(said.contains(qtTrId(qPrintable(reason))), qPrintable(said.join(QLatin1String(" | "))));
    QVERIFY(edit()->isOpen());
    edit()->discard();
}

void DeskEditTest::aFileGoneBeforeSaveKeepsTheEditOpen()
{
    const QString path = makeFile(QStringLiteral("notes.txt"), QByteArray("the meeting notes"));
    edit()->startNew(QStringLiteral("send the notes"));
    edit()->attach(QUrl::fromLocalFile(path));
    QCOMPARE(edit()->pendingAttachment().value(QStringLiteral("name")).toString(), QStringLiteral("notes.txt"));
    QVERIFY(QFile::remove(path));
    QSignalSpy toast(device(), &DeskDevice::toast);
    QCOMPARE(edit()->save(), QString());
    QVERIFY(edit()->isOpen());
    QCOMPARE(toast.count(), 1);
    QCOMPARE(toast.at(0).at(0).toString(), qtTrId("desk_attach_unreadable"));
    settle();
    QCOMPARE(store()->count(), 0);
    // Without the file it saves.
    edit()->removeAttachment();
    QVERIFY(!edit()->save().isEmpty());
    settle();
    QCOMPARE(store()->count(), 1);
}

QTEST_MAIN(DeskEditTest)
#include "tst_deskedit.moc"
