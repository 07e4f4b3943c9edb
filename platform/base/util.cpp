#include "util.h"

#include <QFile>
#include <QFileInfo>

#include <unicode/locid.h>
#include <unicode/rbnf.h>
#include <unicode/unistr.h>

#include <memory>

Util* Util::instance()
{
    // Function-local statics are initialised once, thread-safely.
    static Util util;
    return &util;
}

bool Util::isDir(const QString& path) const
{
    return !path.isEmpty() && QFileInfo(path).isDir();
}

bool Util::fileExists(const QString& path) const
{
    if (path.isEmpty())
        return false;
    // isFile() follows symbolic links: true for a regular file or a link to
    // one, false for directories, dangling links and missing paths.
    return QFileInfo(path).isFile();
}

bool Util::deleteFile(const QString& path) const
{
    if (path.isEmpty())
        return false;
    const QFileInfo info(path);
    if (info.isDir())
        return false;
    // A symbolic link is removed itself (even a dangling one), never its target.
    if (!info.exists() && !info.isSymLink())
        return false;
    return QFile::remove(path);
}

QString Util::ordinalNumber(const QString& language, int n)
{
    // ICU locale ids use '_' between the parts; accept "zh-CN" as well.
    QString id = language.trimmed();
    id.replace(QLatin1Char('-'), QLatin1Char('_'));
    const QByteArray localeId = id.toLatin1();
    const icu::Locale locale(localeId.constData());
    if (locale.isBogus())
        return QString::number(n);

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RuleBasedNumberFormat> format(
        new icu::RuleBasedNumberFormat(icu::URBNF_ORDINAL, locale, status));
    if (U_FAILURE(status) || !format)
        return QString::number(n);

    icu::UnicodeString out;
    format->format(static_cast<int32_t>(n), out);
    if (out.isBogus() || out.isEmpty())
        return QString::number(n);
    return QString(reinterpret_cast<const QChar*>(out.getBuffer()), out.length());
}
