#include "deserializecontent.h"
#include "contentitem.h"
#include "filedatamgr.h"
#include "fileinfostorage.h"
#include "fileitem.h"
#include "filemanager.h"
#include "filetesthelpers.h"
#include "reminderinfo.h"
#include "reminderstorage.h"
#include "userstorageprovider.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

QSharedPointer<FileData> record(const QString& id, const QString& path, bool thumb, qint64 size = 10)
{
    auto d = QSharedPointer<FileData>::create();
    d->fileId = id;
    d->path = path;
    d->name = path.section(QLatin1Char('/'), -1);
    d->size = size;
    d->sha256 = id;
    d->thumb = thumb;
    return d;
}

} // namespace

class TestFileDataMgr : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void saveAndRead();
    void replaceById();
    void removeRecord();
    void skipsNullAndIdless();
    void persistedAcrossReopening();
    void sharesTheAccountDatabase();
    void unopenableDatabaseKeepsRecordsInMemory();
    void memoryOnlyWithoutPath();
    void recordsOfContent();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestFileDataMgr::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestFileDataMgr::cleanup()
{
    m_dir.reset();
}

void TestFileDataMgr::saveAndRead()
{
    FileDataMgr mgr(m_dir->filePath(QStringLiteral("files.db")));
    QVERIFY(mgr.isPersistent());
    QVERIFY(!mgr.fileInfo(QStringLiteral("a")));
    const auto a = record(QStringLiteral("a"), QStringLiteral("/x/a.png"), false, 123);
    const auto b = record(QStringLiteral("b"), QStringLiteral("/x/b_thumb.png"), true, 7);
    QVERIFY(mgr.saveFileInfos({ a, b }));
    const auto readA = mgr.fileInfo(QStringLiteral("a"));
    const auto readB = mgr.fileInfo(QStringLiteral("b"));
    QVERIFY(readA && readB);
    QCOMPARE(*readA, *a);
    QCOMPARE(*readB, *b);
    QVERIFY(readB->thumb);
    QVERIFY(!readA->thumb);
}

void TestFileDataMgr::replaceById()
{
    FileDataMgr mgr(m_dir->filePath(QStringLiteral("files.db")));
    QVERIFY(mgr.saveFileInfos({ record(QStringLiteral("a"), QStringLiteral("/old"), false) }));
    QVERIFY(mgr.saveFileInfos({ record(QStringLiteral("a"), QStringLiteral("/new"), true, 99) }));
    const auto read = mgr.fileInfo(QStringLiteral("a"));
    QVERIFY(read);
    QCOMPARE(read->path, QStringLiteral("/new"));
    QCOMPARE(read->size, qint64(99));
    QVERIFY(read->thumb);
}

void TestFileDataMgr::removeRecord()
{
    FileDataMgr mgr(m_dir->filePath(QStringLiteral("files.db")));
    QVERIFY(mgr.saveFileInfos({ record(QStringLiteral("a"), QStringLiteral("/a"), false),
                                record(QStringLiteral("b"), QStringLiteral("/b"), false) }));
    QVERIFY(mgr.removeFileInfo(QStringLiteral("a")));
    QVERIFY(!mgr.fileInfo(QStringLiteral("a")));
    QVERIFY(mgr.fileInfo(QStringLiteral("b")));
    QVERIFY(!mgr.removeFileInfo(QStringLiteral("a")));
    QVERIFY(!mgr.removeFileInfo(QString()));
}

void TestFileDataMgr::skipsNullAndIdless()
{
    FileDataMgr mgr(m_dir->filePath(QStringLiteral("files.db")));
    QVERIFY(!mgr.saveFileInfos({}));
    QVERIFY(!mgr.saveFileInfos({ QSharedPointer<FileData>(), record(QString(), QStringLiteral("/p"), false) }));
    QVERIFY(mgr.saveFileInfos({ QSharedPointer<FileData>(), record(QStringLiteral("c"), QStringLiteral("/c"), false) }));
    QVERIFY(mgr.fileInfo(QStringLiteral("c")));
    storage::FileInfoStorage direct(m_dir->filePath(QStringLiteral("files.db")));
    QCOMPARE(direct.count(), 1);
}

