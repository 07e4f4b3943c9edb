#include "accountbase.h"
#include "contentcipher.h"
#include "fileitem.h"

#include "im/content/content.pb.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

bool writeFile(const QString& path, const QByteArray& bytes = QByteArrayLiteral("data"))
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    return f.write(bytes) == bytes.size();
}

QSharedPointer<BaseFile> fileAt(const QString& path, const QString& id = QString())
{
    return QSharedPointer<BaseFile>(new BaseFile(id, QFileInfo(path).fileName(), path, 4));
}

// Where a test puts a local file, relative to the account's directories.
enum Place {
    InCache,
    InCacheSubdir,
    InDataDirOutsideCache,
    InSiblingWithCachePrefix,
    EscapingCacheWithDotDot,
    ElsewhereOnDisk,
};

} // namespace

Q_DECLARE_METATYPE(Place)

class TestFileItem : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void defaults();
    void calcFileType_data();
    void calcFileType();
    void fileKindChangedOnlyOnChange();
    void fileChangedSignals();

    void deleteFileRemovesOnlyCacheCopies_data();
    void deleteFileRemovesOnlyCacheCopies();
    void deleteFileWithoutRemovingKeepsEverything();
    void deleteFileWithoutAccountKeepsEverything();
    void deleteFileCountsCalls();

    void validThumbFile();
    void uploadedFileIds();
    void appendCacheKeys();
    void cancelDownloadEmits_data();
    void cancelDownloadEmits();

    void serializeBodyKind_data();
    void serializeBodyKind();
    void readFromReplacesFiles();

private:
    QString pathAt(Place place, const QString& name) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QTemporaryDir> m_elsewhere;
    std::unique_ptr<AccountBase> m_account;
};

void TestFileItem::init()
{
    m_dir.reset(new QTemporaryDir);
    m_elsewhere.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
    QVERIFY(m_elsewhere->isValid());
    m_account.reset(new AccountBase(42, 1, m_dir->path(), ContentCipher::deriveKey("k")));
    QVERIFY(QDir().mkpath(m_account->cacheDirectory()));
}

void TestFileItem::cleanup()
{
    m_account.reset();
    m_elsewhere.reset();
    m_dir.reset();
}

QString TestFileItem::pathAt(Place place, const QString& name) const
{
    const QString cache = m_account->cacheDirectory();
    switch (place) {
    case InCache: return cache + QLatin1Char('/') + name;
    case InCacheSubdir: return cache + QStringLiteral("/thumbs/") + name;
    case InDataDirOutsideCache: return m_dir->path() + QLatin1Char('/') + name;
    case InSiblingWithCachePrefix: return cache + QStringLiteral("-other/") + name;
    case EscapingCacheWithDotDot: return cache + QStringLiteral("/../") + name;
    case ElsewhereOnDisk: return m_elsewhere->path() + QLatin1Char('/') + name;
    }
    return QString();
}

void TestFileItem::defaults()
{
    FileItem item(3, m_account.get());
    QCOMPARE(item.scene(), 3);
    QCOMPARE(item.account(), m_account.get());
    QVERIFY(!item.sourceFilePtr());
    QVERIFY(!item.thumbnailFilePtr());
    QVERIFY(item.fileName().isEmpty());
    QVERIFY(item.filePath().isEmpty());
    QCOMPARE(item.fileSize(), qint64(0));
    QVERIFY(item.thumbnailFile().isEmpty());
    QVERIFY(!item.validThumbFile());
    QVERIFY(item.uploadedFileIds().isEmpty());
    QCOMPARE(item.fileKind(), int(FileItem::KindUnknown));
    QCOMPARE(item.width(), 0);
    QCOMPARE(item.height(), 0);
    QCOMPARE(item.deleteFileCount(), 0);
}

