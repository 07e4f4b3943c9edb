#include "basefile.h"
#include "contentitem.h"
#include "deserializecontent.h"
#include "filedatamgr.h"
#include "fileitem.h"
#include "filemanager.h"
#include "fileservicecmd.h"
#include "fileservice.h"
#include "filetesthelpers.h"
#include "fileutil.h"
#include "mediasenditem.h"
#include "mediasendermodel.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <memory>
#include <vector>

using filetest::kWaitMs;
using filetest::patternBytes;
using filetest::readAll;
using filetest::sha256Hex;
using filetest::UploadRecorder;
using filetest::writeFile;

namespace {

using Calls = QList<QPair<int, int>>;

Calls doneCalls()
{
    return { qMakePair(0, 0), qMakePair(1, 0) };
}

Calls finalOnly(int code)
{
    return { qMakePair(1, code) };
}

} // namespace

class TestFileManager : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void nothingRegisteredAtFirst();
    void addAndRemove();
    void emptyIdIgnored();
    void addingTwiceRegistersOnce();
    void removingUnknownIsHarmless();
    void idsAreExact_data();
    void idsAreExact();
    void concurrentAddAndRemove();

    // Uploads.
    void makeFilterNeedsAFileWithSource();
    void uploadSucceeds();
    void uploadProgressRisesToTheWhole();
    void uploadOfAPreparedImage();
    void uploadReturnsAtOnce();
    void uploadsRunOnTheWorkerThread();
    void serviceFailureReportsFailed();
    void unreadableFileReportsFailed();
    void changedFileReportsFailed();
    void missingFileIdReportsFailed();
    void noServiceReportsFailed();
    void cancelWhileHeld();
    void cancelQueuedUpload();
    void cancelUnknownIdDoesNothing();
    void nullFilterIgnored();
    void callbackMayStartTheNextUpload();
    void destructorCancelsRunningUpload();

    // Records.
    void removeSourceRecordDeletesOnlyCacheCopies();
    void removeThumbnailRecord();
    void removalNeverFollowsLinksOut();
    void fileServiceCmdDeletes();

private:
    QSharedPointer<ContentItem> fileContent(const QString& name, const QByteArray& bytes,
                                            const QByteArray& thumbBytes = QByteArray());
    QSharedPointer<UploadMultiFileFilter> startUpload(FileManager& fm,
                                                      const QSharedPointer<ContentItem>& content,
                                                      const QString& remindId,
                                                      UploadRecorder& recorder);
    void registerIds(FileManager& fm, const QSharedPointer<ContentItem>& content);
    bool allRegistered(FileManager& fm, const QSharedPointer<ContentItem>& content);
    bool noneRegistered(FileManager& fm, const QSharedPointer<ContentItem>& content);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FileService> m_service;
};

void TestFileManager::nothingRegisteredAtFirst()
{
    FileManager fm;
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-1")));
    QVERIFY(!fm.isUploadRegistered(QString()));
}

void TestFileManager::addAndRemove()
{
    FileManager fm;
    fm.addUploadId(QStringLiteral("f-1"));
    fm.addUploadId(QStringLiteral("f-2"));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-2")));
    fm.removeUploadId(QStringLiteral("f-1"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-1")));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-2")));
    fm.removeUploadId(QStringLiteral("f-2"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-2")));
}

void TestFileManager::emptyIdIgnored()
{
    FileManager fm;
    fm.addUploadId(QString());
    QVERIFY(!fm.isUploadRegistered(QString()));
    fm.addUploadId(QStringLiteral(""));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("")));
    fm.addUploadId(QStringLiteral("f-1"));
    fm.removeUploadId(QString());
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
}

