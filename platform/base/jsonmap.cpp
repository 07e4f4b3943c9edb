#include "jsonmap.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QVariantList>

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

QByteArray mapToJson(const QMap<QString, QVariant>& map)
{
    // QJsonObject keeps qint64 values as integers and writes them digit for
    // digit.
    return QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact);
}
