// When a SqliteFile's write-ahead log reaches the main file: by the commit
// that crosses a bound, or when its owner asks (the account storage asks
// once the writes pause, so that a burst of writes never waits for a
// checkpoint).

#include "sqlitefile.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

class TestSqliteFile : public QObject
{
    Q_OBJECT

private slots:
    void aCommitPastItsBoundCheckpoints_data();
    void aCommitPastItsBoundCheckpoints();
    void anAskedCheckpointCopiesTheLogAndCutsItBack();
    void pagesStayInTheLogUntilAsked();
    void aReaderHoldsBackWhatItStillReads();
    void filesOfOnePathShareTheirLog();
};

namespace {

constexpr qint64 kPage = 4096;

SqliteSchema blobSchema()
{
    SqliteSchema schema;
    schema.create = "CREATE TABLE IF NOT EXISTS blobs(id INTEGER PRIMARY KEY, data BLOB NOT NULL)";
    schema.tables = { { "blobs", "SELECT id, data FROM blobs" } };
    schema.version = 1;
    return schema;
}

// A file of blobs, on this thread only.
struct BlobFile : SqliteFile
{
    explicit BlobFile(const QString& path, Checkpoints checkpoints = Checkpoints::WhenAsked)
        : SqliteFile(path, QStringLiteral("test"), blobSchema(), Threading::Single, checkpoints)
    {
    }
};

// One committed write of about `pages` pages.
bool writePages(SqliteFile& file, int pages)
{
    const QByteArray sql = "INSERT INTO blobs(data) VALUES(zeroblob(" + QByteArray::number(qint64(pages) * kPage) + "))";
    return file.exec(sql.constData());
}

// The first column of the statement's one row; -1 when it fails.
qint64 single(SqliteFile& file, const char* sql)
{
    sqlite3_stmt* stmt = file.statement(sql);
    if (!stmt || sqlite3_step(stmt) != SQLITE_ROW)
        return -1;
    const qint64 value = sqlite3_column_int64(stmt, 0);
    sqlite3_reset(stmt);
    return value;
}

qint64 sizeOf(const QString& path)
{
    return QFileInfo(path).size();
}

} // namespace

void TestSqliteFile::aCommitPastItsBoundCheckpoints_data()
{
    QTest::addColumn<int>("checkpoints");
    QTest::addColumn<int>("pages");
    QTest::addColumn<bool>("copiedByTheCommit");

    const int byCommits = int(SqliteFile::Checkpoints::ByCommits);
    const int whenAsked = int(SqliteFile::Checkpoints::WhenAsked);
    QTest::newRow("by commits, below the bound") << byCommits << SqliteFile::kCommitCheckpointPages / 2 << false;
    QTest::newRow("by commits, past the bound") << byCommits << SqliteFile::kCommitCheckpointPages + 100 << true;
    QTest::newRow("when asked, past the commits' bound")
        << whenAsked << SqliteFile::kCommitCheckpointPages + 100 << false;
}

void TestSqliteFile::aCommitPastItsBoundCheckpoints()
{
    QFETCH(int, checkpoints);
    QFETCH(int, pages);
    QFETCH(bool, copiedByTheCommit);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("blobs.db"));
    BlobFile file(path, SqliteFile::Checkpoints(checkpoints));
    QVERIFY(file.isOpen());
    const qint64 before = sizeOf(path);

    QVERIFY(writePages(file, pages));
    if (copiedByTheCommit) {
        QCOMPARE(file.uncheckpointedPages(), 0);
        QVERIFY2(sizeOf(path) >= before + pages * kPage, qPrintable(QString::number(sizeOf(path))));
    } else {
        QVERIFY2(file.uncheckpointedPages() >= pages, qPrintable(QString::number(file.uncheckpointedPages())));
        QCOMPARE(sizeOf(path), before);
    }
}