void TestFileManager::addingTwiceRegistersOnce()
{
    FileManager fm;
    fm.addUploadId(QStringLiteral("f-1"));
    fm.addUploadId(QStringLiteral("f-1"));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
    fm.removeUploadId(QStringLiteral("f-1"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-1")));
}

void TestFileManager::removingUnknownIsHarmless()
{
    FileManager fm;
    fm.removeUploadId(QStringLiteral("never-added"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("never-added")));
    fm.addUploadId(QStringLiteral("f-1"));
    fm.removeUploadId(QStringLiteral("never-added"));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
}

void TestFileManager::idsAreExact_data()
{
    QTest::addColumn<QString>("added");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<bool>("registered");
    QTest::newRow("same") << "abc" << "abc" << true;
    QTest::newRow("case differs") << "abc" << "ABC" << false;
    QTest::newRow("prefix") << "abc" << "ab" << false;
    QTest::newRow("longer") << "abc" << "abcd" << false;
    QTest::newRow("space") << "abc" << "abc " << false;
    QTest::newRow("unicode") << QStringLiteral("dätei-1") << QStringLiteral("dätei-1") << true;
}

void TestFileManager::idsAreExact()
{
    QFETCH(QString, added);
    QFETCH(QString, asked);
    QFETCH(bool, registered);
    FileManager fm;
    fm.addUploadId(added);
    QCOMPARE(fm.isUploadRegistered(asked), registered);
    QVERIFY(fm.isUploadRegistered(added));
}

void TestFileManager::concurrentAddAndRemove()
{
    FileManager fm;
    constexpr int kThreads = 8;
    constexpr int kIds = 400;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([t, &fm] {
            for (int i = 0; i < kIds; ++i) {
                const QString id = QStringLiteral("t%1-f%2").arg(t).arg(i);
                fm.addUploadId(id);
                if (i % 2 == 1)
                    fm.removeUploadId(id);
            }
        }));
    }
    for (auto& t : threads)
        t->start();
    for (auto& t : threads)
        QVERIFY(t->wait());
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kIds; ++i) {
            const QString id = QStringLiteral("t%1-f%2").arg(t).arg(i);
            QCOMPARE(fm.isUploadRegistered(id), i % 2 == 0);
        }
    }
}

void TestFileManager::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_service = std::make_unique<FileService>(m_dir->filePath(QStringLiteral("service")));
    QVERIFY(QDir().mkpath(m_dir->filePath(QStringLiteral("cache"))));
    MediaSenderModel::getInstance()->setCacheDirectory(m_dir->filePath(QStringLiteral("cache")));
}

void TestFileManager::cleanup()
{
    MediaSenderModel::getInstance()->setCacheDirectory(QString());
    m_service.reset();
    m_dir.reset();
}

// A file content whose ids are the SHA-256 of its bytes, as the media
// parser makes them; with thumbBytes it also has a thumbnail.
QSharedPointer<ContentItem> TestFileManager::fileContent(const QString& name, const QByteArray& bytes,
                                                         const QByteArray& thumbBytes)
{
    const QString path = m_dir->filePath(name);
    if (!writeFile(path, bytes))
        return {};
    QSharedPointer<FileItem> item(new FileItem(8, nullptr));
    item->setType(6);
    item->setSourceFile(QSharedPointer<BaseFile>(
        new BaseFile(sha256Hex(bytes), name, path, bytes.size())));
    if (!thumbBytes.isNull()) {
        const QString thumbPath = m_dir->filePath(name + QStringLiteral(".thumb"));
        if (!writeFile(thumbPath, thumbBytes))
            return {};
        item->setThumbnailFile(QSharedPointer<BaseFile>(
            new BaseFile(sha256Hex(thumbBytes), name + QStringLiteral(".thumb"), thumbPath,
                         thumbBytes.size())));
    }
    return item;
}

QSharedPointer<UploadMultiFileFilter> TestFileManager::startUpload(
    FileManager& fm, const QSharedPointer<ContentItem>& content, const QString& remindId,
    UploadRecorder& recorder)
{
    auto filter = fm.makeFilter(content);
    if (!filter)
        return {};
    filter->callback = recorder.callback();
    filter->remindId = remindId;
    fm.uploadMultiFile(filter, 0);
    return filter;
}

