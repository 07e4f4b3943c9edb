#pragma once

#include <QObject>
#include <QString>

#include <mutex>

class MediaSendItem;

// Prepares files for sending. For a still image that Qt can read it writes
// a converted copy (re-encoded, at most kMaxImageSide pixels on the long
// side) and a thumbnail (at most kThumbnailSide) into the cache directory;
// an animated image is carried as it is, with a thumbnail of its first
// frame; any other file is carried as it is, without a thumbnail.
class MediaSenderModel : public QObject
{
    Q_OBJECT
public:
    static constexpr int kMaxImageSide = 4096;
    static constexpr int kThumbnailSide = 256;

    // Message types that mediaFormat() gives.
    enum MediaType {
        ImageMedia = 2,
        VideoMedia = 4,
        AnimatedImageMedia = 5,
        FileMedia = 6,
    };

    static MediaSenderModel* getInstance();

    // Where converted copies and thumbnails are written. The host passes
    // the account's cacheDirectory(); the default is a "media" folder under
    // QStandardPaths::CacheLocation. Made when first needed.
    void setCacheDirectory(const QString& dir);
    QString cacheDirectory() const;

    // Prepares the file at `path`. The caller owns the returned item. Null
    // when the path is not an existing, readable regular file, or when the
    // converted copy of an image cannot be written (logged). `mode` is the
    // caller's purpose code; every mode is prepared alike. Thread-safe.
    MediaSendItem* mediaFormat(const QString& path, int mode);

    // Whether a file name's suffix is one of a video.
    static bool isVideoSuffix(const QString& suffix);

public slots:
    // Reports a media error (a FileUtil::ParseError code) to the interface.
    void notifyError(int code);

signals:
    void errorNotified(int code);

private:
    MediaSenderModel() = default;

    mutable std::mutex m_mutex;
    QString m_cacheDir;
};
