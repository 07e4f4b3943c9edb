#include "jsonmap.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QVariantList>

#include <charconv>

namespace {

QVariant toVariant(const QJsonValue& value);

QVariantMap objectToMap(const QJsonObject& object)
{
    QVariantMap map;
    for (auto it = object.constBegin(); it != object.constEnd(); ++it)
        map.insert(it.key(), toVariant(it.value()));
    return map;
}

QVariantList arrayToList(const QJsonArray& array)
{
    QVariantList list;
    list.reserve(array.size());
    for (const QJsonValue& v : array)
        list.append(toVariant(v));
    return list;
}

QVariant toVariant(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return QVariant::fromValue(nullptr);
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double: {
        // Whole numbers that fit in qint64 are returned as qint64, taken from
        // the integer the parser kept rather than through a double, so that
        // values above 2^53 stay exact. toInteger() answers its default for
        // anything else; two different defaults tell the cases apart.
        const qint64 a = value.toInteger(0);
        const qint64 b = value.toInteger(1);
        if (a == b)
            return QVariant::fromValue<qint64>(a);
        return value.toDouble();
    }
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array:
        return arrayToList(value.toArray());
    case QJsonValue::Object:
        return objectToMap(value.toObject());
    case QJsonValue::Undefined:
        break;
    }
    return QVariant();
}

} // namespace

QVariantMap jsonToMap(const QByteArray& json)
{
    if (json.isEmpty())
        return QVariantMap();
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return QVariantMap();
    return objectToMap(doc.object());
}

namespace {

// Whether the key is written by the JSON writer as it is: printable ASCII
// without a quote or a backslash.
bool plainKey(const QString& key)
{
    for (const QChar c : key) {
        const char16_t u = c.unicode();
        if (u < 0x20 || u > 0x7e || u == '"' || u == '\\')
            return false;
    }
    return true;
}

bool isInteger(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::Long:
    case QMetaType::Short:
        return true;
    default:
        return false;
    }
}

} // namespace

QByteArray mapToJson(const QMap<QString, QVariant>& map)
{
    // The records' extra data is a handful of integers under plain keys,
    // written for every stored change: that shape is written directly, in
    // the very bytes the JSON writer gives (keys in order, no spaces,
    // integers digit for digit).
    bool simple = true;
    for (auto it = map.constBegin(); simple && it != map.constEnd(); ++it)
        simple = isInteger(it.value()) && plainKey(it.key());
    if (simple) {
        qsizetype size = 2;
        for (auto it = map.constBegin(); it != map.constEnd(); ++it)
            size += it.key().size() + 4 + 20; // quotes, colon, comma, digits
        QByteArray json(size, Qt::Uninitialized);
        char* out = json.data();
        *out++ = '{';
        for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
            if (it != map.constBegin())
                *out++ = ',';
            *out++ = '"';
            for (const QChar c : it.key())
                *out++ = char(c.unicode());
            *out++ = '"';
            *out++ = ':';
            out = std::to_chars(out, json.data() + size, it.value().toLongLong()).ptr;
        }
        *out++ = '}';
        json.truncate(out - json.constData());
        return json;
    }

    // QJsonObject keeps qint64 values as integers and writes them digit for
    // digit.
    return QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact);
}