void TestFileManager::registerIds(FileManager& fm, const QSharedPointer<ContentItem>& content)
{
    const auto* file = qobject_cast<FileItem*>(content.data());
    if (file->thumbnailFilePtr())
        fm.addUploadId(file->thumbnailFilePtr()->fileId());
    fm.addUploadId(file->sourceFilePtr()->fileId());
}

bool TestFileManager::allRegistered(FileManager& fm, const QSharedPointer<ContentItem>& content)
{
    const auto* file = qobject_cast<FileItem*>(content.data());
    const bool thumb = !file->thumbnailFilePtr() || fm.isUploadRegistered(file->thumbnailFilePtr()->fileId());
    return thumb && fm.isUploadRegistered(file->sourceFilePtr()->fileId());
}

bool TestFileManager::noneRegistered(FileManager& fm, const QSharedPointer<ContentItem>& content)
{
    const auto* file = qobject_cast<FileItem*>(content.data());
    const bool thumb = file->thumbnailFilePtr() && fm.isUploadRegistered(file->thumbnailFilePtr()->fileId());
    return !thumb && !fm.isUploadRegistered(file->sourceFilePtr()->fileId());
}

void TestFileManager::makeFilterNeedsAFileWithSource()
{
    FileManager fm(m_service.get());
    QVERIFY(!fm.makeFilter(QSharedPointer<ContentItem>()));

    QSharedPointer<ContentItem> text(new ContentItem(8, nullptr));
    text->setType(1);
    text->setContent(QStringLiteral("just words"), {});
    QVERIFY(!fm.makeFilter(text));

    QSharedPointer<ContentItem> noSource(new FileItem(8, nullptr));
    noSource->setType(6);
    QVERIFY(!fm.makeFilter(noSource));

    const auto content = fileContent(QStringLiteral("f.bin"), "bytes");
    const auto filter = fm.makeFilter(content);
    QVERIFY(filter);
    QCOMPARE(filter->content, content);
    QCOMPARE(filter->flag, 0);
    QVERIFY(filter->remindId.isEmpty());
    QVERIFY(!filter->callback);
}

void TestFileManager::uploadSucceeds()
{
    FileManager fm(m_service.get());
    const QByteArray bytes = patternBytes(700 * 1024, 21);
    const QByteArray thumb = patternBytes(3000, 22);
    const auto content = fileContent(QStringLiteral("doc.bin"), bytes, thumb);
    QVERIFY(content);
    registerIds(fm, content);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("7_1"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), doneCalls());
    QCOMPARE(m_service->read(sha256Hex(bytes)), bytes);
    QCOMPARE(m_service->read(sha256Hex(thumb)), thumb);
    QCOMPARE(m_service->count(), 2);
    QVERIFY(noneRegistered(fm, content));
    QCOMPARE(fm.activeUploadCount(), 0);
}

void TestFileManager::uploadProgressRisesToTheWhole()
{
    FileManager fm(m_service.get());
    // Several chunks of the service, and a thumbnail before the file.
    const QByteArray bytes = patternBytes(3 * 1024 * 1024 + 123, 31);
    const QByteArray thumb = patternBytes(5000, 32);
    const auto content = fileContent(QStringLiteral("big.bin"), bytes, thumb);
    QVERIFY(content);
    registerIds(fm, content);
    QSignalSpy progress(&fm, &FileManager::uploadProgress);
    QSignalSpy ended(&fm, &FileManager::uploadEnded);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("7_9"), recorder));
    QVERIFY(recorder.waitFinished());
    QTRY_COMPARE(ended.count(), 1);
    QCOMPARE(ended.at(0).at(0).toString(), QStringLiteral("7_9"));
    QCOMPARE(ended.at(0).at(1).toInt(), int(FileManager::UploadDone));

    const qint64 total = bytes.size() + thumb.size();
    QVERIFY2(progress.count() >= 3, qPrintable(QString::number(progress.count())));
    qint64 last = -1;
    for (const QList<QVariant>& args : std::as_const(progress)) {
        QCOMPARE(args.at(0).toString(), QStringLiteral("7_9"));
        QCOMPARE(args.at(2).toLongLong(), total);
        QVERIFY(args.at(1).toLongLong() > last);
        last = args.at(1).toLongLong();
    }
    QCOMPARE(progress.constFirst().at(1).toLongLong(), 0);
    QCOMPARE(last, total);
    // At most one report per whole percent (and the first).
    QVERIFY(progress.count() <= 102);
}