void TestFileItem::calcFileType_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("kind");
    QTest::newRow("doc") << "letter.doc" << int(FileItem::KindDocument);
    QTest::newRow("DOCX upper") << "LETTER.DOCX" << int(FileItem::KindDocument);
    QTest::newRow("odt") << "notes.odt" << int(FileItem::KindDocument);
    QTest::newRow("xlsx") << "budget.xlsx" << int(FileItem::KindSpreadsheet);
    QTest::newRow("csv") << "export.csv" << int(FileItem::KindSpreadsheet);
    QTest::newRow("pptx") << "talk.pptx" << int(FileItem::KindPresentation);
    QTest::newRow("key") << "talk.key" << int(FileItem::KindPresentation);
    QTest::newRow("pdf") << "manual.pdf" << int(FileItem::KindPdf);
    QTest::newRow("PDF upper") << "MANUAL.PDF" << int(FileItem::KindPdf);
    QTest::newRow("txt") << "readme.txt" << int(FileItem::KindText);
    QTest::newRow("md") << "README.md" << int(FileItem::KindText);
    QTest::newRow("json") << "data.json" << int(FileItem::KindText);
    QTest::newRow("zip") << "bundle.zip" << int(FileItem::KindArchive);
    QTest::newRow("tar.gz") << "source.tar.gz" << int(FileItem::KindArchive);
    QTest::newRow("7z") << "pack.7z" << int(FileItem::KindArchive);
    QTest::newRow("jpg") << "photo.jpg" << int(FileItem::KindImage);
    QTest::newRow("JpEg mixed") << "photo.JpEg" << int(FileItem::KindImage);
    QTest::newRow("png") << "shot.png" << int(FileItem::KindImage);
    QTest::newRow("heic") << "IMG_0001.HEIC" << int(FileItem::KindImage);
    QTest::newRow("mp3") << "song.mp3" << int(FileItem::KindAudio);
    QTest::newRow("m4a") << "memo.m4a" << int(FileItem::KindAudio);
    QTest::newRow("mp4") << "clip.mp4" << int(FileItem::KindVideo);
    QTest::newRow("MOV upper") << "CLIP.MOV" << int(FileItem::KindVideo);
    QTest::newRow("unknown suffix") << "program.exe" << int(FileItem::KindOther);
    QTest::newRow("no suffix") << "Makefile" << int(FileItem::KindOther);
    QTest::newRow("trailing dot") << "strange." << int(FileItem::KindOther);
    QTest::newRow("suffix in middle only") << "pdf.backup" << int(FileItem::KindOther);
    QTest::newRow("unicode name") << QStringLiteral("Grüße.PNG") << int(FileItem::KindImage);
    QTest::newRow("empty name") << "" << int(FileItem::KindUnknown);
}

void TestFileItem::calcFileType()
{
    QFETCH(QString, name);
    QFETCH(int, kind);
    FileItem item(0, m_account.get());
    QSharedPointer<BaseFile> source(new BaseFile(QString(), name, QStringLiteral("/x/y"), 1));
    item.setSourceFile(source);
    QSignalSpy spy(&item, &FileItem::fileKindChanged);
    item.calcFileType();
    QCOMPARE(item.fileKind(), kind);
    QCOMPARE(item.property("fileKind").toInt(), kind);
    QCOMPARE(spy.count(), kind == FileItem::KindUnknown ? 0 : 1);
}

void TestFileItem::fileKindChangedOnlyOnChange()
{
    FileItem item(0, m_account.get());
    QSignalSpy spy(&item, &FileItem::fileKindChanged);
    item.calcFileType(); // no source: stays unknown
    QCOMPARE(spy.count(), 0);
    QCOMPARE(item.fileKind(), int(FileItem::KindUnknown));

    item.setSourceFile(fileAt(QStringLiteral("/x/a.pdf")));
    QCOMPARE(spy.count(), 0); // only calcFileType() decides the kind
    item.calcFileType();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(item.fileKind(), int(FileItem::KindPdf));
    item.calcFileType();
    QCOMPARE(spy.count(), 1);

    item.setSourceFile(fileAt(QStringLiteral("/x/b.PDF")));
    item.calcFileType();
    QCOMPARE(spy.count(), 1);

    item.setSourceFile(fileAt(QStringLiteral("/x/c.mp3")));
    item.calcFileType();
    QCOMPARE(spy.count(), 2);
    QCOMPARE(item.fileKind(), int(FileItem::KindAudio));

    item.setSourceFile({});
    item.calcFileType();
    QCOMPARE(spy.count(), 3);
    QCOMPARE(item.fileKind(), int(FileItem::KindUnknown));
}

