// Killing the application at any moment loses nothing it has finished
// saving and never damages the account's database.
//
// crashsafety_child opens an account with a real ReminderHandler and keeps
// changing reminders (new, edit, complete, reopen, delete one, delete every
// completed one); it says on stdout which change it is about to make and
// which changes are on disk. This test starts it, kills it with SIGKILL at a
// random moment (during the load or while it writes), and then opens the
// database itself:
//
// - PRAGMA integrity_check says "ok", and so does the search index's own
//   integrity-check;
// - every reminder holds the last state the child reported as saved, or a
//   state it announced afterwards (a change in flight may or may not have
//   reached the disk); a reminder reported deleted is absent, and no
//   reminder exists that was never announced;
// - each record still reads as a reminder message with the same id, state
//   and text.
//
// The next round starts the child on the same database. The last round lets
// the child finish a fixed number of changes and quit normally.
//
// CRASHSAFETY_KILLS (default 30) sets the number of kills and
// CRASHSAFETY_SEED (default 20240611) the seed of the kill moments and of
// the child's changes; the test reports how many kills it survived.
#include "im/content/content.pb.h"
#include "im/content/reminder.pb.h"

#include <QDir>
#include <QHash>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

namespace {

struct State
{
    QString state; // "open", "done" or "deleted"
    QString text;
    bool operator==(const State& o) const
    {
        return state == o.state && (state == QLatin1String("deleted") || text == o.text);
    }
};

QString describe(const State& s)
{
    if (s.state == QLatin1String("deleted"))
        return s.state;
    return QStringLiteral("%1 \"%2\"").arg(s.state, s.text.left(40));
}

struct Round
{
    bool loaded = false;
    int loadedCount = -1;
    int saved = 0;
    int intents = 0;
};

class TestCrashSafety : public QObject
{
    Q_OBJECT

private slots:
    void killedAtRandomMoments();

private:
    // Reads the child's complete lines into the expectations.
    void absorb(const QByteArray& output, Round* round);
    // Checks the database against the expectations, then takes what it
    // holds as the confirmed state of every reminder.
    void verifyDatabase(const QString& path, int round);
    bool runChild(QProcess& child, const QStringList& args);

