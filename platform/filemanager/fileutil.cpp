#include "fileutil.h"

#include "sha256stream_p.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeDatabase>

using filemanager::detail::kChunkSize;
using filemanager::detail::Sha256Stream;

FileUtil* FileUtil::getInstance()
{
    static FileUtil instance;
    return &instance;
}

QString FileUtil::sha256Hex(const QByteArray& bytes)
{
    Sha256Stream stream;
    stream.update(bytes);
    return stream.finalHex();
}

QString FileUtil::sha256OfFile(const QString& path, qint64* bytesRead)
{
    if (bytesRead)
        *bytesRead = 0;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    Sha256Stream stream;
    QByteArray buffer(kChunkSize, Qt::Uninitialized);
    qint64 total = 0;
    for (;;) {
        const qint64 n = file.read(buffer.data(), buffer.size());
        if (n < 0)
            return QString();
        if (n == 0)
            break;
        stream.update(buffer.constData(), n);
        total += n;
    }
    if (bytesRead)
        *bytesRead = total;
    return stream.finalHex();
}

namespace {

bool readableFile(const QString& path)
{
    if (path.isEmpty())
        return false;
    const QFileInfo info(path);
    return info.isFile() && info.isReadable();
}

} // namespace

bool FileUtil::parseMediaFile(MediaSendData& data, int mode, QMap<QString, QVariant>& fields,
                              int& errorCode)
{
    fields.clear();
    const auto fail = [&errorCode](ParseError code) {
        errorCode = code;
        return false;
    };

    if (!readableFile(data.path))
        return fail(ErrorUnreadableFile);
    const qint64 size = QFileInfo(data.path).size();
    if (size == 0)
        return fail(ErrorEmptyFile);
    if (size > kMaxFileSize)
        return fail(ErrorTooLarge);

    int width = data.width;
    int height = data.height;
    if (mode == ImageMode) {
        if (data.messageType != 2 && data.messageType != 5)
            return fail(ErrorNotImage);
        QImageReader reader(data.path);
        reader.setDecideFormatFromContent(true);
        if (!reader.canRead())
            return fail(ErrorNotImage);
        if (width <= 0 || height <= 0) {
            const QSize imageSize = reader.size();
            width = imageSize.width();
            height = imageSize.height();
        }
    }

    QString thumbId;
    if (!data.thumbPath.isEmpty()) {
        if (!readableFile(data.thumbPath))
            return fail(ErrorUnreadableFile);
        thumbId = sha256OfFile(data.thumbPath);
        if (thumbId.isEmpty())
            return fail(ErrorUnreadableFile);
    }

    qint64 hashed = 0;
    const QString fileId = sha256OfFile(data.path, &hashed);
    if (fileId.isEmpty())
        return fail(ErrorUnreadableFile);
    // The file may have changed since it was measured: judge what was read.
    if (hashed == 0)
        return fail(ErrorEmptyFile);
    if (hashed > kMaxFileSize)
        return fail(ErrorTooLarge);

    const QString name = data.name.isEmpty() ? QFileInfo(data.path).fileName() : data.name;
    const QString mime = QMimeDatabase().mimeTypeForFile(data.path).name();

    QMap<QString, QVariant> result;
    result.insert(QStringLiteral("fileId"), fileId);
    result.insert(QStringLiteral("sha256"), fileId);
    result.insert(QStringLiteral("name"), name);
    result.insert(QStringLiteral("size"), hashed);
    result.insert(QStringLiteral("mimeType"), mime);
    result.insert(QStringLiteral("path"), data.path);
    result.insert(QStringLiteral("width"), qMax(0, width));
    result.insert(QStringLiteral("height"), qMax(0, height));
    if (!data.thumbPath.isEmpty()) {
        result.insert(QStringLiteral("thumbPath"), data.thumbPath);
        result.insert(QStringLiteral("thumbFileId"), thumbId);
    }
    fields = result;
    errorCode = ParseOk;
    return true;
}