void TestFileItem::fileChangedSignals()
{
    FileItem item(0, m_account.get());
    QSignalSpy spy(&item, &FileItem::fileChanged);
    item.setSourceFile(fileAt(QStringLiteral("/x/a.png")));
    QCOMPARE(spy.count(), 1);
    item.setThumbnailFile(fileAt(QStringLiteral("/x/a_t.png")));
    QCOMPARE(spy.count(), 2);
    item.setImageSize(10, 20);
    QCOMPARE(spy.count(), 3);
    QCOMPARE(item.width(), 10);
    QCOMPARE(item.height(), 20);
    item.setImageSize(10, 20);
    QCOMPARE(spy.count(), 3);
    item.setImageSize(10, 21);
    QCOMPARE(spy.count(), 4);
    QCOMPARE(item.height(), 21);
}

void TestFileItem::deleteFileRemovesOnlyCacheCopies_data()
{
    QTest::addColumn<Place>("sourcePlace");
    QTest::addColumn<Place>("thumbPlace");
    QTest::addColumn<bool>("sourceRemoved");
    QTest::addColumn<bool>("thumbRemoved");
    QTest::newRow("both in cache") << InCache << InCacheSubdir << true << true;
    QTest::newRow("source own, thumb cached") << ElsewhereOnDisk << InCacheSubdir << false << true;
    QTest::newRow("source cached, thumb own") << InCache << ElsewhereOnDisk << true << false;
    QTest::newRow("data dir is not the cache") << InDataDirOutsideCache << InCache << false << true;
    QTest::newRow("sibling with cache prefix") << InSiblingWithCachePrefix << InCache << false << true;
    QTest::newRow("dot-dot escapes the cache") << EscapingCacheWithDotDot << InCache << false << true;
    QTest::newRow("both elsewhere") << ElsewhereOnDisk << InDataDirOutsideCache << false << false;
}

void TestFileItem::deleteFileRemovesOnlyCacheCopies()
{
    QFETCH(Place, sourcePlace);
    QFETCH(Place, thumbPlace);
    QFETCH(bool, sourceRemoved);
    QFETCH(bool, thumbRemoved);

    const QString source = pathAt(sourcePlace, QStringLiteral("source.jpg"));
    const QString thumb = pathAt(thumbPlace, QStringLiteral("thumb.jpg"));
    QVERIFY(source != thumb);
    QVERIFY(writeFile(source));
    QVERIFY(writeFile(thumb));

    FileItem item(0, m_account.get());
    item.setType(ContentItem::ImageType);
    item.setSourceFile(fileAt(source, QStringLiteral("s")));
    item.setThumbnailFile(fileAt(thumb, QStringLiteral("t")));
    QSignalSpy released(&item, &FileItem::filesReleased);
    item.deleteFile(true);

    QCOMPARE(QFileInfo::exists(source), !sourceRemoved);
    QCOMPARE(QFileInfo::exists(thumb), !thumbRemoved);
    QCOMPARE(released.count(), 1);
    QCOMPARE(released.at(0).at(0).toBool(), true);
    QCOMPARE(item.deleteFileCount(), 1);
}

void TestFileItem::deleteFileWithoutRemovingKeepsEverything()
{
    const QString source = pathAt(InCache, QStringLiteral("source.jpg"));
    const QString thumb = pathAt(InCacheSubdir, QStringLiteral("thumb.jpg"));
    const QString own = pathAt(ElsewhereOnDisk, QStringLiteral("own.jpg"));
    QVERIFY(writeFile(source));
    QVERIFY(writeFile(thumb));
    QVERIFY(writeFile(own));

    FileItem item(0, m_account.get());
    item.setSourceFile(fileAt(source));
    item.setThumbnailFile(fileAt(thumb));
    QSignalSpy released(&item, &FileItem::filesReleased);
    item.deleteFile(false);
    QVERIFY(QFileInfo::exists(source));
    QVERIFY(QFileInfo::exists(thumb));
    QCOMPARE(released.count(), 1);
    QCOMPARE(released.at(0).at(0).toBool(), false);
    QCOMPARE(item.deleteFileCount(), 1);

    item.setSourceFile(fileAt(own));
    item.setThumbnailFile({});
    item.deleteFile(false);
    QVERIFY(QFileInfo::exists(own));
    QCOMPARE(released.count(), 2);
}

