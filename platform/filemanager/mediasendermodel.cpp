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

#include <algorithm>
#include <vector>

namespace {

// One source row as non-premultiplied ARGB values.
void fetchRow(const QImage& image, int y, std::vector<QRgb>& row)
{
    const int w = image.width();
    row.resize(size_t(w));
    switch (image.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32: {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        std::copy(line, line + w, row.begin());
        if (image.format() == QImage::Format_RGB32) {
            for (QRgb& p : row)
                p |= 0xff000000u;
        }
        break;
    }
    case QImage::Format_ARGB32_Premultiplied: {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < w; ++x)
            row[size_t(x)] = qUnpremultiply(line[x]);
        break;
    }
    default:
        for (int x = 0; x < w; ++x)
            row[size_t(x)] = image.pixel(x, y);
        break;
    }
}

// The image in `target` size (RGB32, or ARGB32 when it has an alpha
// channel), each pixel the average of the source pixels it covers, with
// colours weighted by their opacity. Runs wholly in the calling thread:
// QImage's own smooth scaling and format conversions hand big images to
// Qt's global thread pool, which the media model keeps out of.
QImage areaScaled(const QImage& source, const QSize& target)
{
    const int sw = source.width();
    const int sh = source.height();
    const int dw = qMax(1, target.width());
    const int dh = qMax(1, target.height());
    const bool alpha = source.hasAlphaChannel();
    QImage out(dw, dh, alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (out.isNull())
        return out;

    // Destination column of each source column.
    std::vector<int> column(static_cast<size_t>(sw));
    for (int x = 0; x < sw; ++x)
        column[size_t(x)] = int(qint64(x) * dw / sw);

    struct Sum
    {
        quint64 a = 0, r = 0, g = 0, b = 0, n = 0;
    };
    std::vector<Sum> sums(static_cast<size_t>(dw));
    std::vector<QRgb> row;
    int sy = 0;
    for (int y = 0; y < dh; ++y) {
        std::fill(sums.begin(), sums.end(), Sum());
        const int end = qMax(sy + 1, int(qint64(y + 1) * sh / dh));
        for (; sy < end && sy < sh; ++sy) {
            fetchRow(source, sy, row);
            for (int x = 0; x < sw; ++x) {
                const QRgb p = row[size_t(x)];
                const quint64 a = quint64(qAlpha(p));
                Sum& s = sums[size_t(column[size_t(x)])];
                s.a += a;
                s.r += quint64(qRed(p)) * a;
                s.g += quint64(qGreen(p)) * a;
                s.b += quint64(qBlue(p)) * a;
                ++s.n;
            }
        }
        auto* line = reinterpret_cast<QRgb*>(out.scanLine(y));
        for (int x = 0; x < dw; ++x) {
            const Sum& s = sums[size_t(x)];
            if (s.n == 0 || s.a == 0) {
                line[x] = alpha ? qRgba(0, 0, 0, 0) : qRgb(0, 0, 0);
                continue;
            }
            const int a = int((s.a + s.n / 2) / s.n);
            const int r = int((s.r + s.a / 2) / s.a);
            const int g = int((s.g + s.a / 2) / s.a);
            const int b = int((s.b + s.a / 2) / s.a);
            line[x] = alpha ? qRgba(r, g, b, a) : qRgb(r, g, b);
        }
    }
    return out;
}

// Scales down (never up) so that the long side is at most `side`; the
// result is always RGB32 or ARGB32.
QImage fitInto(const QImage& image, int side)
{
    QSize size = image.size();
    if (size.width() > side || size.height() > side)
        size = size.scaled(side, side, Qt::KeepAspectRatio);
    return areaScaled(image, size);
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
        // Decoders that can scale while decoding (JPEG) are asked to; the
        // rest are scaled after decoding.
        if (!animated && size.isValid()
            && (size.width() > kMaxImageSide || size.height() > kMaxImageSide)
            && reader.supportsOption(QImageIOHandler::ScaledSize)) {
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
