#include "filetesthelpers.h"
#include "mediasenditem.h"
#include "mediasendermodel.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using filetest::gifBytes;
using filetest::writeFile;

class TestMediaSenderModel : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pngWithAlphaStaysPng();
    void opaqueImageBecomesJpeg();
    void jpegIsConverted();
    void bigImageScaledDown();
    void smallImageKeepsItsSize();
    void stillGifIsAnImage();
    void animatedGifIsCarriedAsItIs();
    void textFileIsAFile();
    void videoNamedFileIsAVideo_data();
    void videoNamedFileIsAVideo();
    void imageNamedTextIsAFile();
    void emptyFileIsAFile();
    void missingFileGivesNull();
    void directoryGivesNull();
    void emptyPathGivesNull();
    void copiesHaveUniqueNames();
    void unwritableCacheGivesNull();
    void defaultCacheDirectory();
    void notifyErrorEmits();

private:
    QString makeImage(const QString& name, int w, int h, QImage::Format format, const char* fmt,
                      bool transparentCorner = false);
    std::unique_ptr<MediaSendItem> format(const QString& path)
    {
        return std::unique_ptr<MediaSendItem>(MediaSenderModel::getInstance()->mediaFormat(path, 3));
    }
    bool insideCache(const QString& path) const
    {
        return QFileInfo(path).absolutePath() == QFileInfo(m_cache).absoluteFilePath();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_cache;
};

void TestMediaSenderModel::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_cache = m_dir->filePath(QStringLiteral("cache"));
    MediaSenderModel::getInstance()->setCacheDirectory(m_cache);
}

void TestMediaSenderModel::cleanup()
{
    MediaSenderModel::getInstance()->setCacheDirectory(QString());
    m_dir.reset();
}

QString TestMediaSenderModel::makeImage(const QString& name, int w, int h, QImage::Format format,
                                        const char* fmt, bool transparentCorner)
{
    QImage image(w, h, format);
    image.fill(QColor(30, 120, 200));
    QPainter p(&image);
    p.fillRect(0, 0, w / 2, h / 2, QColor(240, 200, 10));
    if (transparentCorner) {
        p.setCompositionMode(QPainter::CompositionMode_Source);
        p.fillRect(w / 2, h / 2, w - w / 2, h - h / 2, Qt::transparent);
    }
    p.end();
    const QString path = m_dir->filePath(name);
    if (!image.save(path, fmt))
        return QString();
    return path;
}

void TestMediaSenderModel::pngWithAlphaStaysPng()
{
    const QString src = makeImage(QStringLiteral("pic.png"), 64, 48, QImage::Format_ARGB32, "PNG", true);
    QVERIFY(!src.isEmpty());
    auto item = format(src);
    QVERIFY(item);
    const MediaSendData d = item->mediaData();
    QCOMPARE(d.messageType, 2);
    QCOMPARE(d.sourcePath, QFileInfo(src).absoluteFilePath());
    QCOMPARE(item->path(), d.sourcePath);
    QCOMPARE(item->mediaPath(), d.path);
    QCOMPARE(item->thumbPath(), d.thumbPath);
    QVERIFY(d.path != d.sourcePath);
    QVERIFY(insideCache(d.path));
    QVERIFY(insideCache(d.thumbPath));
    QCOMPARE(QFileInfo(d.path).suffix(), QStringLiteral("png"));
    QCOMPARE(d.name, QStringLiteral("pic.png"));
    QCOMPARE(d.mimeType, QStringLiteral("image/png"));
    QCOMPARE(d.size, QFileInfo(d.path).size());
    QCOMPARE(d.width, 64);
    QCOMPARE(d.height, 48);

    const QImage copy(d.path);
    QCOMPARE(copy.size(), QSize(64, 48));
    QVERIFY(copy.hasAlphaChannel());
    QCOMPARE(qAlpha(copy.pixel(60, 40)), 0);
    QCOMPARE(qAlpha(copy.pixel(2, 2)), 255);
    // The user's file is left as it was.
    QVERIFY(QFileInfo::exists(src));
}

