#include "deserializecontent.h"
#include "fileitem.h"
#include "filetesthelpers.h"
#include "fileutil.h"
#include "mediasenditem.h"
#include "mediasendermodel.h"

#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using filetest::patternBytes;
using filetest::readAll;
using filetest::sha256Hex;
using filetest::writeFile;

class TestFileUtil : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void digestOfBytes_data();
    void digestOfBytes();
    void digestOfFileIsStreamed();
    void digestOfMissingFileIsEmpty();

    void imageFields();
    void animatedImageFields();
    void fileFields();
    void fieldsBuildAFileItem();
    void fileModeAcceptsAnImage();
    void nameFallsBackToTheFileName();

    void unreadableFile();
    void directoryIsUnreadable();
    void missingThumbnailIsUnreadable();
    void emptyFile();
    void notAnImageInImageMode_data();
    void notAnImageInImageMode();
    void tooLarge();
    void failureLeavesTheMapEmpty();

private:
    MediaSendData prepared(const QString& path)
    {
        std::unique_ptr<MediaSendItem> item(MediaSenderModel::getInstance()->mediaFormat(path, 3));
        return item ? item->mediaData() : MediaSendData();
    }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestFileUtil::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    MediaSenderModel::getInstance()->setCacheDirectory(m_dir->filePath(QStringLiteral("cache")));
}

void TestFileUtil::cleanup()
{
    MediaSenderModel::getInstance()->setCacheDirectory(QString());
    m_dir.reset();
}

void TestFileUtil::digestOfBytes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("abc") << QByteArray("abc");
    QTest::newRow("pattern") << patternBytes(100000, 3);
}

void TestFileUtil::digestOfBytes()
{
    QFETCH(QByteArray, bytes);
    const QString hex = FileUtil::sha256Hex(bytes);
    QCOMPARE(hex, sha256Hex(bytes));
    QCOMPARE(hex.size(), 64);
}

void TestFileUtil::digestOfFileIsStreamed()
{
    // Larger than one read, and not a multiple of it.
    const QByteArray bytes = patternBytes(3 * 1024 * 1024 + 17, 11);
    const QString path = m_dir->filePath(QStringLiteral("big.bin"));
    QVERIFY(writeFile(path, bytes));
    qint64 read = 0;
    QCOMPARE(FileUtil::sha256OfFile(path, &read), sha256Hex(bytes));
    QCOMPARE(read, qint64(bytes.size()));
}

void TestFileUtil::digestOfMissingFileIsEmpty()
{
    qint64 read = -1;
    QVERIFY(FileUtil::sha256OfFile(m_dir->filePath(QStringLiteral("none")), &read).isEmpty());
    QCOMPARE(read, qint64(0));
}

void TestFileUtil::imageFields()
{
    QImage image(40, 30, QImage::Format_ARGB32);
    image.fill(QColor(10, 20, 30, 128));
    const QString src = m_dir->filePath(QStringLiteral("shot.png"));
    QVERIFY(image.save(src));
    MediaSendData data = prepared(src);
    QCOMPARE(data.messageType, 2);

    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, FileUtil::ImageMode, fields, code));
    QCOMPARE(code, int(FileUtil::ParseOk));

    const QByteArray bytes = readAll(data.path);
    QVERIFY(!bytes.isEmpty());
    QCOMPARE(fields.value("fileId").toString(), sha256Hex(bytes));
    QCOMPARE(fields.value("sha256").toString(), sha256Hex(bytes));
    QCOMPARE(fields.value("thumbFileId").toString(), sha256Hex(readAll(data.thumbPath)));
    QCOMPARE(fields.value("path").toString(), data.path);
    QCOMPARE(fields.value("thumbPath").toString(), data.thumbPath);
    QCOMPARE(fields.value("name").toString(), QStringLiteral("shot.png"));
    QCOMPARE(fields.value("size").toLongLong(), qint64(bytes.size()));
    QCOMPARE(fields.value("mimeType").toString(), QStringLiteral("image/png"));
    QCOMPARE(fields.value("width").toInt(), 40);
    QCOMPARE(fields.value("height").toInt(), 30);
}