    // The state each reminder must hold at least: the last one reported
    // saved (or found in the database after the previous round).
    QHash<QString, State> m_confirmed;
    // States announced after the last one reported saved, by change number.
    QHash<QString, QList<QPair<int, State>>> m_inFlight;
    QHash<int, QStringList> m_idsOfChange;
    int m_totalSaved = 0;
    int m_roundsWithChangesInFlight = 0;
    int m_foundInFlightWritten = 0;
    int m_killsWhileBare = 0;
};

void TestCrashSafety::absorb(const QByteArray& output, Round* round)
{
    const QList<QByteArray> lines = output.split('\n');
    // The last element is what follows the last newline: an incomplete
    // line cut by the kill, or empty.
    for (qsizetype i = 0; i + 1 < lines.size(); ++i) {
        const QString line = QString::fromUtf8(lines.at(i));
        if (line.startsWith(QLatin1String("loaded "))) {
            round->loaded = true;
            round->loadedCount = line.mid(7).toInt();
        } else if (line.startsWith(QLatin1String("intent "))) {
            const QStringList parts = line.split(QLatin1Char(' '));
            QVERIFY2(parts.size() >= 4, qPrintable(line));
            const int n = parts.at(1).toInt();
            const QString id = parts.at(2);
            State s { parts.at(3), QString() };
            // The text is the rest of the line after the fourth field.
            const qsizetype start = parts.at(0).size() + parts.at(1).size() + parts.at(2).size()
                + parts.at(3).size() + 4;
            if (start <= line.size())
                s.text = line.mid(start);
            m_inFlight[id].append({ n, s });
            m_idsOfChange[n].append(id);
            ++round->intents;
        } else if (line.startsWith(QLatin1String("saved "))) {
            const int n = line.mid(6).toInt();
            QVERIFY2(m_idsOfChange.contains(n), qPrintable(QStringLiteral("saved %1 without intent").arg(n)));
            for (const QString& id : m_idsOfChange.take(n)) {
                QList<QPair<int, State>>& pending = m_inFlight[id];
                for (qsizetype k = 0; k < pending.size(); ++k) {
                    if (pending.at(k).first == n) {
                        m_confirmed[id] = pending.at(k).second;
                        pending.remove(0, k + 1);
                        break;
                    }
                }
                if (pending.isEmpty())
                    m_inFlight.remove(id);
            }
            ++round->saved;
            ++m_totalSaved;
        } else {
            QFAIL(qPrintable(QStringLiteral("unexpected line from the child: %1").arg(line)));
        }
    }
}

void TestCrashSafety::verifyDatabase(const QString& path, int round)
{
    QVERIFY2(QFileInfo::exists(path), qPrintable(path));
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READWRITE, nullptr);
    auto close = qScopeGuard([&db] { sqlite3_close_v2(db); });
    QCOMPARE(rc, SQLITE_OK);
    // Leave the write-ahead log as the kill left it: the next child's own
    // open must cope with it, not this check.
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);

    QStringList problems;
    sqlite3_stmt* stmt = nullptr;
    QCOMPARE(sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &stmt, nullptr), SQLITE_OK);
    QStringList integrity;
    while (sqlite3_step(stmt) == SQLITE_ROW)
        integrity << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
    sqlite3_finalize(stmt);
    QCOMPARE(integrity, QStringList { QStringLiteral("ok") });
    // This SQLite's integrity_check leaves FTS5 out: the search index is
    // checked against the rows it indexes on its own (a kill may come in
    // the middle of the worker's merging of it). The check writes nothing.
    char* ftsError = nullptr;
    const int ftsRc = sqlite3_exec(db, "INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('integrity-check', 1)",
                                   nullptr, nullptr, &ftsError);
    const QString ftsMessage = QString::fromUtf8(ftsError ? ftsError : "");
    sqlite3_free(ftsError);
    QVERIFY2(ftsRc == SQLITE_OK, qPrintable(QStringLiteral("search index, round %1: %2").arg(round).arg(ftsMessage)));

    // The search side has a row for every record, with its id and order
    // time; unless the kill found the store taking a listing bare (its
    // insert trigger is missing then), which the next open rebuilds.
    const auto count = [db](const char* sql) {
        sqlite3_stmt* s = nullptr;
        qint64 n = -1;
        if (sqlite3_prepare_v2(db, sql, -1, &s, nullptr) == SQLITE_OK && sqlite3_step(s) == SQLITE_ROW)
            n = sqlite3_column_int64(s, 0);
        sqlite3_finalize(s);
        return n;
    };
    if (count("SELECT count(*) FROM sqlite_schema WHERE type = 'trigger' AND name = 'reminder_search_insert'") == 0) {
        ++m_killsWhileBare;
    } else {
        const qint64 records = count("SELECT count(*) FROM reminder");
        QCOMPARE(count("SELECT count(*) FROM reminder_search"), records);
        QCOMPARE(count("SELECT count(*) FROM reminder r JOIN reminder_search s"
                       " ON s.rowid = r.rowid AND s.id = r.id AND s.order_time = r.order_time"),
                 records);
        for (const char* index : { "reminder_remind_time", "reminder_pending", "reminder_order_time" })
            QVERIFY2(count(QByteArray("SELECT count(*) FROM sqlite_schema WHERE type = 'index' AND name = '")
                               .append(index)
                               .append("'")
                               .constData())
                         == 1,
                     index);
    }

    QHash<QString, State> found;
    QCOMPARE(sqlite3_prepare_v2(db, "SELECT id, text, completed, data FROM reminder", -1, &stmt, nullptr),
             SQLITE_OK);
    int step;
    while ((step = sqlite3_step(stmt)) == SQLITE_ROW) {
        const QString id = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
        const QString text = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1)));
        const bool completed = sqlite3_column_int(stmt, 2) != 0;
        const int bytes = sqlite3_column_bytes(stmt, 3);
        const void* data = sqlite3_column_blob(stmt, 3);
        found.insert(id, State { completed ? QStringLiteral("done") : QStringLiteral("open"), text });

        // The record itself, as the module reads it back.
        im::content::Reminder message;
        im::content::ReminderContent content;
        if (!message.ParseFromArray(data, bytes)) {
            problems << QStringLiteral("%1: the record does not read as a reminder").arg(id);
        } else if (QString::fromStdString(message.id()) != id || message.completed() != completed) {
            problems << QStringLiteral("%1: the record says id %2, completed %3")
                            .arg(id, QString::fromStdString(message.id()))
                            .arg(message.completed());
        } else if (!content.ParseFromString(message.content()) || content.content_size() != 1
                   || QString::fromStdString(content.content(0).text().text()) != text) {
            problems << QStringLiteral("%1: the record's body is not its text").arg(id);
        }
    }
    sqlite3_finalize(stmt);
    QCOMPARE(step, SQLITE_DONE);

    QSet<QString> ids(found.keyBegin(), found.keyEnd());
    for (auto it = m_confirmed.cbegin(); it != m_confirmed.cend(); ++it)
        ids.insert(it.key());
    for (auto it = m_inFlight.cbegin(); it != m_inFlight.cend(); ++it)
        ids.insert(it.key());

    bool anyInFlight = false;
    for (const QString& id : std::as_const(ids)) {
        const State onDisk = found.value(id, State { QStringLiteral("deleted"), QString() });
        const State confirmed = m_confirmed.value(id, State { QStringLiteral("deleted"), QString() });
        const QList<QPair<int, State>> pending = m_inFlight.value(id);
        anyInFlight = anyInFlight || !pending.isEmpty();
        bool allowed = onDisk == confirmed;
        for (const auto& p : pending) {
            if (!allowed && onDisk == p.second) {
                allowed = true;
                ++m_foundInFlightWritten;
            }
        }
        if (!allowed) {
            problems << QStringLiteral("%1: reported %2, found %3").arg(id, describe(confirmed), describe(onDisk));
        }
        if (onDisk.state == QLatin1String("deleted"))
            m_confirmed.remove(id);
        else
            m_confirmed.insert(id, onDisk);
    }
    m_inFlight.clear();
    m_idsOfChange.clear();
    if (anyInFlight)
        ++m_roundsWithChangesInFlight;

    QVERIFY2(problems.isEmpty(),
             qPrintable(QStringLiteral("after kill %1:\n  ").arg(round) + problems.join(QStringLiteral("\n  "))));
}

