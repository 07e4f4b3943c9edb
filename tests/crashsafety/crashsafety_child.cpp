// The process that tst_crashsafety kills. It opens account 1001 on the data
// directory it is given, with a real ReminderHandler on the real storage
// worker, and changes reminders through the handler's own slots until it is
// killed (or until it has made the number of changes asked for):
//
//   crashsafety_child <data dir> <seed> [changes]
//
// Every line it writes to stdout is one write(2) call, so a line is either
// wholly in the pipe or not at all when the process dies:
//
//   loaded <count>                         the handler has loaded the store
//   intent <n> <id> <open|done|deleted> <text>
//                                          change n is about to be made
//   saved <n>                              change n is on disk
//
// "saved n" is written by a task queued on the storage worker right behind
// the writes that change n handed in: the worker runs its tasks one at a
// time in the order they came, so when that task runs every write of the
// change has been committed. A change may span several reminders (deleting
// every completed one, a listing): it then has one intent line per reminder.
//
// Now and then it deletes every reminder and, once the worker is idle,
// lists a burst of reminders from another device into the empty store, as
// a device's first listing does: the store then takes them bare and builds
// its indexes and search side afterwards (a kill may land in either).
#include "accountbase.h"
#include "contentcipher.h"
#include "imlog.h"
#include "reminderhandler.h"
#include "reminderitem.h"
#include "remindermodel.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include "im/content/reminder.pb.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QStringList>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <iterator>
#include <unistd.h>

namespace {

constexpr qint64 kAccountId = 1001;
constexpr qint64 kDeviceId = 7;
// Changes whose "saved" line has not been written yet; beyond this many the
// child waits for the worker, so that a kill always finds writes in flight
// but the queue does not grow without end.
constexpr int kMaxInFlight = 6;

void writeLine(const QByteArray& line)
{
    const QByteArray bytes = line + '\n';
    const char* p = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(STDOUT_FILENO, p, size_t(left));
        if (n <= 0)
            return;
        p += n;
        left -= n;
    }
}

QByteArray stateOf(const ReminderItemPtr& item)
{
    return item->completed() ? QByteArrayLiteral("done") : QByteArrayLiteral("open");
}

class Driver : public QObject
{
public:
    Driver(AccountBase* account, ReminderHandler* handler, storage::ReminderStorage* store, quint32 seed,
           qint64 changes)
        : m_account(account), m_handler(handler), m_rng(seed), m_changesLeft(changes)
    {
        QStringList ids;
        m_handler->reminderModel()->allIds(ids);
        m_live = ids;
        // The handler numbers new reminders after the highest sequence of
        // this device among the stored ids and the removed ones.
        for (const QString& id : ids + QStringList(store->removedIds())) {
            int& sequence = id.startsWith(QLatin1String("9_")) ? m_listedSequence : m_lastSequence;
            sequence = qMax(sequence, id.mid(id.lastIndexOf(QLatin1Char('_')) + 1).toInt());
        }
        connect(&m_tick, &QTimer::timeout, this, &Driver::step);
        m_tick.start(0);
    }

private:
    ReminderModel* model() const { return m_handler->reminderModel(); }

    // A text of 1 to about 1,500 characters, so that a record spans from a
    // part of a page to several (and its search index entries with it).
    QString makeText(int n)
    {
        static const char* const words[] = { "call", "Bob", "buy", "bread", "team", "stand-up",
                                             "review", "dentist", "train", "report", "买面包",
                                             "开会", "Zürich", "naïve", "invoice", "garden" };
        QString text = QStringLiteral("c%1").arg(n);
        const int length = m_rng.bounded(10) == 0 ? m_rng.bounded(400, 1500) : m_rng.bounded(0, 120);
        while (text.size() < length) {
            text += QLatin1Char(' ');
            text += QString::fromUtf8(words[m_rng.bounded(int(std::size(words)))]);
        }
        return text;
    }