void TestFileItem::deleteFileWithoutAccountKeepsEverything()
{
    const QString source = pathAt(InCache, QStringLiteral("source.jpg"));
    QVERIFY(writeFile(source));
    FileItem item(0, nullptr);
    item.setSourceFile(fileAt(source));
    QSignalSpy released(&item, &FileItem::filesReleased);
    item.deleteFile(true);
    QVERIFY(QFileInfo::exists(source));
    QCOMPARE(released.count(), 1);
    QCOMPARE(item.deleteFileCount(), 1);
}

void TestFileItem::deleteFileCountsCalls()
{
    FileItem item(0, m_account.get());
    QSignalSpy released(&item, &FileItem::filesReleased);
    item.deleteFile(true);  // nothing to delete: still a call
    item.deleteFile(false);
    item.deleteFile(true);
    QCOMPARE(item.deleteFileCount(), 3);
    QCOMPARE(released.count(), 3);
    QCOMPARE(released.at(0).at(0).toBool(), true);
    QCOMPARE(released.at(1).at(0).toBool(), false);
    QCOMPARE(released.at(2).at(0).toBool(), true);
}

void TestFileItem::validThumbFile()
{
    FileItem item(0, m_account.get());
    QVERIFY(!item.validThumbFile());

    item.setThumbnailFile(QSharedPointer<BaseFile>(new BaseFile(QStringLiteral("t"), QStringLiteral("t.jpg"), QString())));
    QVERIFY(!item.validThumbFile());
    QVERIFY(item.thumbnailFile().isEmpty());

    const QString missing = pathAt(InCache, QStringLiteral("missing.jpg"));
    item.setThumbnailFile(fileAt(missing));
    QCOMPARE(item.thumbnailFile(), missing);
    QVERIFY(!item.validThumbFile());

    item.setThumbnailFile(fileAt(m_account->cacheDirectory())); // a directory
    QVERIFY(!item.validThumbFile());

    QVERIFY(writeFile(missing));
    item.setThumbnailFile(fileAt(missing));
    QVERIFY(item.validThumbFile());

    // Wherever it lies.
    const QString own = pathAt(ElsewhereOnDisk, QStringLiteral("own.jpg"));
    QVERIFY(writeFile(own));
    item.setThumbnailFile(fileAt(own));
    QVERIFY(item.validThumbFile());

    QVERIFY(QFile::remove(own));
    QVERIFY(!item.validThumbFile());
}

void TestFileItem::uploadedFileIds()
{
    FileItem item(0, m_account.get());
    QVERIFY(item.uploadedFileIds().isEmpty());
    item.setSourceFile(fileAt(QStringLiteral("/a/src.png")));
    QVERIFY(item.uploadedFileIds().isEmpty());
    item.setThumbnailFile(fileAt(QStringLiteral("/a/th.png"), QStringLiteral("th-1")));
    QCOMPARE(item.uploadedFileIds(), QStringList{QStringLiteral("th-1")});
    item.setSourceFile(fileAt(QStringLiteral("/a/src.png"), QStringLiteral("src-1")));
    QCOMPARE(item.uploadedFileIds(), (QStringList{QStringLiteral("src-1"), QStringLiteral("th-1")}));
    item.setThumbnailFile({});
    QCOMPARE(item.uploadedFileIds(), QStringList{QStringLiteral("src-1")});
}

