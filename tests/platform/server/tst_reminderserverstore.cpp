// The server's file: what survives a restart, what happens to an unusable
// file, and what never gets into it.
#include "servertestutil.h"

#include "accountbase.h"
#include "contentcipher.h"
#include "imlog.h"

#include "im/content/content.pb.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <memory>

using namespace servertest;

namespace {
constexpr qint64 kAccount = 3001;
constexpr qint64 kPhone = 11;
constexpr qint64 kLaptop = 12;
constexpr qint64 kTablet = 13;

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

bool rawExec(const QString& path, const char* sql)
{
    sqlite3* db = nullptr;
    bool ok = sqlite3_open(QFile::encodeName(path).constData(), &db) == SQLITE_OK;
    ok = ok && sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(db);
    return ok;
}
} // namespace

class TestReminderServerStore : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void stateSurvivesRestart();
    void unusableFileIsMovedAside_data();
    void unusableFileIsMovedAside();
    void plainContentNeverReachesTheFile();

private:
    QString path() const { return m_dir->filePath(QStringLiteral("server/reminders.db")); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestReminderServerStore::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestReminderServerStore::cleanup()
{
    m_dir.reset();
}

void TestReminderServerStore::stateSurvivesRestart()
{
    qint64 clockValue = 1'650'000'000'000;
    QByteArray firstState;
    {
        ReminderServer server(path(), [clockValue] { return clockValue; });
        QVERIFY(server.isDatabaseOpen());
        Device phone(&server, kAccount, kPhone);
        Device laptop(&server, kAccount, kLaptop);
        QCOMPARE(codeOf(phone.update(QStringLiteral("11_1"),
                                     reminderBytes(QStringLiteral("11_1"), "one"))),
                 ReminderServer::CodeAccepted);
        QCOMPARE(codeOf(phone.update(QStringLiteral("11_2"),
                                     reminderBytes(QStringLiteral("11_2"), "two"))),
                 ReminderServer::CodeAccepted);
        QVERIFY(laptop.list());
        QVERIFY(phone.remove({ QStringLiteral("11_2") }));
        firstState = server.storedMessage(kAccount, QStringLiteral("11_1"));
        QVERIFY(!firstState.isEmpty());
    }

    ReminderServer server(path(), [] { return qint64(1'650'000'100'000); });
    QVERIFY(server.isDatabaseOpen());
    QVERIFY(server.movedAsidePath().isEmpty());
    QCOMPARE(server.storedMessage(kAccount, QStringLiteral("11_1")), firstState);
    QCOMPARE(server.version(kAccount, QStringLiteral("11_1")), 1);
    QCOMPARE(server.updateTime(kAccount, QStringLiteral("11_1")), clockValue);
    QCOMPARE(server.writerDevice(kAccount, QStringLiteral("11_1")), kPhone);
    QVERIFY(server.isTombstoned(kAccount, QStringLiteral("11_2")));
    QCOMPARE(server.version(kAccount, QStringLiteral("11_2")), 2);
    QCOMPARE(server.seenVersion(kAccount, QStringLiteral("11_1"), kLaptop), 1);
    QCOMPARE(server.seenVersion(kAccount, QStringLiteral("11_1"), kPhone), 1);
    QCOMPARE(server.seenVersion(kAccount, QStringLiteral("11_1"), kTablet), 0);

    // The laptop listed before the restart: its change is taken.
    Device laptop(&server, kAccount, kLaptop);
    const auto accepted
        = laptop.update(QStringLiteral("11_1"), reminderBytes(QStringLiteral("11_1"), "laptop"));
    QVERIFY(accepted);
    QCOMPARE(accepted->code, ReminderServer::CodeAccepted);
    QCOMPARE(server.version(kAccount, QStringLiteral("11_1")), 2);

    // The tablet never saw anything: it gets the server's state.
    Device tablet(&server, kAccount, kTablet);
    const auto behind
        = tablet.update(QStringLiteral("11_1"), reminderBytes(QStringLiteral("11_1"), "tablet"));
    QVERIFY(behind);
    QCOMPARE(behind->code, ReminderServer::CodeServerState);
    QCOMPARE(contentOf(behind->data), QByteArrayLiteral("laptop"));

    // And the deleted one stays deleted.
    const auto deleted
        = tablet.update(QStringLiteral("11_2"), reminderBytes(QStringLiteral("11_2"), "back"));
    QVERIFY(deleted);
    QCOMPARE(deleted->code, ReminderServer::CodeServerState);
    QVERIFY(deleted->data.isEmpty());
}

void TestReminderServerStore::unusableFileIsMovedAside_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("not a database") << QStringLiteral("garbage");
    QTest::newRow("our table in another shape") << QStringLiteral("foreign");
}