void TestMediaSenderModel::opaqueImageBecomesJpeg()
{
    const QString src = makeImage(QStringLiteral("flat.png"), 80, 60, QImage::Format_RGB32, "PNG");
    QVERIFY(!src.isEmpty());
    auto item = format(src);
    QVERIFY(item);
    const MediaSendData d = item->mediaData();
    QCOMPARE(d.messageType, 2);
    QCOMPARE(QFileInfo(d.path).suffix(), QStringLiteral("jpg"));
    QCOMPARE(d.mimeType, QStringLiteral("image/jpeg"));
    QCOMPARE(d.name, QStringLiteral("flat.jpg"));
    QImageReader reader(d.path);
    reader.setDecideFormatFromContent(true);
    QCOMPARE(reader.format(), QByteArray("jpeg"));
    QCOMPARE(reader.size(), QSize(80, 60));
}

void TestMediaSenderModel::jpegIsConverted()
{
    const QString src = makeImage(QStringLiteral("photo.jpeg"), 300, 200, QImage::Format_RGB32, "JPEG");
    QVERIFY(!src.isEmpty());
    auto item = format(src);
    QVERIFY(item);
    const MediaSendData d = item->mediaData();
    QCOMPARE(d.messageType, 2);
    QVERIFY(insideCache(d.path));
    QVERIFY(d.path != d.sourcePath);
    QCOMPARE(d.width, 300);
    QCOMPARE(d.height, 200);

    const QImage thumb(d.thumbPath);
    QVERIFY(!thumb.isNull());
    QCOMPARE(qMax(thumb.width(), thumb.height()), MediaSenderModel::kThumbnailSide);
    // The thumbnail keeps the aspect ratio (to a pixel).
    QVERIFY(qAbs(thumb.height() - qRound(256.0 * 200 / 300)) <= 1);
}

void TestMediaSenderModel::bigImageScaledDown()
{
    const int w = 4500;
    const int h = 300;
    const QString src = makeImage(QStringLiteral("wide.png"), w, h, QImage::Format_RGB32, "PNG");
    QVERIFY(!src.isEmpty());
    auto item = format(src);
    QVERIFY(item);
    const MediaSendData d = item->mediaData();
    QCOMPARE(d.messageType, 2);
    QCOMPARE(d.width, MediaSenderModel::kMaxImageSide);
    QVERIFY(qAbs(d.height - qRound(double(h) * MediaSenderModel::kMaxImageSide / w)) <= 1);
    const QImage copy(d.path);
    QCOMPARE(copy.size(), QSize(d.width, d.height));
    // The picture is scaled, not cropped: the yellow top-left quarter and
    // the blue rest are where they were.
    const QRgb topLeft = copy.pixel(d.width / 4, d.height / 4);
    const QRgb bottomRight = copy.pixel(d.width * 3 / 4, d.height * 3 / 4);
    QVERIFY(qRed(topLeft) > 200 && qBlue(topLeft) < 60);
    QVERIFY(qBlue(bottomRight) > 160 && qRed(bottomRight) < 70);
    const QImage thumb(d.thumbPath);
    QCOMPARE(thumb.width(), MediaSenderModel::kThumbnailSide);
    const QRgb thumbLeft = thumb.pixel(thumb.width() / 4, thumb.height() / 4);
    QVERIFY(qRed(thumbLeft) > 200 && qBlue(thumbLeft) < 60);
}

void TestMediaSenderModel::smallImageKeepsItsSize()
{
    const QString src = makeImage(QStringLiteral("tiny.png"), 20, 10, QImage::Format_ARGB32, "PNG", true);
    QVERIFY(!src.isEmpty());
    auto item = format(src);
    QVERIFY(item);
    QCOMPARE(QImage(item->thumbPath()).size(), QSize(20, 10));
    QCOMPARE(QImage(item->mediaPath()).size(), QSize(20, 10));
}