void TestFileUtil::animatedImageFields()
{
    const QString src = m_dir->filePath(QStringLiteral("moving.gif"));
    const QByteArray gif = filetest::gifBytes(5, 3, { 0, 1 });
    QVERIFY(writeFile(src, gif));
    MediaSendData data = prepared(src);
    QCOMPARE(data.messageType, 5);
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, FileUtil::ImageMode, fields, code));
    QCOMPARE(code, 0);
    QCOMPARE(fields.value("fileId").toString(), sha256Hex(gif));
    QCOMPARE(fields.value("mimeType").toString(), QStringLiteral("image/gif"));
    QCOMPARE(fields.value("width").toInt(), 5);
    QCOMPARE(fields.value("height").toInt(), 3);
    QVERIFY(fields.contains("thumbFileId"));
}

void TestFileUtil::fileFields()
{
    const QByteArray bytes("plain words\n");
    const QString src = m_dir->filePath(QStringLiteral("words.txt"));
    QVERIFY(writeFile(src, bytes));
    MediaSendData data = prepared(src);
    QCOMPARE(data.messageType, 6);
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(code, 0);
    QCOMPARE(fields.value("fileId").toString(), sha256Hex(bytes));
    QCOMPARE(fields.value("sha256").toString(), sha256Hex(bytes));
    QCOMPARE(fields.value("name").toString(), QStringLiteral("words.txt"));
    QCOMPARE(fields.value("size").toLongLong(), qint64(bytes.size()));
    QCOMPARE(fields.value("mimeType").toString(), QStringLiteral("text/plain"));
    QCOMPARE(fields.value("path").toString(), QFileInfo(src).absoluteFilePath());
    QVERIFY(!fields.contains("thumbPath"));
    QVERIFY(!fields.contains("thumbFileId"));
    QCOMPARE(fields.value("width").toInt(), 0);
    QCOMPARE(fields.value("height").toInt(), 0);
}

void TestFileUtil::fieldsBuildAFileItem()
{
    QImage image(50, 20, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    const QString src = m_dir->filePath(QStringLiteral("c.png"));
    QVERIFY(image.save(src));
    MediaSendData data = prepared(src);
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, 3, fields, code));
    const auto content = deserializeContent(fields, data.messageType, 8, nullptr);
    auto* file = qobject_cast<FileItem*>(content.data());
    QVERIFY(file);
    QVERIFY(file->sourceFilePtr());
    QCOMPARE(file->sourceFilePtr()->fileId(), sha256Hex(readAll(data.path)));
    QCOMPARE(file->sourceFilePtr()->sha256().toHex(), sha256Hex(readAll(data.path)).toLatin1());
    QCOMPARE(file->sourceFilePtr()->path(), data.path);
    QVERIFY(file->validThumbFile());
    QCOMPARE(file->thumbnailFilePtr()->fileId(), sha256Hex(readAll(data.thumbPath)));
    QCOMPARE(file->width(), 50);
    QCOMPARE(file->height(), 20);
}

void TestFileUtil::fileModeAcceptsAnImage()
{
    QImage image(12, 12, QImage::Format_RGB32);
    image.fill(Qt::red);
    const QString src = m_dir->filePath(QStringLiteral("r.png"));
    QVERIFY(image.save(src));
    MediaSendData data = prepared(src);
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(fields.value("fileId").toString(), sha256Hex(readAll(data.path)));
    QCOMPARE(fields.value("width").toInt(), 12);
}

void TestFileUtil::nameFallsBackToTheFileName()
{
    const QString src = m_dir->filePath(QStringLiteral("given.bin"));
    QVERIFY(writeFile(src, "123"));
    MediaSendData data;
    data.messageType = 6;
    data.path = src;
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(fields.value("name").toString(), QStringLiteral("given.bin"));
    QCOMPARE(fields.value("size").toLongLong(), qint64(3));
}

