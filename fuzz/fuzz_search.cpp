// Keyword search with arbitrary text over a small fixed set of reminders:
// storage::ReminderStorage::infosWithKeyword (the trigram index for
// keywords of three or more characters, a scan for shorter ones) and
// ReminderHandler::search, which runs it on the thread pool and fills the
// search list.
//
// Checked for every input: the store answers exactly the records whose
// text contains the keyword, compared case-insensitively as Qt compares
// (QString::contains, a NUL character counting as U+FFFD as the store
// documents), in descending order time, cut at the limit; SQLite
// reports no error; the handler's search list holds exactly those
// reminders. Keywords that are not well-formed UTF-16 (a lone surrogate)
// are only checked for not failing, since they have no UTF-8 form to
// search for.
//
// Input: u8 mode (bit 0: the rest is UTF-16, else UTF-8; bit 1: also
// search through the handler), i32 limit, rest = keyword.
#include "fuzzinput.h"
#include "fuzzsupport.h"

#include "contentitem.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "remindermodel.h"
#include "reminderstorage.h"
#include "userstorageprovider.h"

#include <QThreadPool>

#include <cstring>

namespace {

// Texts chosen for what the two search paths could disagree on: case
// folding beyond ASCII, characters outside the basic plane, combining
// marks, the index's own syntax, and text the index has to split.
// Each text with its length in bytes (one holds NUL characters).
#define TEXT(literal) { literal, int(sizeof(literal) - 1) }
const struct
{
    const char* bytes;
    int size;
} kTexts[] = {
    TEXT("Buy Milk"),
    TEXT("milkshake recipe"),
    TEXT("MEETING at noon"),
    TEXT("明天开会讨论预算"),
    TEXT("rentrée à l'école"),
    TEXT("party 🎉🎉🎉 today"),
    TEXT("ΣΊΣΥΦΟΣ σίσυφος ς"),
    TEXT("Straße STRASSE ẞ"),
    TEXT("İstanbul ıi KELVIN \xe2\x84\xaa"),
    TEXT("e\xcc\x81t\xc3\xa9 cafe\xcc\x81"),
    TEXT("say \"hello\" AND NEAR(a b) col:val * ^x -y"),
    TEXT("Ꭰ ꭰ Ⴀ ⴀ 𐐀 𐐨 𞤀 𞤢"),
    TEXT("ﬀ ﬁ Ǆ ǅ ǆ ꜳ"),
    TEXT(""),
    TEXT("   "),
    TEXT("100% sure_thing back\\slash"),
    TEXT("nul\0inside \0\0 text\0"),
};
#undef TEXT
constexpr int kCount = int(sizeof kTexts / sizeof kTexts[0]);

// The store compares a NUL character as U+FFFD (ReminderStorage).
QString searchableForm(QString text)
{
    text.replace(QChar(0), QChar(QChar::ReplacementCharacter));
    return text;
}

struct State
{
    fuzzsupport::ScratchAccount scratch;
    ReminderHandler* handler = nullptr;
    QList<storage::ReminderInfo> records; // in the store's order

    State()
    {
        storage::ReminderStorage* store = scratch.get()->storage()->reminderStorage();
        for (int i = 0; i < kCount; ++i) {
            ReminderItemPtr item(new ReminderItem(QStringLiteral("s%1").arg(i, 2, 10, QLatin1Char('0'))));
            item->setText(QString::fromUtf8(kTexts[i].bytes, kTexts[i].size));
            item->setOrderTime(1000 + i);
            storage::ReminderInfo info;
            item->serialize(info);
            store->save(info);
        }
        records = store->allInfos();
        handler = new ReminderHandler(scratch.get());
        handler->loadLocalData(false);
        fuzzsupport::settle();
    }

    storage::ReminderStorage* store() const { return scratch.get()->storage()->reminderStorage(); }
};

State& state()
{
    static State* s = new State();
    return *s;
}

QStringList idsOf(const QList<storage::ReminderInfo>& infos)
{
    QStringList ids;
    for (const storage::ReminderInfo& info : infos)
        ids << info.id;
    return ids;
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
    State& s = state();
    fuzzinput::Reader in(data, size);
    const quint8 mode = in.u8();
    const int limit = in.i32();
    const QByteArray bytes = in.rest();
    QString keyword;
    if (mode & 0x01) {
        keyword.resize(bytes.size() / 2);
        std::memcpy(keyword.data(), bytes.constData(), size_t(keyword.size()) * sizeof(QChar));
    } else
        keyword = QString::fromUtf8(bytes);
    // Lone surrogates do not survive the trip to UTF-8.
    const bool wellFormed = QString::fromUtf8(keyword.toUtf8()) == keyword;

    ImLog::instance()->clearRecentLines();
    const QList<storage::ReminderInfo> found = s.store()->infosWithKeyword(keyword, limit);
    const QStringList errors = ImLog::instance()->recentLines();
    FUZZ_CHECK(errors.isEmpty(), errors.join(QLatin1Char('\n')));

    // The records' texts are the store's copies, NUL already replaced.
    QStringList expected;
    for (const storage::ReminderInfo& info : s.records) {
        if (keyword.isEmpty() || info.text.contains(searchableForm(keyword), Qt::CaseInsensitive))
            expected << info.id;
    }
    const QStringList all = expected;
    if (limit > 0)
        expected = expected.mid(0, limit);
    if (wellFormed) {
        FUZZ_CHECK(idsOf(found) == expected,
                   QStringLiteral("keyword '%1' (%2) limit %3: found {%4}, expected {%5}")
                       .arg(keyword, QString::fromLatin1(keyword.toUtf8().toHex()))
                       .arg(limit)
                       .arg(idsOf(found).join(QLatin1Char(',')), expected.join(QLatin1Char(','))));
        for (const storage::ReminderInfo& info : found)
            FUZZ_CHECK(s.records.contains(info), QStringLiteral("record %1 came back changed").arg(info.id));
    }

    if (mode & 0x02) {
        ReminderHandler* h = s.handler;
        h->search(keyword);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::sendPostedEvents();
        QStringList listed;
        h->searchModel()->allIds(listed);
        if (wellFormed && !keyword.isEmpty()) {
            QStringList sortedListed = listed;
            sortedListed.sort();
            QStringList sortedAll = all;
            sortedAll.sort();
            FUZZ_CHECK(sortedListed == sortedAll,
                       QStringLiteral("search list {%1}, expected {%2}")
                           .arg(sortedListed.join(QLatin1Char(',')), sortedAll.join(QLatin1Char(','))));
        } else if (keyword.isEmpty()) {
            FUZZ_CHECK(listed.isEmpty(), QStringLiteral("an empty keyword filled the search list"));
        }
        h->resetSearch();
    }
    return 0;
}
