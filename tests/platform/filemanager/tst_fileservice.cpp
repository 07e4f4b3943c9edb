#include "fileservice.h"
#include "filetesthelpers.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <vector>

using filetest::kWaitMs;
using filetest::patternBytes;
using filetest::sha256Hex;
using filetest::writeFile;

class TestFileService : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void storeReadRemove();
    void contentAddressedLayout();
    void sameBytesStoredOnce();
    void hashMismatchRefused();
    void malformedIdsRefused_data();
    void malformedIdsRefused();
    void uploadFromFileIsStreamed();
    void uploadFromMissingFileFails();
    void emptyBytesAreAFile();
    void failNextUploads();
    void holdAndRelease();
    void holdOffReleasesAll();
    void releaseLetsOnlyHeldUploadsGo();
    void heldUploadCancelled();
    void delayedUploadCancelled();
    void shortDelayCompletes();
    void cancelledWhileStreaming();
    void reopenFindsStoredFiles();
    void concurrentUploads();

private:
    int filesOnDisk() const;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FileService> m_service;
};

void TestFileService::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_service = std::make_unique<FileService>(m_dir->filePath(QStringLiteral("service")));
}

void TestFileService::cleanup()
{
    m_service.reset();
    m_dir.reset();
}

int TestFileService::filesOnDisk() const
{
    int n = 0;
    QDirIterator it(m_service->directory(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        ++n;
    }
    return n;
}

void TestFileService::storeReadRemove()
{
    const QByteArray bytes("hello, file service");
    const QString id = sha256Hex(bytes);
    QVERIFY(!m_service->contains(id));
    QVERIFY(m_service->read(id).isNull());
    QCOMPARE(m_service->uploadData(id, bytes), FileService::UploadOk);
    QVERIFY(m_service->contains(id));
    QCOMPARE(m_service->read(id), bytes);
    QCOMPARE(m_service->count(), 1);
    QVERIFY(m_service->remove(id));
    QVERIFY(!m_service->contains(id));
    QVERIFY(m_service->read(id).isNull());
    QCOMPARE(m_service->count(), 0);
    QCOMPARE(filesOnDisk(), 0);
    QVERIFY(!m_service->remove(id));
}

void TestFileService::contentAddressedLayout()
{
    const QByteArray bytes = patternBytes(5000, 1);
    const QString id = sha256Hex(bytes);
    QCOMPARE(m_service->uploadData(id, bytes), FileService::UploadOk);
    const QString expected = QDir(m_service->directory()).filePath(id.left(2) + QLatin1Char('/') + id);
    QCOMPARE(m_service->storedPath(id), expected);
    QVERIFY(QFileInfo(expected).isFile());
    QCOMPARE(filetest::readAll(expected), bytes);
}

void TestFileService::sameBytesStoredOnce()
{
    const QByteArray a = patternBytes(4096, 2);
    const QByteArray b = patternBytes(4096, 3);
    QCOMPARE(m_service->uploadData(sha256Hex(a), a), FileService::UploadOk);
    QCOMPARE(m_service->uploadData(sha256Hex(a), a), FileService::UploadOk);
    const QString path = m_dir->filePath(QStringLiteral("a.bin"));
    QVERIFY(writeFile(path, a));
    QCOMPARE(m_service->upload(sha256Hex(a), path), FileService::UploadOk);
    QCOMPARE(m_service->count(), 1);
    QCOMPARE(filesOnDisk(), 1);
    QCOMPARE(m_service->uploadData(sha256Hex(b), b), FileService::UploadOk);
    QCOMPARE(m_service->count(), 2);
    QCOMPARE(filesOnDisk(), 2);
    QVERIFY(sha256Hex(a) != sha256Hex(b));
}

void TestFileService::hashMismatchRefused()
{
    const QByteArray claimed("what the id says");
    const QByteArray sent("what was actually sent");
    const QString id = sha256Hex(claimed);
    QCOMPARE(m_service->uploadData(id, sent), FileService::UploadHashMismatch);
    QVERIFY(!m_service->contains(id));
    QCOMPARE(m_service->count(), 0);
    QCOMPARE(filesOnDisk(), 0);

    // A stored file is not replaced by a mismatching upload.
    QCOMPARE(m_service->uploadData(id, claimed), FileService::UploadOk);
    QCOMPARE(m_service->uploadData(id, sent), FileService::UploadHashMismatch);
    QCOMPARE(m_service->read(id), claimed);
}

void TestFileService::malformedIdsRefused_data()
{
    const QString good = sha256Hex("x");
    QTest::addColumn<QString>("id");
    QTest::newRow("empty") << QString();
    QTest::newRow("upper case") << good.toUpper();
    QTest::newRow("short") << good.left(63);
    QTest::newRow("long") << good + QLatin1Char('0');
    QTest::newRow("path") << QStringLiteral("../") + good.mid(3);
    QTest::newRow("not hex") << QStringLiteral("g") + good.mid(1);
}

void TestFileService::malformedIdsRefused()
{
    QFETCH(QString, id);
    QCOMPARE(m_service->uploadData(id, "x"), FileService::UploadFailed);
    QVERIFY(!m_service->contains(id));
    QVERIFY(m_service->storedPath(id).isEmpty());
    QCOMPARE(m_service->count(), 0);
}

void TestFileService::uploadFromFileIsStreamed()
{
    const QByteArray bytes = patternBytes(2 * 1024 * 1024 + 5, 9);
    const QString path = m_dir->filePath(QStringLiteral("big.bin"));
    QVERIFY(writeFile(path, bytes));
    const QString id = sha256Hex(bytes);
    QCOMPARE(m_service->upload(id, path), FileService::UploadOk);
    QCOMPARE(m_service->read(id), bytes);
}

void TestFileService::uploadFromMissingFileFails()
{
    QCOMPARE(m_service->upload(sha256Hex("x"), m_dir->filePath(QStringLiteral("missing"))),
             FileService::UploadFailed);
    QCOMPARE(m_service->count(), 0);
}

void TestFileService::emptyBytesAreAFile()
{
    const QString id = sha256Hex(QByteArray());
    QCOMPARE(m_service->uploadData(id, QByteArray()), FileService::UploadOk);
    QVERIFY(m_service->contains(id));
    const QByteArray back = m_service->read(id);
    QVERIFY(!back.isNull());
    QVERIFY(back.isEmpty());
}

void TestFileService::failNextUploads()
{
    const QByteArray bytes("retry me");
    const QString id = sha256Hex(bytes);
    m_service->failNextUploads(2);
    QCOMPARE(m_service->uploadData(id, bytes), FileService::UploadFailed);
    QVERIFY(!m_service->contains(id));
    QCOMPARE(m_service->uploadData(id, bytes), FileService::UploadFailed);
    QVERIFY(!m_service->contains(id));
    QCOMPARE(m_service->uploadData(id, bytes), FileService::UploadOk);
    QVERIFY(m_service->contains(id));
    QCOMPARE(m_service->uploadAttempts(), 3);
}

namespace {

// Runs one upload on its own thread and keeps the result.
class UploadThread
{
public:
    UploadThread(FileService* service, const QByteArray& bytes, std::atomic<bool>* cancel = nullptr)
    {
        m_thread.reset(QThread::create([this, service, bytes, cancel] {
            FileService::CancelCheck check;
            if (cancel)
                check = [cancel] { return cancel->load(); };
            m_result.store(service->uploadData(sha256Hex(bytes), bytes, check));
        }));
        m_thread->start();
    }
    ~UploadThread() { m_thread->wait(); }
    bool wait() { return m_thread->wait(QDeadlineTimer(kWaitMs)); }
    int result() const { return m_result.load(); }

private:
    std::unique_ptr<QThread> m_thread;
    std::atomic<int> m_result { -1 };
};

} // namespace

void TestFileService::holdAndRelease()
{
    const QByteArray bytes("held for a while");
    m_service->holdUploads(true);
    UploadThread upload(m_service.get(), bytes);
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    QCOMPARE(m_service->heldCount(), 1);
    QVERIFY(!m_service->contains(sha256Hex(bytes)));
    QCOMPARE(upload.result(), -1);
    m_service->releaseHeld();
    QVERIFY(upload.wait());
    QCOMPARE(upload.result(), int(FileService::UploadOk));
    QVERIFY(m_service->contains(sha256Hex(bytes)));
    QCOMPARE(m_service->heldCount(), 0);
}

void TestFileService::holdOffReleasesAll()
{
    m_service->holdUploads(true);
    UploadThread a(m_service.get(), "first");
    UploadThread b(m_service.get(), "second");
    QVERIFY(m_service->waitForHeld(2, kWaitMs));
    m_service->holdUploads(false);
    QVERIFY(a.wait());
    QVERIFY(b.wait());
    QCOMPARE(a.result(), int(FileService::UploadOk));
    QCOMPARE(b.result(), int(FileService::UploadOk));
    QCOMPARE(m_service->count(), 2);
    // Not holding any more: an upload goes straight through.
    QCOMPARE(m_service->uploadData(sha256Hex("third"), "third"), FileService::UploadOk);
}

void TestFileService::releaseLetsOnlyHeldUploadsGo()
{
    m_service->holdUploads(true);
    {
        UploadThread a(m_service.get(), "one");
        QVERIFY(m_service->waitForHeld(1, kWaitMs));
        m_service->releaseHeld();
        QVERIFY(a.wait());
        QCOMPARE(a.result(), int(FileService::UploadOk));
    }
    // Still holding: the next upload waits for its own release.
    UploadThread b(m_service.get(), "two");
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    QVERIFY(!m_service->contains(sha256Hex("two")));
    m_service->releaseHeld();
    QVERIFY(b.wait());
    QCOMPARE(b.result(), int(FileService::UploadOk));
}

void TestFileService::heldUploadCancelled()
{
    std::atomic<bool> cancel { false };
    m_service->holdUploads(true);
    UploadThread upload(m_service.get(), "cancel me", &cancel);
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    cancel.store(true);
    QVERIFY(upload.wait());
    QCOMPARE(upload.result(), int(FileService::UploadCancelled));
    QVERIFY(!m_service->contains(sha256Hex("cancel me")));
    QCOMPARE(m_service->heldCount(), 0);
    QCOMPARE(filesOnDisk(), 0);
}

void TestFileService::delayedUploadCancelled()
{
    // A delay far beyond the test's limits: only the cancellation ends it.
    std::atomic<bool> cancel { false };
    m_service->setUploadDelay(24 * 3600 * 1000);
    UploadThread upload(m_service.get(), "slow", &cancel);
    cancel.store(true);
    QVERIFY(upload.wait());
    QCOMPARE(upload.result(), int(FileService::UploadCancelled));
    QVERIFY(!m_service->contains(sha256Hex("slow")));
}

void TestFileService::shortDelayCompletes()
{
    m_service->setUploadDelay(20);
    QCOMPARE(m_service->uploadData(sha256Hex("slowish"), "slowish"), FileService::UploadOk);
    m_service->setUploadDelay(0);
    QVERIFY(m_service->contains(sha256Hex("slowish")));
}

void TestFileService::cancelledWhileStreaming()
{
    // The check says "go" for the gate and the first chunks, then "stop".
    const QByteArray bytes = patternBytes(3 * 1024 * 1024, 4);
    const QString path = m_dir->filePath(QStringLiteral("s.bin"));
    QVERIFY(writeFile(path, bytes));
    int asked = 0;
    const auto check = [&asked] { return ++asked > 3; };
    QCOMPARE(m_service->upload(sha256Hex(bytes), path, check), FileService::UploadCancelled);
    QVERIFY(asked > 3);
    QVERIFY(!m_service->contains(sha256Hex(bytes)));
    QCOMPARE(filesOnDisk(), 0);
}

void TestFileService::reopenFindsStoredFiles()
{
    const QByteArray a("kept across restarts");
    QCOMPARE(m_service->uploadData(sha256Hex(a), a), FileService::UploadOk);
    const QString dir = m_service->directory();
    m_service.reset();
    // An upload that died half-way left a temporary file behind.
    QVERIFY(writeFile(QDir(dir).filePath(QStringLiteral("incoming/upload-dead")), "partial"));
    m_service = std::make_unique<FileService>(dir);
    QCOMPARE(m_service->count(), 1);
    QCOMPARE(m_service->read(sha256Hex(a)), a);
    QCOMPARE(filesOnDisk(), 1);
}

void TestFileService::concurrentUploads()
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 25;
    std::vector<std::unique_ptr<QThread>> threads;
    std::atomic<int> failures { 0 };
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([this, t, &failures] {
            for (int i = 0; i < kRounds; ++i) {
                // Half the files are shared by every thread.
                const QByteArray bytes = patternBytes(3000, i % 2 == 0 ? i : 1000 * t + i);
                if (m_service->uploadData(sha256Hex(bytes), bytes) != FileService::UploadOk)
                    ++failures;
                if (!m_service->contains(sha256Hex(bytes)))
                    ++failures;
            }
        }));
    }
    for (auto& t : threads)
        t->start();
    for (auto& t : threads)
        QVERIFY(t->wait(QDeadlineTimer(kWaitMs)));
    QCOMPARE(failures.load(), 0);
    const int shared = (kRounds + 1) / 2;
    const int own = kThreads * (kRounds / 2);
    QCOMPARE(m_service->count(), shared + own);
    QCOMPARE(filesOnDisk(), shared + own);
}

QTEST_GUILESS_MAIN(TestFileService)
#include "tst_fileservice.moc"