void TestFileUtil::unreadableFile()
{
    const QString src = m_dir->filePath(QStringLiteral("gone.txt"));
    QVERIFY(writeFile(src, "soon gone"));
    MediaSendData data = prepared(src);
    QVERIFY(QFile::remove(src));
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(code, int(FileUtil::ErrorUnreadableFile));
    QVERIFY(fields.isEmpty());

    MediaSendData none;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(none, FileUtil::FileMode, fields, code));
    QCOMPARE(code, int(FileUtil::ErrorUnreadableFile));
}

void TestFileUtil::directoryIsUnreadable()
{
    MediaSendData data;
    data.messageType = 6;
    data.path = m_dir->path();
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(code, 1);
    QVERIFY(fields.isEmpty());
}

void TestFileUtil::missingThumbnailIsUnreadable()
{
    QImage image(20, 20, QImage::Format_RGB32);
    image.fill(Qt::blue);
    const QString src = m_dir->filePath(QStringLiteral("b.png"));
    QVERIFY(image.save(src));
    MediaSendData data = prepared(src);
    QVERIFY(QFile::remove(data.thumbPath));
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(data, FileUtil::ImageMode, fields, code));
    QCOMPARE(code, int(FileUtil::ErrorUnreadableFile));
    QVERIFY(fields.isEmpty());
}

void TestFileUtil::emptyFile()
{
    const QString src = m_dir->filePath(QStringLiteral("zero.txt"));
    QVERIFY(writeFile(src, QByteArray()));
    MediaSendData data = prepared(src);
    QCOMPARE(data.messageType, 6);
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(code, int(FileUtil::ErrorEmptyFile));
    QVERIFY(fields.isEmpty());
}

void TestFileUtil::notAnImageInImageMode_data()
{
    QTest::addColumn<int>("messageType");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("file type") << 6 << QByteArray("some text");
    QTest::newRow("video type") << 4 << QByteArray("some text");
    QTest::newRow("image type, text bytes") << 2 << QByteArray("some text");
    QTest::newRow("animated type, text bytes") << 5 << QByteArray("still text");
}

void TestFileUtil::notAnImageInImageMode()
{
    QFETCH(int, messageType);
    QFETCH(QByteArray, bytes);
    const QString src = m_dir->filePath(QStringLiteral("t.png"));
    QVERIFY(writeFile(src, bytes));
    MediaSendData data;
    data.messageType = messageType;
    data.path = src;
    data.sourcePath = src;
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(data, FileUtil::ImageMode, fields, code));
    QCOMPARE(code, int(FileUtil::ErrorNotImage));
    QVERIFY(fields.isEmpty());
    // The same data is accepted as a file.
    QVERIFY(FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(code, 0);
    QCOMPARE(fields.value("fileId").toString(), sha256Hex(bytes));
}

void TestFileUtil::tooLarge()
{
    // A sparse file one byte over the limit: no byte of it is read.
    const QString src = m_dir->filePath(QStringLiteral("huge.bin"));
    QFile f(src);
    QVERIFY(f.open(QIODevice::WriteOnly));
    QVERIFY(f.write("x", 1) == 1);
    QVERIFY(f.resize(FileUtil::kMaxFileSize + 1));
    f.close();
    QCOMPARE(QFileInfo(src).size(), FileUtil::kMaxFileSize + 1);
    MediaSendData data;
    data.messageType = 6;
    data.path = src;
    QMap<QString, QVariant> fields;
    int code = -1;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QCOMPARE(code, int(FileUtil::ErrorTooLarge));
    QVERIFY(fields.isEmpty());
}

void TestFileUtil::failureLeavesTheMapEmpty()
{
    QMap<QString, QVariant> fields;
    fields.insert(QStringLiteral("stale"), 1);
    fields.insert(QStringLiteral("fileId"), QStringLiteral("old"));
    MediaSendData data;
    data.path = m_dir->filePath(QStringLiteral("missing"));
    int code = 0;
    QVERIFY(!FileUtil::getInstance()->parseMediaFile(data, FileUtil::FileMode, fields, code));
    QVERIFY(fields.isEmpty());
    QCOMPARE(code, 1);
}

QTEST_GUILESS_MAIN(TestFileUtil)
#include "tst_fileutil.moc"