void TestFileManager::uploadOfAPreparedImage()
{
    // The whole chain: prepare, parse, build the content, upload.
    QImage image(120, 90, QImage::Format_ARGB32);
    image.fill(QColor(200, 10, 10, 200));
    const QString src = m_dir->filePath(QStringLiteral("photo.png"));
    QVERIFY(image.save(src));
    std::unique_ptr<MediaSendItem> item(MediaSenderModel::getInstance()->mediaFormat(src, 3));
    QVERIFY(item);
    MediaSendData data = item->mediaData();
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, 3, fields, code));
    const auto content = deserializeContent(fields, data.messageType, 8, nullptr);

    FileManager fm(m_service.get());
    registerIds(fm, content);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_1"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), doneCalls());
    QCOMPARE(m_service->read(fields.value("fileId").toString()), readAll(data.path));
    QCOMPARE(m_service->read(fields.value("thumbFileId").toString()), readAll(data.thumbPath));
    QVERIFY(noneRegistered(fm, content));
}

void TestFileManager::uploadReturnsAtOnce()
{
    // While the service holds the upload, uploadMultiFile has long returned
    // and nothing has been reported.
    FileManager fm(m_service.get());
    const auto content = fileContent(QStringLiteral("a.bin"), "held bytes");
    registerIds(fm, content);
    m_service->holdUploads(true);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_2"), recorder));
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    QVERIFY(recorder.calls().isEmpty());
    QCOMPARE(fm.activeUploadCount(), 1);
    QVERIFY(allRegistered(fm, content));
    m_service->releaseHeld();
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), doneCalls());
}

void TestFileManager::uploadsRunOnTheWorkerThread()
{
    FileManager fm(m_service.get());
    QVERIFY(fm.workerThread());
    QVERIFY(fm.workerThread() != QThread::currentThread());
    const auto content = fileContent(QStringLiteral("w.bin"), "on the worker");
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_3"), recorder));
    QVERIFY(recorder.waitFinished());
    const auto threads = recorder.threads();
    QCOMPARE(threads.size(), 2);
    for (QThread* t : threads) {
        QCOMPARE(t, fm.workerThread());
        QVERIFY(t != QThread::currentThread());
    }
}

void TestFileManager::serviceFailureReportsFailed()
{
    FileManager fm(m_service.get());
    const auto content = fileContent(QStringLiteral("s.bin"), "service says no", "thumb");
    registerIds(fm, content);
    m_service->failNextUploads(1);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_4"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), finalOnly(2));
    QVERIFY(allRegistered(fm, content));
    QVERIFY(!m_service->contains(sha256Hex("service says no")));

    // A second try goes through.
    UploadRecorder again;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_4"), again));
    QVERIFY(again.waitFinished());
    QCOMPARE(again.calls(), doneCalls());
    QVERIFY(noneRegistered(fm, content));
}

void TestFileManager::unreadableFileReportsFailed()
{
    FileManager fm(m_service.get());
    const auto content = fileContent(QStringLiteral("gone.bin"), "gone before upload");
    registerIds(fm, content);
    QVERIFY(QFile::remove(m_dir->filePath(QStringLiteral("gone.bin"))));
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_5"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), finalOnly(2));
    QVERIFY(allRegistered(fm, content));
    QCOMPARE(m_service->count(), 0);
}

