#include "recordextra.h"

#include "jsonmap.h"

#include <QString>
#include <QVariantMap>

#include <cstring>

namespace {

const QString kLastContentTime = QStringLiteral("last_content_time");
const QString kLastCompletedTime = QStringLiteral("last_completed_time");
const QString kLastPatternTime = QStringLiteral("last_pattern_time");
const QString kLastUnreadTime = QStringLiteral("last_unread_time");

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

} // namespace

RecordExtra RecordExtra::fromJson(const QByteArray& json)
{
    // What the writer makes for a record with no unsent change: the most
    // common extra of all, known at a glance.
    static const QByteArray noChange = RecordExtra().toJson();
    RecordExtra extra;
    if (json == noChange || readPlain(json, &extra))
        return extra;
    extra = RecordExtra();
    const QVariantMap map = jsonToMap(json);
    extra.lastContentTime = map.value(kLastContentTime).toLongLong();
    extra.lastCompletedTime = map.value(kLastCompletedTime).toLongLong();
    extra.lastPatternTime = map.value(kLastPatternTime).toLongLong();
    extra.lastUnreadTime = map.value(kLastUnreadTime).toLongLong();
    return extra;
}

QByteArray RecordExtra::toJson() const
{
    const auto json = [](const RecordExtra& extra) {
        QVariantMap map;
        map.insert(kLastContentTime, extra.lastContentTime);
        map.insert(kLastCompletedTime, extra.lastCompletedTime);
        map.insert(kLastPatternTime, extra.lastPatternTime);
        map.insert(kLastUnreadTime, extra.lastUnreadTime);
        return mapToJson(map);
    };
    // Most records carry no pending change: their JSON is one and the same,
    // made once and shared (a listing writes a hundred thousand of them).
    if (*this == RecordExtra()) {
        static const QByteArray noChange = json(RecordExtra());
        return noChange;
    }
    return json(*this);
}

bool RecordExtra::readPlain(const QByteArray& json, RecordExtra* out)
{
    if (json.isEmpty())
        return true; // no JSON at all: jsonToMap gives no keys
    const char* p = json.constData();
    const char* const end = p + json.size();
    const auto skipSpace = [&] {
        while (p < end && isSpace(*p))
            ++p;
    };
    skipSpace();
    if (p == end || *p++ != '{')
        return false;
    skipSpace();
    if (p < end && *p == '}') {
        ++p;
        skipSpace();
        return p == end;
    }
    unsigned seen = 0;
    for (;;) {
        // A key: plain characters between quotes (an escape sends the
        // JSON to the full reader).
        if (p == end || *p++ != '"')
            return false;
        const char* key = p;
        while (p < end && *p != '"' && *p != '\\' && static_cast<unsigned char>(*p) >= 0x20)
            ++p;
        if (p == end || *p != '"')
            return false;
        const size_t keyLength = size_t(p - key);
        ++p;
        skipSpace();
        if (p == end || *p++ != ':')
            return false;
        skipSpace();
        // A whole number of at most 18 digits, so that it fits in 64 bits
        // without a check; a fraction, an exponent or any other value goes
        // to the full reader.
        const bool negative = p < end && *p == '-';
        if (negative)
            ++p;
        const char* digits = p;
        qint64 value = 0;
        while (p < end && *p >= '0' && *p <= '9' && p - digits < 18)
            value = value * 10 + (*p++ - '0');
        const ptrdiff_t count = p - digits;
        if (count == 0 || (count > 1 && *digits == '0'))
            return false;
        // A 19th digit, a fraction or an exponent: the full reader decides.
        if (p < end && (*p == '.' || *p == 'e' || *p == 'E' || (*p >= '0' && *p <= '9')))
            return false;
        if (negative)
            value = -value;

        const auto is = [&](const char* name) {
            return keyLength == std::strlen(name) && std::memcmp(key, name, keyLength) == 0;
        };
        qint64* field = nullptr;
        unsigned bit = 0;
        if (is("last_content_time")) {
            field = &out->lastContentTime;
            bit = 1;
        } else if (is("last_completed_time")) {
            field = &out->lastCompletedTime;
            bit = 2;
        } else if (is("last_pattern_time")) {
            field = &out->lastPatternTime;
            bit = 4;
        } else if (is("last_unread_time")) {
            field = &out->lastUnreadTime;
            bit = 8;
        }
        if (field) {
            if (seen & bit)
                return false; // a key twice: the full reader decides which counts
            seen |= bit;
            *field = value;
        }

        skipSpace();
        if (p == end)
            return false;
        if (*p == ',') {
            ++p;
            skipSpace();
            continue;
        }
        if (*p++ != '}')
            return false;
        skipSpace();
        return p == end;
    }
}
