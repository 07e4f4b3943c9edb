#include "fileservice.h"
#include "fileservicecmd.h"
#include "filetesthelpers.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using filetest::sha256Hex;

class TestFileServiceCmd : public QObject
{
    Q_OBJECT

private slots:
    void deletesAndReports();
    void unknownAndEmptyIdsSkipped();
    void withoutServiceReportsNothingDeleted();
};

void TestFileServiceCmd::deletesAndReports()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    FileService service(dir.filePath(QStringLiteral("svc")));
    const QString a = sha256Hex("first file");
    const QString b = sha256Hex("second file");
    const QString c = sha256Hex("kept file");
    QCOMPARE(service.uploadData(a, "first file"), FileService::UploadOk);
    QCOMPARE(service.uploadData(b, "second file"), FileService::UploadOk);
    QCOMPARE(service.uploadData(c, "kept file"), FileService::UploadOk);

    FileServiceCmd cmd(&service);
    QSignalSpy spy(&cmd, &FileServiceCmd::filesDeleted);
    cmd.deleteFiles({ a, b });
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toStringList(), QStringList({ a, b }));
    QVERIFY(!service.contains(a));
    QVERIFY(!service.contains(b));
    QVERIFY(service.contains(c));
    QCOMPARE(service.count(), 1);
}

void TestFileServiceCmd::unknownAndEmptyIdsSkipped()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    FileService service(dir.filePath(QStringLiteral("svc")));
    const QString a = sha256Hex("only file");
    QCOMPARE(service.uploadData(a, "only file"), FileService::UploadOk);

    FileServiceCmd cmd(&service);
    QSignalSpy spy(&cmd, &FileServiceCmd::filesDeleted);
    cmd.deleteFiles({ QString(), sha256Hex("never stored"), a, a });
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toStringList(), QStringList({ a }));
    QCOMPARE(service.count(), 0);

    cmd.deleteFiles({ a });
    QCOMPARE(spy.size(), 2);
    QVERIFY(spy.at(1).at(0).toStringList().isEmpty());
}

void TestFileServiceCmd::withoutServiceReportsNothingDeleted()
{
    FileServiceCmd cmd(nullptr);
    QSignalSpy spy(&cmd, &FileServiceCmd::filesDeleted);
    cmd.deleteFiles({ sha256Hex("x") });
    QCOMPARE(spy.size(), 1);
    QVERIFY(spy.at(0).at(0).toStringList().isEmpty());
}

QTEST_GUILESS_MAIN(TestFileServiceCmd)
#include "tst_fileservicecmd.moc"
