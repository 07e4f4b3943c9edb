#include "basefile.h"

#include "im/content/content.pb.h"

#include <QCryptographicHash>
#include <QTest>

class TestBaseFile : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void constructorAndSetters();
    void sameFile_data();
    void sameFile();
    void writeToFillsMessage();
    void roundTripThroughWire_data();
    void roundTripThroughWire();
    void fromEmptyMessage();
};

void TestBaseFile::defaults()
{
    BaseFile f;
    QVERIFY(f.fileId().isEmpty());
    QVERIFY(f.name().isEmpty());
    QVERIFY(f.path().isEmpty());
    QCOMPARE(f.size(), qint64(0));
    QVERIFY(f.mimeType().isEmpty());
    QVERIFY(f.sha256().isEmpty());
}

void TestBaseFile::constructorAndSetters()
{
    BaseFile f(QStringLiteral("id-1"), QStringLiteral("a.png"), QStringLiteral("/tmp/a.png"), 99);
    QCOMPARE(f.fileId(), QStringLiteral("id-1"));
    QCOMPARE(f.name(), QStringLiteral("a.png"));
    QCOMPARE(f.path(), QStringLiteral("/tmp/a.png"));
    QCOMPARE(f.size(), qint64(99));
    f.setFileId(QStringLiteral("id-2"));
    f.setName(QStringLiteral("b.png"));
    f.setPath(QStringLiteral("/tmp/b.png"));
    f.setSize(5);
    f.setMimeType(QStringLiteral("image/png"));
    f.setSha256(QByteArray(32, '\x01'));
    QCOMPARE(f.fileId(), QStringLiteral("id-2"));
    QCOMPARE(f.name(), QStringLiteral("b.png"));
    QCOMPARE(f.path(), QStringLiteral("/tmp/b.png"));
    QCOMPARE(f.size(), qint64(5));
    QCOMPARE(f.mimeType(), QStringLiteral("image/png"));
    QCOMPARE(f.sha256(), QByteArray(32, '\x01'));
}

void TestBaseFile::sameFile_data()
{
    QTest::addColumn<QString>("idA");
    QTest::addColumn<QString>("pathA");
    QTest::addColumn<QString>("idB");
    QTest::addColumn<QString>("pathB");
    QTest::addColumn<bool>("same");

    const QString p1 = QStringLiteral("/data/a.jpg");
    const QString p2 = QStringLiteral("/data/b.jpg");
    QTest::newRow("same id, same path") << "f1" << p1 << "f1" << p1 << true;
    QTest::newRow("same id, other paths") << "f1" << p1 << "f1" << p2 << true;
    QTest::newRow("same id, no paths") << "f1" << QString() << "f1" << QString() << true;
    QTest::newRow("other ids, same path") << "f1" << p1 << "f2" << p1 << false;
    QTest::newRow("one id only, same path") << "f1" << p1 << QString() << p1 << false;
    QTest::newRow("no ids, same path") << QString() << p1 << QString() << p1 << true;
    QTest::newRow("no ids, other paths") << QString() << p1 << QString() << p2 << false;
    QTest::newRow("no ids, one path empty") << QString() << p1 << QString() << QString() << false;
    QTest::newRow("no ids, no paths") << QString() << QString() << QString() << QString() << false;
    QTest::newRow("ids differ in case") << "F1" << p1 << "f1" << p1 << false;
}

void TestBaseFile::sameFile()
{
    QFETCH(QString, idA);
    QFETCH(QString, pathA);
    QFETCH(QString, idB);
    QFETCH(QString, pathB);
    QFETCH(bool, same);
    const BaseFile a(idA, QStringLiteral("a"), pathA, 1);
    const BaseFile b(idB, QStringLiteral("b"), pathB, 2);
    QCOMPARE(a.sameFile(b), same);
    QCOMPARE(b.sameFile(a), same);
}