void TestFileDataMgr::persistedAcrossReopening()
{
    const QString dataDir = m_dir->filePath(QStringLiteral("data"));
    const auto a = record(QStringLiteral("aa"), QStringLiteral("/cache/aa.jpg"), false, 2048);
    const auto t = record(QStringLiteral("tt"), QStringLiteral("/cache/aa_thumb.jpg"), true, 64);
    {
        storage::UserStorageProvider provider(dataDir, 42);
        QVERIFY(provider.isOpen());
        FileManager manager(nullptr, &provider);
        QVERIFY(manager.fileDataMgr()->isPersistent());
        QVERIFY(manager.fileDataMgr()->saveFileInfos({ a, t }));
    }
    {
        storage::UserStorageProvider provider(dataDir, 42);
        QVERIFY(provider.isOpen());
        FileManager manager(nullptr, &provider);
        const auto readA = manager.fileDataMgr()->fileInfo(QStringLiteral("aa"));
        const auto readT = manager.fileDataMgr()->fileInfo(QStringLiteral("tt"));
        QVERIFY(readA && readT);
        QCOMPARE(*readA, *a);
        QCOMPARE(*readT, *t);
        QVERIFY(manager.fileDataMgr()->removeFileInfo(QStringLiteral("aa")));
    }
    {
        storage::UserStorageProvider provider(dataDir, 42);
        FileDataMgr mgr(provider.databasePath());
        QVERIFY(!mgr.fileInfo(QStringLiteral("aa")));
        QVERIFY(mgr.fileInfo(QStringLiteral("tt")));
    }
    // Another account's database holds none of them.
    storage::UserStorageProvider other(dataDir, 43);
    FileDataMgr mgr(other.databasePath());
    QVERIFY(!mgr.fileInfo(QStringLiteral("tt")));
}

void TestFileDataMgr::sharesTheAccountDatabase()
{
    // The file table lives beside the reminder table; both keep working.
    const QString dataDir = m_dir->filePath(QStringLiteral("data"));
    storage::UserStorageProvider provider(dataDir, 7);
    FileDataMgr mgr(provider.databasePath());
    storage::ReminderInfo info;
    info.id = QStringLiteral("7_1");
    info.text = QStringLiteral("with a file");
    QVERIFY(provider.reminderStorage()->save(info));
    QVERIFY(mgr.saveFileInfos({ record(QStringLiteral("f"), QStringLiteral("/f"), false) }));
    QCOMPARE(provider.reminderStorage()->allInfos().size(), 1);
    QVERIFY(mgr.fileInfo(QStringLiteral("f")));
}

void TestFileDataMgr::unopenableDatabaseKeepsRecordsInMemory()
{
    // The database's folder is a regular file.
    const QString blocker = m_dir->filePath(QStringLiteral("blocker"));
    QVERIFY(filetest::writeFile(blocker, "x"));
    FileDataMgr mgr(blocker + QStringLiteral("/files.db"));
    QVERIFY(!mgr.isPersistent());
    QVERIFY(mgr.saveFileInfos({ record(QStringLiteral("m"), QStringLiteral("/m"), false) }));
    QVERIFY(mgr.fileInfo(QStringLiteral("m")));
    QVERIFY(mgr.removeFileInfo(QStringLiteral("m")));
    QVERIFY(!mgr.fileInfo(QStringLiteral("m")));
}

void TestFileDataMgr::memoryOnlyWithoutPath()
{
    FileDataMgr mgr;
    QVERIFY(!mgr.isPersistent());
    const auto a = record(QStringLiteral("a"), QStringLiteral("/a"), true);
    QVERIFY(mgr.saveFileInfos({ a }));
    const auto read = mgr.fileInfo(QStringLiteral("a"));
    QVERIFY(read);
    QCOMPARE(*read, *a);
    // The manager hands out copies.
    read->path = QStringLiteral("/changed");
    QCOMPARE(mgr.fileInfo(QStringLiteral("a"))->path, QStringLiteral("/a"));
}

void TestFileDataMgr::recordsOfContent()
{
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("fileId"), QStringLiteral("src-id"));
    fields.insert(QStringLiteral("sha256"), QStringLiteral("00ff"));
    fields.insert(QStringLiteral("name"), QStringLiteral("n.png"));
    fields.insert(QStringLiteral("path"), QStringLiteral("/p/n.png"));
    fields.insert(QStringLiteral("size"), 55);
    fields.insert(QStringLiteral("thumbPath"), QStringLiteral("/p/n_thumb.png"));
    fields.insert(QStringLiteral("thumbFileId"), QStringLiteral("thumb-id"));
    const auto content = deserializeContent(fields, 2, 8, nullptr);
    const auto records = FileDataMgr::recordsOf(content.data());
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0)->fileId, QStringLiteral("src-id"));
    QCOMPARE(records.at(0)->path, QStringLiteral("/p/n.png"));
    QCOMPARE(records.at(0)->size, qint64(55));
    QCOMPARE(records.at(0)->sha256, QStringLiteral("00ff"));
    QVERIFY(!records.at(0)->thumb);
    QCOMPARE(records.at(1)->fileId, QStringLiteral("thumb-id"));
    QCOMPARE(records.at(1)->path, QStringLiteral("/p/n_thumb.png"));
    QVERIFY(records.at(1)->thumb);

    ContentItem text(8, nullptr);
    text.setType(1);
    QVERIFY(FileDataMgr::recordsOf(&text).isEmpty());
    QVERIFY(FileDataMgr::recordsOf(nullptr).isEmpty());
}

QTEST_GUILESS_MAIN(TestFileDataMgr)
#include "tst_filedatamgr.moc"
