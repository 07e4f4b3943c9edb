#pragma once

#include "basefile.h"
#include "canceltype.h"
#include "contentitem.h"

#include <QSharedPointer>

// A body backed by a file: image, voice, video, animated image or file.
class FileItem : public ContentItem
{
    Q_OBJECT
    Q_PROPERTY(QString fileName READ fileName NOTIFY fileChanged)
    Q_PROPERTY(qint64 fileSize READ fileSize NOTIFY fileChanged)
    Q_PROPERTY(QString filePath READ filePath NOTIFY fileChanged)
    Q_PROPERTY(QString thumbnailFile READ thumbnailFile NOTIFY fileChanged)
    Q_PROPERTY(int fileKind READ fileKind NOTIFY fileKindChanged)
    Q_PROPERTY(int width READ width NOTIFY fileChanged)
    Q_PROPERTY(int height READ height NOTIFY fileChanged)
public:
    // What a file is, from its name; set by calcFileType().
    enum FileKind {
        KindUnknown = 0,
        KindDocument,
        KindSpreadsheet,
        KindPresentation,
        KindPdf,
        KindText,
        KindArchive,
        KindImage,
        KindAudio,
        KindVideo,
        KindOther,
    };
    Q_ENUM(FileKind)

    FileItem(int scene, AccountBase* account, QObject* parent = nullptr);

    QSharedPointer<BaseFile> sourceFilePtr() const { return m_source; }
    void setSourceFile(const QSharedPointer<BaseFile>& file);
    QSharedPointer<BaseFile> thumbnailFilePtr() const { return m_thumbnail; }
    void setThumbnailFile(const QSharedPointer<BaseFile>& file);
    // The thumbnail's local path, or "".
    QString thumbnailFile() const;
    // Whether there is a thumbnail whose local file exists.
    bool validThumbFile() const;
    // The server ids of the source and thumbnail files that have one.
    QStringList uploadedFileIds() const;

    QString fileName() const;
    qint64 fileSize() const;
    QString filePath() const;
    int width() const { return m_width; }
    int height() const { return m_height; }
    void setImageSize(int width, int height);

    int fileKind() const { return m_kind; }
    void calcFileType();

    // Lets go of the files. With removeLocalCopy, the local copies that lie
    // in the account's cache directory (the ones made by the application)
    // are deleted; a file elsewhere (the user's own) is never touched.
    void deleteFile(bool removeLocalCopy);
    int deleteFileCount() const { return m_deleteCalls; }

    // Stops a download of this file that is in flight, if any.
    void cancelDownload(CancelType type);

    void serialize(im::content::Content* out) const override;
    void readFrom(const im::content::Content& in) override;
    void appendCacheKeys(QStringList& keys) const override;
    // The source file's record, then the thumbnail's; files without an id
    // have none.
    void collectFileData(QList<QSharedPointer<FileData>>& records) const override;

signals:
    void fileChanged();
    void fileKindChanged();
    void filesReleased(bool removeLocalCopy);
    void downloadCancelled(CancelType type);

private:
    bool isImageBody() const;
    bool ownsLocalFile(const QString& path) const;

    QSharedPointer<BaseFile> m_source;
    QSharedPointer<BaseFile> m_thumbnail;
    int m_width = 0;
    int m_height = 0;
    int m_kind = KindUnknown;
    int m_deleteCalls = 0;
};
