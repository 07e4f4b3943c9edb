// A ReminderHandler on a real account store receiving the server's answers
// and listings with arbitrary ids, bytes and codes, mixed with the user's
// actions that leave unsent changes for the answers to meet.
//
// One handler serves many inputs (a new one, on a new account, every 8192).
// Each input is a short script of
// operations (at most 24); after every operation the storage worker is let
// finish and the work it posted back is delivered, as the event loop would.
// Every 256 inputs, or when the list has grown past 48 reminders, the
// account's data is cleared as the host clears it and the store emptied,
// so that memory and the list stay small.
//
// Checked after every input: the list and the store hold the same remind
// ids, and the list's index agrees with its rows.
//
// Operation (u8, modulo 12), then its fields:
//   0 listing        id, u8 (bit 0: encrypt the content blob into the
//                    message), blob message, blob content
//   1 listed deleted id
//   2 answer         id, i32 code, u8, blob message, blob content
//   3 listing ends   -
//   4 complete       id, u8 (bit 0: completed)
//   5 snooze         id, i32 minutes
//   6 new time       id, i64 time
//   7 new reminder   blob text
//   8 delete         id
//   9 clock moves    i32 seconds
//  10 reload         -  (clear as the host does, load the store again)
//  11 notification   id, u8 (which answer: finish, close, tomorrow, cancel)
// An id is a u8: below 240 one of a few fixed ids (readId), else a blob of
// its own.
#include "fuzzinput.h"
#include "fuzzsupport.h"

#include "im/content/reminder.pb.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "remindermodel.h"
#include "reminderstorage.h"
#include "sharedpreferencebase.h"
#include "userstorageprovider.h"

#include <QSet>

namespace {

constexpr int kMaxOperations = 24;
constexpr int kClearEvery = 256;
constexpr int kMaxListed = 48;
// The account (which keeps every dialog and user it was asked about) and
// the handler are made anew this often.
constexpr int kRenewEvery = 8192;

struct State
{
    fuzzsupport::ScratchAccount scratch;
    ReminderHandler* handler = nullptr;
    int runs = 0;

    State()
    {
        handler = new ReminderHandler(scratch.get()); // the account is its parent
        handler->loadLocalData(false);
        handler->readyReminder();
    }