void TestMediaSenderModel::stillGifIsAnImage()
{
    const QString src = m_dir->filePath(QStringLiteral("still.gif"));
    QVERIFY(writeFile(src, gifBytes(6, 4, { 1 })));
    QImageReader check(src);
    QVERIFY(check.canRead());
    auto item = format(src);
    QVERIFY(item);
    const MediaSendData d = item->mediaData();
    QCOMPARE(d.messageType, 2);
    QVERIFY(d.path != d.sourcePath);
    QCOMPARE(d.width, 6);
    QCOMPARE(d.height, 4);
    const QImage copy(d.path);
    QVERIFY(!copy.isNull());
    // The frame's colour (green) survives the conversion.
    QVERIFY(qGreen(copy.pixel(3, 2)) > 200);
    QVERIFY(qRed(copy.pixel(3, 2)) < 60);
}

void TestMediaSenderModel::animatedGifIsCarriedAsItIs()
{
    const QString src = m_dir->filePath(QStringLiteral("anim.gif"));
    QVERIFY(writeFile(src, gifBytes(8, 5, { 0, 2, 3 })));
    QImageReader check(src);
    QCOMPARE(check.imageCount(), 3);
    auto item = format(src);
    QVERIFY(item);
    const MediaSendData d = item->mediaData();
    QCOMPARE(d.messageType, 5);
    QCOMPARE(d.path, d.sourcePath);
    QCOMPARE(d.name, QStringLiteral("anim.gif"));
    QCOMPARE(d.mimeType, QStringLiteral("image/gif"));
    QCOMPARE(d.size, QFileInfo(src).size());
    QCOMPARE(d.width, 8);
    QCOMPARE(d.height, 5);
    QVERIFY(insideCache(d.thumbPath));
    const QImage thumb(d.thumbPath);
    QCOMPARE(thumb.size(), QSize(8, 5));
    // The first frame (red).
    QVERIFY(qRed(thumb.pixel(4, 2)) > 200);
    QVERIFY(qBlue(thumb.pixel(4, 2)) < 60);
}

void TestMediaSenderModel::textFileIsAFile()
{
    const QString src = m_dir->filePath(QStringLiteral("notes.txt"));
    QVERIFY(writeFile(src, "remember the milk\n"));
    auto item = format(src);
    QVERIFY(item);
    const MediaSendData d = item->mediaData();
    QCOMPARE(d.messageType, 6);
    QCOMPARE(d.path, QFileInfo(src).absoluteFilePath());
    QCOMPARE(d.path, d.sourcePath);
    QCOMPARE(d.name, QStringLiteral("notes.txt"));
    QCOMPARE(d.size, qint64(18));
    QCOMPARE(d.mimeType, QStringLiteral("text/plain"));
    QVERIFY(d.thumbPath.isEmpty());
    QCOMPARE(d.width, 0);
    QCOMPARE(d.height, 0);
    // Nothing was written to the cache.
    QVERIFY(QDir(m_cache).entryList(QDir::Files).isEmpty());
}

void TestMediaSenderModel::videoNamedFileIsAVideo_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("mp4") << "clip.mp4";
    QTest::newRow("upper case") << "CLIP.MOV";
    QTest::newRow("mkv") << "a.b.mkv";
    QTest::newRow("webm") << "x.webm";
}

void TestMediaSenderModel::videoNamedFileIsAVideo()
{
    QFETCH(QString, name);
    const QString src = m_dir->filePath(name);
    QVERIFY(writeFile(src, filetest::patternBytes(1000, 7)));
    auto item = format(src);
    QVERIFY(item);
    QCOMPARE(item->mediaData().messageType, 4);
    QCOMPARE(item->mediaPath(), item->path());
    QVERIFY(item->thumbPath().isEmpty());
    QCOMPARE(item->mediaData().name, name);
}