    void intent(int n, const QString& id, const QByteArray& state, const QString& text)
    {
        writeLine("intent " + QByteArray::number(n) + ' ' + id.toUtf8() + ' ' + state + ' ' + text.toUtf8());
    }

    // Queues the "saved" line behind every write handed to the worker so far.
    void confirm(int n)
    {
        ++m_inFlight;
        std::atomic<int>* inFlight = &m_inFlight;
        ThreadManager::getInstance()->invoke(
            [n, inFlight] {
                writeLine("saved " + QByteArray::number(n));
                --*inFlight;
            },
            true);
    }

    // The reminder's state must be what the intent line announced.
    void check(const QString& id, const QByteArray& state, const QString& text)
    {
        const ReminderItemPtr item = model()->itemById(id);
        if (!item || stateOf(item) != state || item->text() != text) {
            std::fprintf(stderr, "crashsafety_child: %s is not %s after the change\n",
                         qPrintable(id), state.constData());
            std::fflush(stderr);
            std::_Exit(3);
        }
    }

    QString pick(bool completed)
    {
        QStringList candidates;
        for (const QString& id : std::as_const(m_live)) {
            const ReminderItemPtr item = model()->itemById(id);
            if (item && item->completed() == completed)
                candidates << id;
        }
        if (candidates.isEmpty())
            return {};
        return candidates.at(m_rng.bounded(int(candidates.size())));
    }

    QString pickAny()
    {
        if (m_live.isEmpty())
            return {};
        return m_live.at(m_rng.bounded(int(m_live.size())));
    }

    void step()
    {
        if (m_changesLeft == 0) {
            m_tick.stop();
            ThreadManager::getInstance()->waitForIdle();
            QCoreApplication::quit();
            return;
        }
        if (m_inFlight.load() >= kMaxInFlight)
            ThreadManager::getInstance()->waitForIdle();

        const int n = ++m_change;
        const int roll = m_rng.bounded(100);
        bool done = false;
        if (m_live.isEmpty() && roll < 50)
            done = listing(n);
        else if (roll < 30 || m_live.size() < 4)
            done = makeNew(n);
        else if (roll < 55)
            done = edit(n);
        else if (roll < 72)
            done = complete(n);
        else if (roll < 80)
            done = reopen(n);
        else if (roll < 94)
            done = removeOne(n);
        else if (roll < 98)
            done = removeCompleted(n);
        else
            done = removeAll(n);
        if (!done) {
            --m_change; // nothing to change of that kind: try another
            return;
        }
        if (m_changesLeft > 0)
            --m_changesLeft;
    }

    bool makeNew(int n)
    {
        // The handler names the new reminder: announce it under the id it
        // will take (the device's next sequence number).
        const QString text = makeText(n);
        const QString expectedId = QStringLiteral("%1_%2").arg(kDeviceId).arg(++m_lastSequence);
        intent(n, expectedId, "open", text);
        m_handler->newReminder(text);
        confirm(n);
        check(expectedId, "open", text);
        m_live << expectedId;
        return true;
    }

    bool edit(int n)
    {
        const QString id = pickAny();
        if (id.isEmpty())
            return false;
        const ReminderItemPtr item = model()->itemById(id);
        const QByteArray state = stateOf(item);
        const QString text = makeText(n);
        intent(n, id, state, text);
        m_handler->editReminder(id);
        m_handler->setContent(text);
        m_handler->syncReminder();
        confirm(n);
        check(id, state, text);
        return true;
    }

    bool complete(int n)
    {
        const QString id = pick(false);
        if (id.isEmpty())
            return false;
        const QString text = model()->itemById(id)->text();
        intent(n, id, "done", text);
        m_handler->completedReminder(id, true);
        confirm(n);
        check(id, "done", text);
        return true;
    }

