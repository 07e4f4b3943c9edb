#include "mediasendermodel.h"

#include "imlog.h"
#include "mediasenddata.h"
#include "mediasenditem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QMimeDatabase>
#include <QSet>
#include <QStandardPaths>
#include <QUuid>

namespace {

// Scales down (never up) so that the long side is at most `side`.
QImage fitInto(const QImage& image, int side)
{
    if (image.width() <= side && image.height() <= side)
        return image;
    return image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

bool canWriteJpeg()
{
    static const bool jpeg = QImageWriter::supportedImageFormats().contains("jpeg");
    return jpeg;
}

// Writes the image as PNG when it has an alpha channel (or no JPEG writer
// is available), otherwise as JPEG. `stem` is the path without suffix; the
// written path is returned, empty on failure (nothing is left behind).
QString writeImage(const QImage& image, const QString& stem)
{
    const bool png = image.hasAlphaChannel() || !canWriteJpeg();
    const QString path = stem + (png ? QStringLiteral(".png") : QStringLiteral(".jpg"));
    QImageWriter writer(path, png ? QByteArrayLiteral("png") : QByteArrayLiteral("jpeg"));
    if (!png)
        writer.setQuality(90);
    if (!writer.write(image)) {
        ImLog::instance()->error(QStringLiteral("media: cannot write %1: %2")
                                     .arg(path, writer.errorString()));
        QFile::remove(path);
        return QString();
    }
    return path;
}

QString mimeOf(const QString& path)
{
    return QMimeDatabase().mimeTypeForFile(path).name();
}

} // namespace

MediaSenderModel* MediaSenderModel::getInstance()
{
    static MediaSenderModel instance;
    return &instance;
}

void MediaSenderModel::setCacheDirectory(const QString& dir)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_cacheDir = dir;
}

QString MediaSenderModel::cacheDirectory() const
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_cacheDir.isEmpty())
            return m_cacheDir;
    }
    return QDir(QStandardPaths::writableLocation(QStandardPaths::CacheLocation))
        .filePath(QStringLiteral("media"));
}

bool MediaSenderModel::isVideoSuffix(const QString& suffix)
{
    static const QSet<QString> videos = {
        QStringLiteral("mp4"), QStringLiteral("m4v"), QStringLiteral("mov"),
        QStringLiteral("mkv"), QStringLiteral("avi"), QStringLiteral("webm"),
        QStringLiteral("wmv"), QStringLiteral("flv"), QStringLiteral("mpg"),
        QStringLiteral("mpeg"), QStringLiteral("3gp"), QStringLiteral("ts"),
    };
    return videos.contains(suffix.toLower());
}

void MediaSenderModel::notifyError(int code)
{
    emit errorNotified(code);
}

MediaSendItem* MediaSenderModel::mediaFormat(const QString& path, int mode)
{
    Q_UNUSED(mode);
    if (path.isEmpty())
        return nullptr;
    const QFileInfo source(path);
    if (!source.isFile() || !source.isReadable())
        return nullptr;

    MediaSendData data;
    data.sourcePath = source.absoluteFilePath();

    QImageReader probe(data.sourcePath);
    probe.setDecideFormatFromContent(true);
    if (probe.canRead()) {
        const bool animated = probe.supportsAnimation() && probe.imageCount() > 1;
        QImageReader reader(data.sourcePath);
        reader.setDecideFormatFromContent(true);
        reader.setAutoTransform(true);
        const QSize size = reader.size();
        if (!animated && size.isValid()
            && (size.width() > kMaxImageSide || size.height() > kMaxImageSide)) {
            reader.setScaledSize(size.scaled(kMaxImageSide, kMaxImageSide, Qt::KeepAspectRatio));
        }
        const QImage image = reader.read();
        if (!image.isNull()) {
            const QString dir = cacheDirectory();
            if (!QDir().mkpath(dir)) {
                ImLog::instance()->error(
                    QStringLiteral("media: cannot create the cache directory %1").arg(dir));
                return nullptr;
            }
            const QString stem =
                QDir(dir).filePath(QUuid::createUuid().toString(QUuid::WithoutBraces));

            QImage carried = image;
            if (animated) {
                data.messageType = AnimatedImageMedia;
                data.path = data.sourcePath;
                data.name = source.fileName();
            } else {
                carried = fitInto(image, kMaxImageSide);
                const QString copy = writeImage(carried, stem);
                if (copy.isEmpty())
                    return nullptr;
                data.messageType = ImageMedia;
                data.path = copy;
                QString base = source.completeBaseName();
                if (base.isEmpty())
                    base = QStringLiteral("image");
                data.name = base + QLatin1Char('.') + QFileInfo(copy).suffix();
            }
            data.width = carried.width();
            data.height = carried.height();

            const QString thumb = writeImage(fitInto(carried, kThumbnailSide),
                                             stem + QStringLiteral("_thumb"));
            if (thumb.isEmpty()) {
                if (data.path != data.sourcePath)
                    QFile::remove(data.path);
                return nullptr;
            }
            data.thumbPath = thumb;
            data.size = QFileInfo(data.path).size();
            data.mimeType = mimeOf(data.path);
            return new MediaSendItem(data);
        }
        // Qt recognised the format but could not decode the image (damaged,
        // or beyond its allocation limit): it is sent as a plain file.
    }

    data.messageType = isVideoSuffix(source.suffix()) ? VideoMedia : FileMedia;
    data.path = data.sourcePath;
    data.name = source.fileName();
    data.size = source.size();
    data.mimeType = mimeOf(data.path);
    return new MediaSendItem(data);
}