void TestFileManager::changedFileReportsFailed()
{
    FileManager fm(m_service.get());
    const auto content = fileContent(QStringLiteral("c.bin"), "original bytes");
    registerIds(fm, content);
    QVERIFY(writeFile(m_dir->filePath(QStringLiteral("c.bin")), "edited afterwards"));
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_6"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), finalOnly(2));
    QVERIFY(allRegistered(fm, content));
    QCOMPARE(m_service->count(), 0);
}

void TestFileManager::missingFileIdReportsFailed()
{
    FileManager fm(m_service.get());
    const QString path = m_dir->filePath(QStringLiteral("noid.bin"));
    QVERIFY(writeFile(path, "no id yet"));
    QSharedPointer<FileItem> item(new FileItem(8, nullptr));
    item->setType(6);
    item->setSourceFile(QSharedPointer<BaseFile>(new BaseFile(QString(), QStringLiteral("noid.bin"), path)));
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, item, QStringLiteral("1_7"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), finalOnly(2));
    QCOMPARE(m_service->count(), 0);
}

void TestFileManager::noServiceReportsFailed()
{
    FileManager fm;
    const auto content = fileContent(QStringLiteral("n.bin"), "nowhere to go");
    registerIds(fm, content);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("1_8"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), finalOnly(2));
    QVERIFY(allRegistered(fm, content));
}

void TestFileManager::cancelWhileHeld()
{
    FileManager fm(m_service.get());
    const auto content = fileContent(QStringLiteral("h.bin"), "cancel while held", "t");
    registerIds(fm, content);
    m_service->holdUploads(true);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("2_1"), recorder));
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    fm.cancelUpload(QStringLiteral("2_1"), content, CancelByUser);
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), finalOnly(3));
    QVERIFY(allRegistered(fm, content));
    QCOMPARE(m_service->count(), 0);
    QCOMPARE(m_service->heldCount(), 0);
    QCOMPARE(fm.activeUploadCount(), 0);

    // Once over, a cancel of the same id does nothing more.
    fm.cancelUpload(QStringLiteral("2_1"), content, CancelByUser);
    QCOMPARE(recorder.calls(), finalOnly(3));
}

void TestFileManager::cancelQueuedUpload()
{
    FileManager fm(m_service.get());
    const auto first = fileContent(QStringLiteral("q1.bin"), "first in line");
    const auto second = fileContent(QStringLiteral("q2.bin"), "second in line");
    registerIds(fm, first);
    registerIds(fm, second);
    m_service->holdUploads(true);
    UploadRecorder r1;
    UploadRecorder r2;
    QVERIFY(startUpload(fm, first, QStringLiteral("3_1"), r1));
    QVERIFY(startUpload(fm, second, QStringLiteral("3_2"), r2));
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    QCOMPARE(fm.activeUploadCount(), 2);
    // The second has not reached the service yet: it is cancelled in the queue.
    fm.cancelUpload(QStringLiteral("3_2"), second, CancelBySystem);
    m_service->holdUploads(false);
    QVERIFY(r1.waitFinished());
    QVERIFY(r2.waitFinished());
    QCOMPARE(r1.calls(), doneCalls());
    QCOMPARE(r2.calls(), finalOnly(3));
    QCOMPARE(m_service->uploadAttempts(), 1);
    QVERIFY(m_service->contains(sha256Hex("first in line")));
    QVERIFY(!m_service->contains(sha256Hex("second in line")));
    QVERIFY(noneRegistered(fm, first));
    QVERIFY(allRegistered(fm, second));
}

void TestFileManager::cancelUnknownIdDoesNothing()
{
    FileManager fm(m_service.get());
    fm.cancelUpload(QStringLiteral("nobody"), {}, CancelByUser);
    QCOMPARE(fm.activeUploadCount(), 0);

    const auto content = fileContent(QStringLiteral("k.bin"), "keeps going");
    m_service->holdUploads(true);
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("4_1"), recorder));
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    fm.cancelUpload(QStringLiteral("4_2"), content, CancelByUser);
    fm.cancelUpload(QString(), content, CancelByUser);
    QCOMPARE(fm.activeUploadCount(), 1);
    m_service->releaseHeld();
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), doneCalls());
}