    bool reopen(int n)
    {
        const QString id = pick(true);
        if (id.isEmpty())
            return false;
        const QString text = model()->itemById(id)->text();
        intent(n, id, "open", text);
        m_handler->completedReminder(id, false);
        confirm(n);
        check(id, "open", text);
        return true;
    }

    bool removeOne(int n)
    {
        const QString id = pickAny();
        if (id.isEmpty())
            return false;
        intent(n, id, "deleted", QString());
        m_handler->deleteSelect(id);
        confirm(n);
        m_live.removeOne(id);
        return true;
    }

    bool removeCompleted(int n)
    {
        QStringList ids;
        model()->completedIds(ids);
        if (ids.isEmpty())
            return false;
        for (const QString& id : std::as_const(ids))
            intent(n, id, "deleted", QString());
        m_handler->deleteAllCompleted();
        confirm(n);
        for (const QString& id : std::as_const(ids))
            m_live.removeOne(id);
        return true;
    }

    bool removeAll(int n)
    {
        const QStringList ids = m_live;
        for (const QString& id : ids)
            intent(n, id, "deleted", QString());
        for (const QString& id : ids)
            m_handler->deleteSelect(id);
        confirm(n);
        m_live.clear();
        return true;
    }

    // Reminders another device made, as the server lists them.
    bool listing(int n)
    {
        // Every write so far committed: the listing's group begins on an
        // empty store.
        ThreadManager::getInstance()->waitForIdle();
        const int count = m_rng.bounded(300, 3000);
        QList<QPair<QString, QByteArray>> listed;
        for (int i = 0; i < count; ++i) {
            const QString id = QStringLiteral("9_%1").arg(++m_listedSequence);
            ReminderItem item(id);
            item.setText(makeText(n));
            item.setOrderTime(1000000 + m_listedSequence);
            item.setCompleted(m_rng.bounded(4) == 0);
            im::content::Reminder message;
            if (!item.serialize(message, m_account, false)) {
                std::fprintf(stderr, "crashsafety_child: a listed reminder did not serialise\n");
                std::_Exit(3);
            }
            intent(n, id, item.completed() ? "done" : "open", item.text());
            listed.append({ id, QByteArray::fromStdString(message.SerializeAsString()) });
        }
        for (const auto& entry : std::as_const(listed))
            m_handler->listAndNotif(entry.first, entry.second);
        confirm(n);
        for (const auto& entry : std::as_const(listed)) {
            const ReminderItemPtr item = model()->itemById(entry.first);
            if (!item) {
                std::fprintf(stderr, "crashsafety_child: listed %s is not in the list\n", qPrintable(entry.first));
                std::_Exit(3);
            }
            m_live << entry.first;
        }
        return true;
    }

    AccountBase* m_account;
    ReminderHandler* m_handler;
    QRandomGenerator m_rng;
    qint64 m_changesLeft;
    int m_change = 0;
    int m_lastSequence = 0;
    int m_listedSequence = 0;
    QStringList m_live;
    std::atomic<int> m_inFlight { 0 };
    QTimer m_tick;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 3) {
        std::fprintf(stderr, "usage: crashsafety_child <data dir> <seed> [changes]\n");
        return 2;
    }
    const QString dataDir = args.at(1);
    const quint32 seed = args.at(2).toUInt();
    const qint64 changes = args.size() > 3 ? args.at(3).toLongLong() : -1;

    ImLog::instance()->setLogDirectory(dataDir);
    ImLog::instance()->setEchoToStderr(true);

    int rc = 0;
    {
        AccountBase account(kAccountId, kDeviceId, dataDir, ContentCipher::deriveKey("crash safety"));
        auto* handler = new ReminderHandler(&account); // the account's child
        handler->loadLocalData(false);
        handler->readyReminder();
        writeLine("loaded " + QByteArray::number(handler->reminderModel()->count()));
        Driver driver(&account, handler, account.storage()->reminderStorage(), seed, changes);
        rc = app.exec();
        ThreadManager::getInstance()->waitForIdle();
    }
    return rc;
}
