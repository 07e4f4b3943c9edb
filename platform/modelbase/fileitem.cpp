#include "fileitem.h"

#include "accountbase.h"
#include "filedata.h"

#include "im/content/content.pb.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

FileItem::FileItem(int scene, AccountBase* account, QObject* parent)
    : ContentItem(scene, account, parent)
{
}

void FileItem::setSourceFile(const QSharedPointer<BaseFile>& file)
{
    m_source = file;
    emit fileChanged();
}

void FileItem::setThumbnailFile(const QSharedPointer<BaseFile>& file)
{
    m_thumbnail = file;
    emit fileChanged();
}

QString FileItem::thumbnailFile() const
{
    return m_thumbnail ? m_thumbnail->path() : QString();
}

bool FileItem::validThumbFile() const
{
    return m_thumbnail && !m_thumbnail->path().isEmpty() && QFileInfo(m_thumbnail->path()).isFile();
}

QStringList FileItem::uploadedFileIds() const
{
    QStringList ids;
    if (m_source && !m_source->fileId().isEmpty())
        ids.append(m_source->fileId());
    if (m_thumbnail && !m_thumbnail->fileId().isEmpty())
        ids.append(m_thumbnail->fileId());
    return ids;
}

QString FileItem::fileName() const
{
    return m_source ? m_source->name() : QString();
}

qint64 FileItem::fileSize() const
{
    return m_source ? m_source->size() : 0;
}

QString FileItem::filePath() const
{
    return m_source ? m_source->path() : QString();
}

void FileItem::setImageSize(int width, int height)
{
    if (m_width == width && m_height == height)
        return;
    m_width = width;
    m_height = height;
    emit fileChanged();
}

void FileItem::calcFileType()
{
    static const QHash<QString, int> kinds = {
        {"doc", KindDocument}, {"docx", KindDocument}, {"odt", KindDocument}, {"rtf", KindDocument},
        {"pages", KindDocument},
        {"xls", KindSpreadsheet}, {"xlsx", KindSpreadsheet}, {"ods", KindSpreadsheet},
        {"csv", KindSpreadsheet}, {"numbers", KindSpreadsheet},
        {"ppt", KindPresentation}, {"pptx", KindPresentation}, {"odp", KindPresentation},
        {"key", KindPresentation},
        {"pdf", KindPdf},
        {"txt", KindText}, {"md", KindText}, {"log", KindText}, {"json", KindText},
        {"xml", KindText},
        {"zip", KindArchive}, {"rar", KindArchive}, {"7z", KindArchive}, {"tar", KindArchive},
        {"gz", KindArchive}, {"bz2", KindArchive}, {"xz", KindArchive},
        {"png", KindImage}, {"jpg", KindImage}, {"jpeg", KindImage}, {"gif", KindImage},
        {"bmp", KindImage}, {"webp", KindImage}, {"heic", KindImage}, {"svg", KindImage},
        {"mp3", KindAudio}, {"wav", KindAudio}, {"ogg", KindAudio}, {"flac", KindAudio},
        {"m4a", KindAudio}, {"aac", KindAudio},
        {"mp4", KindVideo}, {"mov", KindVideo}, {"mkv", KindVideo}, {"avi", KindVideo},
        {"webm", KindVideo},
    };
    int kind = KindUnknown;
    const QString name = fileName();
    if (!name.isEmpty()) {
        const QString suffix = QFileInfo(name).suffix().toLower();
        kind = kinds.value(suffix, KindOther);
    }
    if (m_kind != kind) {
        m_kind = kind;
        emit fileKindChanged();
    }
}

bool FileItem::ownsLocalFile(const QString& path) const
{
    if (path.isEmpty() || !account())
        return false;
    const QString cache = QDir::cleanPath(QFileInfo(account()->cacheDirectory()).absoluteFilePath());
    const QString file = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    return file.startsWith(cache + QLatin1Char('/'));
}

void FileItem::deleteFile(bool removeLocalCopy)
{
    ++m_deleteCalls;
    if (removeLocalCopy) {
        for (const auto& f : {m_source, m_thumbnail}) {
            if (f && ownsLocalFile(f->path()))
                QFile::remove(f->path());
        }
    }
    emit filesReleased(removeLocalCopy);
}

void FileItem::cancelDownload(CancelType type)
{
    emit downloadCancelled(type);
}

bool FileItem::isImageBody() const
{
    return type() == ImageType || type() == AnimatedImageType;
}

void FileItem::serialize(im::content::Content* out) const
{
    if (!out)
        return;
    ContentItem::serialize(out);
    if (isImageBody()) {
        auto* image = out->mutable_image();
        if (m_source)
            m_source->writeTo(image->mutable_source());
        if (m_thumbnail)
            m_thumbnail->writeTo(image->mutable_thumbnail());
        image->set_width(m_width);
        image->set_height(m_height);
    } else {
        auto* file = out->mutable_file();
        if (m_source)
            m_source->writeTo(file->mutable_source());
        if (m_thumbnail)
            m_thumbnail->writeTo(file->mutable_thumbnail());
    }
}

void FileItem::readFrom(const im::content::Content& in)
{
    ContentItem::readFrom(in);
    m_source.reset();
    m_thumbnail.reset();
    m_width = m_height = 0;
    if (in.has_image()) {
        const auto& image = in.image();
        if (image.has_source())
            m_source.reset(new BaseFile(BaseFile::fromMessage(image.source())));
        if (image.has_thumbnail())
            m_thumbnail.reset(new BaseFile(BaseFile::fromMessage(image.thumbnail())));
        m_width = image.width();
        m_height = image.height();
    } else if (in.has_file()) {
        const auto& file = in.file();
        if (file.has_source())
            m_source.reset(new BaseFile(BaseFile::fromMessage(file.source())));
        if (file.has_thumbnail())
            m_thumbnail.reset(new BaseFile(BaseFile::fromMessage(file.thumbnail())));
    }
    emit fileChanged();
}

void FileItem::appendCacheKeys(QStringList& keys) const
{
    for (const auto& f : {m_source, m_thumbnail}) {
        if (f && !f->fileId().isEmpty())
            keys.append(f->fileId());
    }
}

void FileItem::collectFileData(QList<QSharedPointer<FileData>>& records) const
{
    const auto add = [&records](const QSharedPointer<BaseFile>& f, bool thumb) {
        if (!f || f->fileId().isEmpty())
            return;
        auto record = QSharedPointer<FileData>::create();
        record->fileId = f->fileId();
        record->path = f->path();
        record->name = f->name();
        record->size = f->size();
        record->sha256 = QString::fromLatin1(f->sha256().toHex());
        record->thumb = thumb;
        records.append(record);
    };
    add(m_source, false);
    add(m_thumbnail, true);
}