void TestMediaSenderModel::imageNamedTextIsAFile()
{
    // The content decides, not the name.
    const QString src = m_dir->filePath(QStringLiteral("fake.png"));
    QVERIFY(writeFile(src, "not an image at all"));
    auto item = format(src);
    QVERIFY(item);
    QCOMPARE(item->mediaData().messageType, 6);
    QCOMPARE(item->mediaPath(), item->path());
}

void TestMediaSenderModel::emptyFileIsAFile()
{
    const QString src = m_dir->filePath(QStringLiteral("empty.jpg"));
    QVERIFY(writeFile(src, QByteArray()));
    auto item = format(src);
    QVERIFY(item);
    QCOMPARE(item->mediaData().messageType, 6);
    QCOMPARE(item->mediaData().size, qint64(0));
}

void TestMediaSenderModel::missingFileGivesNull()
{
    QVERIFY(!format(m_dir->filePath(QStringLiteral("nope.png"))));
}

void TestMediaSenderModel::directoryGivesNull()
{
    const QString sub = m_dir->filePath(QStringLiteral("folder.png"));
    QVERIFY(QDir().mkpath(sub));
    QVERIFY(!format(sub));
    QVERIFY(!format(m_dir->path()));
}

void TestMediaSenderModel::emptyPathGivesNull()
{
    QVERIFY(!format(QString()));
}

void TestMediaSenderModel::copiesHaveUniqueNames()
{
    const QString src = makeImage(QStringLiteral("same.png"), 30, 30, QImage::Format_RGB32, "PNG");
    QVERIFY(!src.isEmpty());
    auto a = format(src);
    auto b = format(src);
    QVERIFY(a && b);
    QVERIFY(a->mediaPath() != b->mediaPath());
    QVERIFY(a->thumbPath() != b->thumbPath());
    QVERIFY(a->mediaPath() != a->thumbPath());
    QVERIFY(QFileInfo::exists(a->mediaPath()));
    QVERIFY(QFileInfo::exists(b->mediaPath()));
    QCOMPARE(QDir(m_cache).entryList(QDir::Files).size(), 4);
}

void TestMediaSenderModel::unwritableCacheGivesNull()
{
    // The cache "directory" is a regular file: nothing can be written in it.
    const QString blocker = m_dir->filePath(QStringLiteral("blocker"));
    QVERIFY(writeFile(blocker, "x"));
    MediaSenderModel::getInstance()->setCacheDirectory(blocker);
    const QString src = makeImage(QStringLiteral("p.png"), 10, 10, QImage::Format_RGB32, "PNG");
    QVERIFY(!src.isEmpty());
    QVERIFY(!format(src));
    // A plain file needs no copy and is still prepared.
    const QString txt = m_dir->filePath(QStringLiteral("t.txt"));
    QVERIFY(writeFile(txt, "abc"));
    auto item = format(txt);
    QVERIFY(item);
    QCOMPARE(item->mediaData().messageType, 6);
}

void TestMediaSenderModel::defaultCacheDirectory()
{
    MediaSenderModel::getInstance()->setCacheDirectory(QString());
    const QString dir = MediaSenderModel::getInstance()->cacheDirectory();
    QCOMPARE(QFileInfo(dir).fileName(), QStringLiteral("media"));
    QVERIFY(!dir.isEmpty());
    MediaSenderModel::getInstance()->setCacheDirectory(m_cache);
    QCOMPARE(MediaSenderModel::getInstance()->cacheDirectory(), m_cache);
}

void TestMediaSenderModel::notifyErrorEmits()
{
    QSignalSpy spy(MediaSenderModel::getInstance(), &MediaSenderModel::errorNotified);
    MediaSenderModel::getInstance()->notifyError(3);
    MediaSenderModel::getInstance()->notifyError(1);
    QCOMPARE(spy.size(), 2);
    QCOMPARE(spy.at(0).at(0).toInt(), 3);
    QCOMPARE(spy.at(1).at(0).toInt(), 1);
}

QTEST_GUILESS_MAIN(TestMediaSenderModel)
#include "tst_mediasendermodel.moc"