void TestReminderServerStore::unusableFileIsMovedAside()
{
    QFETCH(QString, kind);
    QVERIFY(QDir().mkpath(QFileInfo(path()).absolutePath()));
    if (kind == QLatin1String("garbage")) {
        QVERIFY(writeFile(path(), QByteArray(8192, 'G') + QByteArrayLiteral("not a database")));
    } else {
        QVERIFY(rawExec(path(), "CREATE TABLE server_reminder (something TEXT);"
                                "INSERT INTO server_reminder VALUES ('older data');"));
    }
    const QByteArray original = readFile(path());
    QVERIFY(!original.isEmpty());

    ImLog::instance()->clearRecentLines();
    ReminderServer server(path());
    QVERIFY(server.isDatabaseOpen());
    const QString aside = server.movedAsidePath();
    QVERIFY(!aside.isEmpty());
    QVERIFY(aside != path());
    QVERIFY(QFileInfo::exists(aside));
    QCOMPARE(readFile(aside), original);

    bool logged = false;
    for (const QString& line : ImLog::instance()->recentLines())
        logged = logged || (line.contains(aside) && line.contains(path()));
    QVERIFY(logged);

    // The server starts empty on a fresh file and works.
    QVERIFY(server.remindIds(kAccount).isEmpty());
    Device phone(&server, kAccount, kPhone);
    const auto answer
        = phone.update(QStringLiteral("11_5"), reminderBytes(QStringLiteral("11_5"), "fresh"));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    QCOMPARE(server.version(kAccount, QStringLiteral("11_5")), 1);
}

void TestReminderServerStore::plainContentNeverReachesTheFile()
{
    const QByteArray secret = QByteArrayLiteral("Pick up the violin from Marguerite at 4711");
    const QString id = QStringLiteral("11_9");

    QTemporaryDir accountDir;
    QVERIFY(accountDir.isValid());
    AccountBase account(kAccount, kPhone, accountDir.path(),
                        ContentCipher::deriveKey(QByteArrayLiteral("account secret")));

    im::content::ReminderContent body;
    im::content::Content* content = body.add_content();
    content->set_type(1);
    content->mutable_text()->set_text(secret.toStdString());
    std::string plain;
    QVERIFY(body.SerializeToString(&plain));
    QVERIFY(QByteArray::fromStdString(plain).contains(secret));

    QByteArray key;
    const QByteArray cipher = account.encrypt(QByteArray::fromStdString(plain), key);
    QVERIFY(!cipher.isEmpty());
    QVERIFY(!cipher.contains(secret));

    auto message = makeMessage(id, cipher);
    message.set_key(key.toStdString());
    {
        ReminderServer server(path());
        Device phone(&server, kAccount, kPhone);
        const auto answer = phone.update(id, toBytes(message));
        QVERIFY(answer);
        QCOMPARE(answer->code, ReminderServer::CodeAccepted);

        // What the server keeps still opens with the account's key.
        const auto stored = parse(server.storedMessage(kAccount, id));
        QVERIFY(stored);
        QCOMPARE(QByteArray::fromStdString(stored->content()), cipher);
        QCOMPARE(account.decrypt(QByteArray::fromStdString(stored->content()),
                                 QByteArray::fromStdString(stored->key())),
                 QByteArray::fromStdString(plain));
    }

    // Every file the server left: the database and any journal beside it.
    QByteArray everything;
    const QFileInfo db(path());
    const QFileInfoList files = QDir(db.absolutePath()).entryInfoList(QDir::Files);
    QVERIFY(!files.isEmpty());
    for (const QFileInfo& file : files)
        everything += readFile(file.absoluteFilePath());

    // The scan sees what was stored...
    QVERIFY(everything.contains(id.toUtf8()));
    QVERIFY(everything.contains(cipher));
    // ...and the plain text is not among it.
    QVERIFY(!everything.contains(secret));
    QVERIFY(!everything.contains(QByteArrayLiteral("Marguerite")));
}

QTEST_GUILESS_MAIN(TestReminderServerStore)
#include "tst_reminderserverstore.moc"