void TestBaseFile::writeToFillsMessage()
{
    BaseFile f(QStringLiteral("srv-77"), QStringLiteral("Bericht.pdf"),
               QStringLiteral("/home/u/Bericht.pdf"), 123456);
    f.setMimeType(QStringLiteral("application/pdf"));
    const QByteArray digest = QCryptographicHash::hash("content", QCryptographicHash::Sha256);
    f.setSha256(digest);

    im::content::FileRef ref;
    f.writeTo(&ref);
    QCOMPARE(QString::fromStdString(ref.file_id()), QStringLiteral("srv-77"));
    QCOMPARE(QString::fromStdString(ref.name()), QStringLiteral("Bericht.pdf"));
    QCOMPARE(ref.size(), qint64(123456));
    QCOMPARE(QString::fromStdString(ref.mime_type()), QStringLiteral("application/pdf"));
    QCOMPARE(QByteArray::fromStdString(ref.sha256()), digest);
    QCOMPARE(QString::fromStdString(ref.local_path()), QStringLiteral("/home/u/Bericht.pdf"));
}

void TestBaseFile::roundTripThroughWire_data()
{
    QTest::addColumn<QString>("fileId");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("mime");
    QTest::addColumn<QByteArray>("sha256");

    QByteArray withNuls(32, '\0');
    withNuls[5] = '\x7f';
    withNuls[31] = '\xff';
    QTest::newRow("full") << "id-1" << "photo.jpg" << "/pics/photo.jpg" << qint64(2048)
                          << "image/jpeg"
                          << QCryptographicHash::hash("photo", QCryptographicHash::Sha256);
    QTest::newRow("digest with NULs") << "id-2" << "x.bin" << "/x.bin" << qint64(1) << ""
                                      << withNuls;
    QTest::newRow("unicode") << "id-3" << QStringLiteral("Grüße 日本.txt")
                             << QStringLiteral("/home/ü/Grüße 日本.txt") << qint64(7)
                             << "text/plain" << QByteArray(32, 'a');
    QTest::newRow("beyond 4 GiB") << "id-4" << "movie.mkv" << "/v/movie.mkv"
                                  << qint64(6000000000LL) << "video/x-matroska"
                                  << QByteArray(32, 'b');
    QTest::newRow("no id yet") << "" << "draft.png" << "/tmp/draft.png" << qint64(10)
                               << "image/png" << QByteArray();
}

void TestBaseFile::roundTripThroughWire()
{
    QFETCH(QString, fileId);
    QFETCH(QString, name);
    QFETCH(QString, path);
    QFETCH(qint64, size);
    QFETCH(QString, mime);
    QFETCH(QByteArray, sha256);

    BaseFile f(fileId, name, path, size);
    f.setMimeType(mime);
    f.setSha256(sha256);

    im::content::FileRef out;
    f.writeTo(&out);
    const std::string wire = out.SerializeAsString();
    im::content::FileRef in;
    QVERIFY(in.ParseFromString(wire));

    const BaseFile back = BaseFile::fromMessage(in);
    QCOMPARE(back.fileId(), fileId);
    QCOMPARE(back.name(), name);
    QCOMPARE(back.path(), path);
    QCOMPARE(back.size(), size);
    QCOMPARE(back.mimeType(), mime);
    QCOMPARE(back.sha256(), sha256);
    QCOMPARE(back.sha256().size(), sha256.size());
    QCOMPARE(back.sameFile(f), !fileId.isEmpty() || !path.isEmpty());
}

void TestBaseFile::fromEmptyMessage()
{
    const im::content::FileRef empty;
    const BaseFile f = BaseFile::fromMessage(empty);
    QVERIFY(f.fileId().isEmpty());
    QVERIFY(f.name().isEmpty());
    QVERIFY(f.path().isEmpty());
    QCOMPARE(f.size(), qint64(0));
    QVERIFY(f.mimeType().isEmpty());
    QVERIFY(f.sha256().isEmpty());
}

QTEST_GUILESS_MAIN(TestBaseFile)
#include "tst_basefile.moc"
