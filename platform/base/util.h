#pragma once

#include <QString>

// File-system helpers and localised number formatting.
class Util
{
public:
    static Util* instance();

    bool isDir(const QString& path) const;
    bool fileExists(const QString& path) const;
    // Removes a file; false when it did not exist or could not be removed.
    bool deleteFile(const QString& path) const;

    // The localised ordinal of n ("1st", "22nd" in English, "第1" in
    // Chinese), from ICU's ordinal rule-based number format for the language
    // (a locale name such as "en", "en_US" or "zh_CN").
    static QString ordinalNumber(const QString& language, int n);

private:
    Util() = default;
};
