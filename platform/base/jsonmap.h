#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

// A JSON object to a map and back. Integers survive exactly as qint64;
// anything that is not a JSON object reads as an empty map.
QVariantMap jsonToMap(const QByteArray& json);
QByteArray mapToJson(const QMap<QString, QVariant>& map);