void TestFileItem::appendCacheKeys()
{
    FileItem item(0, m_account.get());
    QStringList keys{QStringLiteral("before")};
    item.appendCacheKeys(keys);
    QCOMPARE(keys, QStringList{QStringLiteral("before")});

    item.setSourceFile(fileAt(QStringLiteral("/a/src.png"), QStringLiteral("src-1")));
    item.setThumbnailFile(fileAt(QStringLiteral("/a/th.png")));
    item.appendCacheKeys(keys);
    QCOMPARE(keys, (QStringList{QStringLiteral("before"), QStringLiteral("src-1")}));

    item.setThumbnailFile(fileAt(QStringLiteral("/a/th.png"), QStringLiteral("th-1")));
    QStringList fresh;
    item.appendCacheKeys(fresh);
    QCOMPARE(fresh, (QStringList{QStringLiteral("src-1"), QStringLiteral("th-1")}));
}

void TestFileItem::cancelDownloadEmits_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("none") << int(CancelNone);
    QTest::newRow("by system") << int(CancelBySystem);
    QTest::newRow("by user") << int(CancelByUser);
}

void TestFileItem::cancelDownloadEmits()
{
    QFETCH(int, type);
    FileItem item(0, m_account.get());
    QSignalSpy spy(&item, &FileItem::downloadCancelled);
    QSignalSpy released(&item, &FileItem::filesReleased);
    item.cancelDownload(CancelType(type));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).size(), 1);
    QCOMPARE(int(spy.at(0).at(0).value<CancelType>()), type);
    QCOMPARE(released.count(), 0);
    QCOMPARE(item.deleteFileCount(), 0);
}

void TestFileItem::serializeBodyKind_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("image");
    QTest::newRow("2 image") << 2 << true;
    QTest::newRow("3 voice") << 3 << false;
    QTest::newRow("4 video") << 4 << false;
    QTest::newRow("5 animated image") << 5 << true;
    QTest::newRow("6 file") << 6 << false;
}

void TestFileItem::serializeBodyKind()
{
    QFETCH(int, type);
    QFETCH(bool, image);
    FileItem item(0, m_account.get());
    item.setType(type);
    item.setSourceFile(fileAt(QStringLiteral("/a/src.bin"), QStringLiteral("src-1")));
    item.setImageSize(300, 200);
    im::content::Content out;
    item.serialize(&out);
    QCOMPARE(out.type(), type);
    QCOMPARE(out.has_image(), image);
    QCOMPARE(out.has_file(), !image);
    const im::content::FileRef& ref = image ? out.image().source() : out.file().source();
    QCOMPARE(QString::fromStdString(ref.file_id()), QStringLiteral("src-1"));
    QCOMPARE(QString::fromStdString(ref.local_path()), QStringLiteral("/a/src.bin"));
    if (image) {
        QCOMPARE(out.image().width(), 300);
        QCOMPARE(out.image().height(), 200);
        QVERIFY(!out.image().has_thumbnail());
    } else {
        QVERIFY(!out.file().has_thumbnail());
    }
}

void TestFileItem::readFromReplacesFiles()
{
    FileItem item(0, m_account.get());
    item.setSourceFile(fileAt(QStringLiteral("/old/src.png"), QStringLiteral("old")));
    item.setThumbnailFile(fileAt(QStringLiteral("/old/th.png"), QStringLiteral("old-t")));
    item.setImageSize(1, 1);

    im::content::Content in;
    in.set_type(6);
    in.mutable_file()->mutable_source()->set_file_id("new");
    in.mutable_file()->mutable_source()->set_name("new.zip");
    QSignalSpy spy(&item, &FileItem::fileChanged);
    item.readFrom(in);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(item.type(), 6);
    QCOMPARE(item.fileName(), QStringLiteral("new.zip"));
    QCOMPARE(item.sourceFilePtr()->fileId(), QStringLiteral("new"));
    QVERIFY(!item.thumbnailFilePtr());
    QCOMPARE(item.width(), 0);
    QCOMPARE(item.height(), 0);
    QCOMPARE(item.uploadedFileIds(), QStringList{QStringLiteral("new")});
}

QTEST_GUILESS_MAIN(TestFileItem)
#include "tst_fileitem.moc"
