#include "connection.h"

#include "storagesql.h"

#include "synclocker.h"

#include <sqlite3.h>

namespace storage {

namespace {

// The needle of a query, kept as the argument's auxiliary data: the same
// for every row, converted once.
struct Needle
{
    QString text;
    QByteArray asciiLower; // the needle in lower case when it is ASCII only
    bool ascii = false;
};

bool isAscii(const char* bytes, int size)
{
    for (int i = 0; i < size; ++i) {
        if (static_cast<unsigned char>(bytes[i]) >= 0x80)
            return false;
    }
    return true;
}

char asciiLower(char c)
{
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

// Case-insensitive containment of an ASCII needle (given in lower case) in
// an ASCII haystack: for ASCII both Qt's folding and this one change only
// A-Z, so the answer is Qt's.
bool asciiContains(const char* haystack, int size, const QByteArray& needle)
{
    const int n = int(needle.size());
    if (n == 0)
        return true;
    const char first = needle.at(0);
    for (int i = 0; i + n <= size; ++i) {
        if (asciiLower(haystack[i]) != first)
            continue;
        int k = 1;
        while (k < n && asciiLower(haystack[i + k]) == needle.at(k))
            ++k;
        if (k == n)
            return true;
    }
    return false;
}

// storage_contains(haystack, needle): plain, case-insensitive containment,
// with Qt's case folding so that every character of the needle (including
// '%', '_' and non-ASCII letters) is compared literally. An ASCII needle in
// an ASCII text (most rows) is compared on the bytes, without converting
// the text.
void containsFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc != 2 || sqlite3_value_type(argv[0]) == SQLITE_NULL
        || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_int(ctx, 0);
        return;
    }

    const auto* needle = static_cast<const Needle*>(sqlite3_get_auxdata(ctx, 1));
    if (!needle) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(argv[1]));
        const int size = sqlite3_value_bytes(argv[1]);
        auto* made = new Needle;
        made->text = QString::fromUtf8(text, size);
        made->ascii = isAscii(text, size);
        if (made->ascii)
            made->asciiLower = QByteArray(text, size).toLower();
        sqlite3_set_auxdata(ctx, 1, made, [](void* p) { delete static_cast<Needle*>(p); });
        // SQLite may drop the auxiliary data at once: use it from here.
        needle = static_cast<const Needle*>(sqlite3_get_auxdata(ctx, 1));
        if (!needle) {
            const auto* hay = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
            const QString haystack = QString::fromUtf8(hay, sqlite3_value_bytes(argv[0]));
            sqlite3_result_int(ctx, haystack.contains(QString::fromUtf8(text, size), Qt::CaseInsensitive) ? 1 : 0);
            return;
        }
    }

    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
    const int size = sqlite3_value_bytes(argv[0]);
    if (needle->ascii && isAscii(text, size)) {
        sqlite3_result_int(ctx, asciiContains(text, size, needle->asciiLower) ? 1 : 0);
        return;
    }
    const QString haystack = QString::fromUtf8(text, size);
    sqlite3_result_int(ctx, haystack.contains(needle->text, Qt::CaseInsensitive) ? 1 : 0);
}

SqliteSchema accountSchema()
{
    SqliteSchema schema;
    schema.create = sql::kCreateSchema;
    schema.tables = { { "reminder", sql::kProbeReminder },
                      { "reminder_removed", sql::kProbeRemoved },
                      { "cache_file", sql::kProbeCacheFile } };
    schema.version = sql::kSchemaVersion;
    schema.prepareHandle = [](sqlite3* db) {
        return sqlite3_create_function_v2(db, sql::kContainsFunction, 2,
                                          SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, nullptr,
                                          &containsFunction, nullptr, nullptr, nullptr);
    };
    return schema;
}

} // namespace

Connection::Connection(const QString& path)
    : m_file(path, QStringLiteral("storage"), accountSchema(), SqliteFile::Threading::Shared)
{
}

Connection::~Connection()
{
    // No store may be halfway through a statement while the file closes.
    SyncLocker lock(&m_mutex);
    m_file.close();
}

} // namespace storage