bool TestCrashSafety::runChild(QProcess& child, const QStringList& args)
{
    child.setProgram(QStringLiteral(CRASHSAFETY_CHILD));
    child.setArguments(args);
    child.start();
    return child.waitForStarted(30000);
}

void TestCrashSafety::killedAtRandomMoments()
{
    const int kills = qEnvironmentVariableIsSet("CRASHSAFETY_KILLS")
        ? qEnvironmentVariableIntValue("CRASHSAFETY_KILLS")
        : 30;
    const quint32 seed = qEnvironmentVariableIsSet("CRASHSAFETY_SEED")
        ? quint32(qEnvironmentVariable("CRASHSAFETY_SEED").toUInt())
        : 20240611u;
    QRandomGenerator rng(seed);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = dir.filePath(QStringLiteral("accounts/1001/account.db"));

    int killedDuringLoad = 0;
    for (int round = 1; round <= kills + 1; ++round) {
        const bool last = round == kills + 1;
        QProcess child;
        QStringList args { dir.path(), QString::number(rng.generate()) };
        if (last)
            args << QStringLiteral("60");
        QVERIFY(runChild(child, args));

        Round r;
        QByteArray out;
        if (last) {
            QVERIFY(child.waitForFinished(120000));
            QCOMPARE(child.exitStatus(), QProcess::NormalExit);
            QVERIFY2(child.exitCode() == 0, child.readAllStandardError().constData());
        } else {
            // One kill in six lands while the child opens and loads the
            // store; the others while it is writing.
            const bool early = rng.bounded(6) == 0;
            if (early) {
                child.waitForFinished(int(rng.bounded(0, 80)));
            } else {
                while (!out.contains("loaded ") && child.state() == QProcess::Running) {
                    child.waitForReadyRead(60000);
                    out += child.readAllStandardOutput();
                }
                child.waitForFinished(int(rng.bounded(20, 450)));
            }
            QVERIFY2(child.state() == QProcess::Running,
                     qPrintable(QStringLiteral("the child ended by itself (code %1): %2")
                                    .arg(child.exitCode())
                                    .arg(QString::fromUtf8(child.readAllStandardError()))));
            child.kill(); // SIGKILL
            QVERIFY(child.waitForFinished(30000));
            QCOMPARE(child.exitStatus(), QProcess::CrashExit);
        }
        out += child.readAllStandardOutput();
        const QByteArray err = child.readAllStandardError();

        // What the previous round left, as checked: the child's own load
        // must have seen exactly that many reminders.
        const int stored = int(m_confirmed.size());
        absorb(out, &r);
        if (QTest::currentTestFailed())
            return;
        if (r.loaded)
            QCOMPARE(r.loadedCount, stored);
        else
            ++killedDuringLoad;
        QVERIFY2(!err.contains("storage:"), err.constData());

        if (!QFileInfo::exists(dbPath) && !r.loaded) {
            // Killed before the first database existed.
            QVERIFY(m_confirmed.isEmpty());
            continue;
        }
        verifyDatabase(dbPath, round);
        if (QTest::currentTestFailed())
            return;
    }

    qInfo("crash safety: survived %d kills (%d during the load, %d with changes in flight, %d of those "
          "changes found written, %d while a listing was taken bare); %d changes reported saved, all found in "
          "the database",
          kills, killedDuringLoad, m_roundsWithChangesInFlight, m_foundInFlightWritten, m_killsWhileBare,
          m_totalSaved);
    QVERIFY(m_totalSaved > 0);
}

} // namespace

QTEST_GUILESS_MAIN(TestCrashSafety)
#include "tst_crashsafety.moc"