void TestFileManager::nullFilterIgnored()
{
    FileManager fm(m_service.get());
    fm.uploadMultiFile({}, 0);
    QCOMPARE(fm.activeUploadCount(), 0);
    // The manager still works afterwards.
    const auto content = fileContent(QStringLiteral("after.bin"), "after a null filter");
    UploadRecorder recorder;
    QVERIFY(startUpload(fm, content, QStringLiteral("5_1"), recorder));
    QVERIFY(recorder.waitFinished());
    QCOMPARE(recorder.calls(), doneCalls());
}

void TestFileManager::callbackMayStartTheNextUpload()
{
    // A failed upload's callback queues a retry from the worker thread.
    FileManager fm(m_service.get());
    const auto content = fileContent(QStringLiteral("r.bin"), "retried from the callback");
    registerIds(fm, content);
    m_service->failNextUploads(1);
    UploadRecorder retry;
    std::mutex mutex;
    Calls first;
    auto filter = fm.makeFilter(content);
    QVERIFY(filter);
    filter->remindId = QStringLiteral("6_1");
    filter->callback = [&](int stage, int code) {
        {
            std::lock_guard<std::mutex> lock(mutex);
            first.append(qMakePair(stage, code));
        }
        if (stage == 1 && code == 2) {
            auto again = fm.makeFilter(content);
            again->remindId = QStringLiteral("6_1");
            again->callback = retry.callback();
            fm.uploadMultiFile(again, 0);
        }
    };
    fm.uploadMultiFile(filter, 0);
    QVERIFY(retry.waitFinished());
    QCOMPARE(retry.calls(), doneCalls());
    std::lock_guard<std::mutex> lock(mutex);
    QCOMPARE(first, finalOnly(2));
    QVERIFY(noneRegistered(fm, content));
}

void TestFileManager::destructorCancelsRunningUpload()
{
    auto fm = std::make_unique<FileManager>(m_service.get());
    const auto running = fileContent(QStringLiteral("d1.bin"), "running at the end");
    const auto queued = fileContent(QStringLiteral("d2.bin"), "queued at the end");
    m_service->holdUploads(true);
    UploadRecorder r1;
    UploadRecorder r2;
    QVERIFY(startUpload(*fm, running, QStringLiteral("8_1"), r1));
    QVERIFY(startUpload(*fm, queued, QStringLiteral("8_2"), r2));
    QVERIFY(m_service->waitForHeld(1, kWaitMs));
    fm.reset(); // joins the worker
    QCOMPARE(r1.calls(), finalOnly(3));
    QCOMPARE(r2.calls(), finalOnly(3));
    QCOMPARE(m_service->count(), 0);
    QCOMPARE(m_service->heldCount(), 0);
}

void TestFileManager::removeSourceRecordDeletesOnlyCacheCopies()
{
    FileManager fm(m_service.get());
    const QString cache = m_dir->filePath(QStringLiteral("cache"));
    fm.setCacheDirectory(cache);
    QCOMPARE(fm.cacheDirectory(), cache);

    const QString inside = QDir(cache).filePath(QStringLiteral("copy.jpg"));
    const QString outside = m_dir->filePath(QStringLiteral("users-own.jpg"));
    const QString sneaky = cache + QStringLiteral("/../users-other.jpg");
    QVERIFY(writeFile(inside, "converted copy"));
    QVERIFY(writeFile(outside, "the user's file"));
    QVERIFY(writeFile(m_dir->filePath(QStringLiteral("users-other.jpg")), "another of theirs"));

    QSharedPointer<BaseFile> copy(new BaseFile(QStringLiteral("id-copy"), QStringLiteral("copy.jpg"), inside));
    QSharedPointer<BaseFile> own(new BaseFile(QStringLiteral("id-own"), QStringLiteral("own.jpg"), outside));
    QSharedPointer<BaseFile> other(new BaseFile(QStringLiteral("id-other"), QStringLiteral("o.jpg"), sneaky));
    for (const auto& f : { copy, own, other }) {
        fm.addUploadId(f->fileId());
        auto d = QSharedPointer<FileData>::create();
        d->fileId = f->fileId();
        d->path = f->path();
        QVERIFY(fm.fileDataMgr()->saveFileInfos({ d }));
    }

    fm.removeSourceRecord(copy);
    QVERIFY(!QFileInfo::exists(inside));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("id-copy")));
    QVERIFY(!fm.fileDataMgr()->fileInfo(QStringLiteral("id-copy")));

    fm.removeSourceRecord(own);
    QCOMPARE(readAll(outside), QByteArray("the user's file"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("id-own")));
    QVERIFY(!fm.fileDataMgr()->fileInfo(QStringLiteral("id-own")));

    fm.removeSourceRecord(other);
    QCOMPARE(readAll(m_dir->filePath(QStringLiteral("users-other.jpg"))), QByteArray("another of theirs"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("id-other")));

    // Null is harmless.
    fm.removeSourceRecord({});
}