void TestSqliteFile::anAskedCheckpointCopiesTheLogAndCutsItBack()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("blobs.db"));
    const QString log = path + QStringLiteral("-wal");
    BlobFile file(path);
    QVERIFY(file.isOpen());
    const int pages = int(SqliteFile::kLogSizeLimit / kPage) + 1000;
    QVERIFY(writePages(file, pages));
    QVERIFY(sizeOf(log) > SqliteFile::kLogSizeLimit);

    QVERIFY(file.checkpoint());
    QCOMPARE(file.uncheckpointedPages(), 0);
    QVERIFY(sizeOf(path) >= pages * kPage);

    // The next write starts the log over and cuts it back.
    QVERIFY(writePages(file, 1));
    QVERIFY2(sizeOf(log) <= SqliteFile::kLogSizeLimit, qPrintable(QString::number(sizeOf(log))));
    QVERIFY(file.uncheckpointedPages() > 0);
    QVERIFY(file.uncheckpointedPages() < 10);

    // What was copied is read back whole after a clean close and an open.
    file.close();
    BlobFile reopened(path);
    QVERIFY(reopened.isOpen());
    QVERIFY(!reopened.fullyChecked());
    QVERIFY(reopened.movedAsidePath().isEmpty());
    QCOMPARE(single(reopened, "SELECT sum(length(data)) FROM blobs"), qint64(pages + 1) * kPage);
}

void TestSqliteFile::pagesStayInTheLogUntilAsked()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("blobs.db"));
    BlobFile file(path);
    QVERIFY(file.isOpen());
    const qint64 before = sizeOf(path);
    int written = 0;
    for (int i = 0; i < 20; ++i) {
        QVERIFY(writePages(file, 100));
        written += 100;
        QVERIFY(file.uncheckpointedPages() >= written);
    }
    QCOMPARE(sizeOf(path), before);
    QVERIFY(file.checkpoint());
    QCOMPARE(file.uncheckpointedPages(), 0);
    QVERIFY(sizeOf(path) >= before + written * kPage);
    // Nothing left to copy: asking again is harmless.
    QVERIFY(file.checkpoint());
    QCOMPARE(file.uncheckpointedPages(), 0);
}

void TestSqliteFile::aReaderHoldsBackWhatItStillReads()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("blobs.db"));
    BlobFile writer(path);
    BlobFile reader(path, SqliteFile::Checkpoints::ByCommits);
    QVERIFY(writer.isOpen() && reader.isOpen());
    QVERIFY(writePages(writer, 100));

    // The reader's snapshot holds everything written so far.
    QVERIFY(reader.exec("BEGIN"));
    QCOMPARE(single(reader, "SELECT count(*) FROM blobs"), qint64(1));
    QVERIFY(writePages(writer, 200));
    QVERIFY(writer.checkpoint());
    // What came after the snapshot stays in the log.
    const int left = writer.uncheckpointedPages();
    QVERIFY2(left >= 200 && left < 300, qPrintable(QString::number(left)));

    QVERIFY(reader.exec("COMMIT"));
    QVERIFY(writer.checkpoint());
    QCOMPARE(writer.uncheckpointedPages(), 0);
    QCOMPARE(single(reader, "SELECT count(*) FROM blobs"), qint64(2));
}

void TestSqliteFile::filesOfOnePathShareTheirLog()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("blobs.db"));
    BlobFile first(path);
    // The same file by another spelling of its path.
    BlobFile second(dir.path() + QStringLiteral("/./blobs.db"));
    QVERIFY(first.isOpen() && second.isOpen());
    const auto committedBefore = second.lastCommit();

    // A commit through one is seen by the other: the pause after it and
    // the pages it left.
    QVERIFY(writePages(first, 300));
    QVERIFY(second.lastCommit() > committedBefore);
    QCOMPARE(second.uncheckpointedPages(), first.uncheckpointedPages());
    QVERIFY(second.uncheckpointedPages() >= 300);

    // A checkpoint through the other copies them for both.
    QVERIFY(second.checkpoint());
    QCOMPARE(first.uncheckpointedPages(), 0);

    // Another file has a log of its own.
    BlobFile other(dir.filePath(QStringLiteral("other.db")));
    QVERIFY(other.isOpen());
    QVERIFY(writePages(first, 50));
    QCOMPARE(other.uncheckpointedPages(), 0);
}

QTEST_GUILESS_MAIN(TestSqliteFile)
#include "tst_sqlitefile.moc"