    storage::ReminderStorage* store() const { return scratch.get()->storage()->reminderStorage(); }
};

State*& statePointer()
{
    static State* s = nullptr;
    return s;
}

State& state()
{
    if (!statePointer())
        statePointer() = new State();
    return *statePointer();
}

QString readId(fuzzinput::Reader& in)
{
    // Ids of this device (7) and others, and ids at the edges of what a
    // remind id can be: none at all, sequences at the end of 32 and 64 bits,
    // a negative and a non-numeric one.
    static const QString fixed[] = {
        QStringLiteral("7_1"), QStringLiteral("7_2"), QStringLiteral("7_3"), QStringLiteral("7_41"),
        QStringLiteral("12_40"), QStringLiteral("1_7"), QStringLiteral("7"), QStringLiteral("r1"),
        QString(), QStringLiteral("7_2147483647"), QStringLiteral("7_9223372036854775807"),
        QStringLiteral("7_-5"), QStringLiteral("7_x"),
    };
    const quint8 pick = in.u8();
    if (pick < 240)
        return fixed[pick % (sizeof fixed / sizeof fixed[0])];
    return QString::fromUtf8(in.blob(64));
}

// The message bytes as the server would send them: with bit 0 the content
// blob is encrypted with the account's key and put into the message (when
// the message parses); otherwise the bytes go as they are.
QByteArray readMessage(fuzzinput::Reader& in)
{
    const quint8 mode = in.u8();
    const QByteArray bytes = in.blob();
    const QByteArray content = in.blob();
    if (!(mode & 0x01))
        return bytes;
    im::content::Reminder msg;
    if (!msg.ParseFromArray(bytes.constData(), bytes.size()))
        return bytes;
    QByteArray key;
    const QByteArray cipher = state().scratch.get()->encrypt(content, key);
    msg.set_content(cipher.constData(), size_t(cipher.size()));
    msg.set_key(key.constData(), size_t(key.size()));
    return QByteArray::fromStdString(msg.SerializeAsString());
}

QString listOf(const QSet<QString>& ids)
{
    QStringList quoted;
    for (const QString& id : ids)
        quoted << QLatin1Char('"') + id + QLatin1Char('"');
    quoted.sort();
    return quoted.join(QLatin1Char(','));
}

QSet<QString> storedIds()
{
    QSet<QString> ids;
    for (const storage::ReminderInfo& info : state().store()->allInfos())
        ids.insert(info.id);
    return ids;
}

void checkConsistent()
{
    ReminderModel* list = state().handler->reminderModel();
    QStringList listed;
    list->allIds(listed);
    FUZZ_CHECK(listed.size() == list->count(), QStringLiteral("the list's ids and count differ"));
    for (const QString& id : listed)
        FUZZ_CHECK(list->itemById(id), QStringLiteral("listed id %1 is not in the index").arg(id));
    const QSet<QString> inList(listed.cbegin(), listed.cend());
    const QSet<QString> inStore = storedIds();
    FUZZ_CHECK(inList == inStore,
               QStringLiteral("list {%1} and store {%2} differ").arg(listOf(inList), listOf(inStore)));
}

// As the host clears an account's data, then the store emptied.
void clearAll()
{
    State& s = state();
    s.handler->prepareToClearData(false);
    s.handler->clearData(false);
    fuzzsupport::settle();
    QStringList ids;
    for (const storage::ReminderInfo& info : s.store()->allInfos())
        ids << info.id;
    s.store()->remove(ids);
    s.scratch.get()->sharedPreference()->restartList();
    s.handler->loadLocalData(false);
    fuzzsupport::settle();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    fuzzsupport::initApplication(argc, argv);
    state();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (statePointer() && statePointer()->runs >= kRenewEvery) {
        fuzzsupport::settle();
        delete statePointer(); // the account goes, and the handler with it
        statePointer() = nullptr;
    }
    State& s = state();
    ReminderHandler* h = s.handler;
    AccountBase* account = s.scratch.get();
    network::NetworkSubject* clock = network::NetworkSubject::instance();

    // Every input starts at the same time; operation 9 moves it.
    clock->setFixedTime(fuzzsupport::baseTime());
    if (++s.runs % kClearEvery == 0 || h->reminderModel()->count() > kMaxListed)
        clearAll();

    fuzzinput::Reader in(data, size);
    for (int n = 0; n < kMaxOperations && !in.atEnd(); ++n) {
        switch (in.u8() % 12) {
        case 0: {
            const QString id = readId(in);
            h->listAndNotif(id, readMessage(in));
            break;
        }
        case 1:
            h->listAndNotif(readId(in), QByteArray());
            break;
        case 2: {
            const QString id = readId(in);
            const int code = in.i32();
            h->syncFinished(id, readMessage(in), code);
            break;
        }
        case 3:
            account->sharedPreference()->finishList();
            break;
        case 4: {
            const QString id = readId(in);
            h->completedReminder(id, in.flag());
            break;
        }
        case 5: {
            const QString id = readId(in);
            h->snoozeReminder(id, in.i32());
            break;
        }
        case 6: {
            const QString id = readId(in);
            h->modifyRemindTime(id, in.i64());
            break;
        }
        case 7:
            h->newReminder(QString::fromUtf8(in.blob(1024)));
            break;
        case 8:
            h->deleteSelect(readId(in));
            break;
        case 9:
            clock->setFixedTime(clock->currentDateTime() + qint64(in.i32()) * 1000);
            break;
        case 10:
            h->prepareToClearData(false);
            h->clearData(false);
            fuzzsupport::settle();
            account->sharedPreference()->restartList();
            h->loadLocalData(false);
            h->readyReminder();
            break;
        case 11: {
            const QString id = readId(in);
            switch (in.u8() % 4) {
            case 0: h->overdueReminderFinish(id); break;
            case 1: h->closeOverdueReminder(id); break;
            case 2: h->snoozeTomorrow(id); break;
            case 3: h->cancelReminder(id); break;
            }
            break;
        }
        }
        fuzzsupport::settle();
    }
    checkConsistent();
    return 0;
}