void TestFileManager::removeThumbnailRecord()
{
    FileManager fm(m_service.get());
    // Default: the media model's cache directory.
    QCOMPARE(fm.cacheDirectory(), MediaSenderModel::getInstance()->cacheDirectory());
    const QString thumbPath = QDir(fm.cacheDirectory()).filePath(QStringLiteral("t_thumb.png"));
    QVERIFY(writeFile(thumbPath, "thumb"));
    QSharedPointer<BaseFile> thumb(new BaseFile(QStringLiteral("id-thumb"), QStringLiteral("t"), thumbPath));
    fm.addUploadId(QStringLiteral("id-thumb"));
    auto d = QSharedPointer<FileData>::create();
    d->fileId = QStringLiteral("id-thumb");
    d->thumb = true;
    QVERIFY(fm.fileDataMgr()->saveFileInfos({ d }));
    fm.removeThumbnailRecord(thumb);
    QVERIFY(!QFileInfo::exists(thumbPath));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("id-thumb")));
    QVERIFY(!fm.fileDataMgr()->fileInfo(QStringLiteral("id-thumb")));
}

void TestFileManager::removalNeverFollowsLinksOut()
{
    FileManager fm(m_service.get());
    const QString cache = m_dir->filePath(QStringLiteral("cache"));
    fm.setCacheDirectory(cache);
    const QString target = m_dir->filePath(QStringLiteral("precious.txt"));
    QVERIFY(writeFile(target, "keep me"));
    const QString link = QDir(cache).filePath(QStringLiteral("link.txt"));
    QVERIFY(QFile::link(target, link));
    fm.removeSourceRecord(QSharedPointer<BaseFile>(new BaseFile(QStringLiteral("l"), QStringLiteral("l"), link)));
    QCOMPARE(readAll(target), QByteArray("keep me"));
    QVERIFY(!fm.isInCacheDirectory(link));
    QVERIFY(!fm.isInCacheDirectory(target));
    QVERIFY(!fm.isInCacheDirectory(cache));
    QVERIFY(!fm.isInCacheDirectory(QString()));
    const QString real = QDir(cache).filePath(QStringLiteral("real.txt"));
    QVERIFY(writeFile(real, "mine"));
    QVERIFY(fm.isInCacheDirectory(real));
}

void TestFileManager::fileServiceCmdDeletes()
{
    FileManager fm(m_service.get());
    QVERIFY(fm.fileServiceCmd());
    QCOMPARE(fm.fileService(), m_service.get());
    const QString id = sha256Hex("to delete");
    QCOMPARE(m_service->uploadData(id, "to delete"), FileService::UploadOk);
    fm.fileServiceCmd()->deleteFiles({ id });
    QVERIFY(!m_service->contains(id));
}
QTEST_GUILESS_MAIN(TestFileManager)
#include "tst_filemanager.moc"
