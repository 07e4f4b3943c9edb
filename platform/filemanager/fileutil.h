#pragma once

#include "mediasenddata.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

// File helpers of the host: the media parser that turns a prepared file into
// the message fields of deserializeContent(), and SHA-256 digests.
class FileUtil
{
public:
    // Why parseMediaFile() refused a file.
    enum ParseError {
        ParseOk = 0,
        // The file (or its thumbnail) is missing, not a regular file, or
        // cannot be read.
        ErrorUnreadableFile = 1,
        // The file has no bytes.
        ErrorEmptyFile = 2,
        // Image mode, but the data is not an image (message type 2 or 5)
        // or its file cannot be read as one.
        ErrorNotImage = 3,
        // The file is larger than kMaxFileSize.
        ErrorTooLarge = 4,
    };

    // Parse modes; any other value is treated as FileMode.
    enum ParseMode {
        ImageMode = 3,
        FileMode = 4,
    };

    // The largest file that may be sent: 2 GiB.
    static constexpr qint64 kMaxFileSize = qint64(2) * 1024 * 1024 * 1024;

    static FileUtil* getInstance();

    // Fills `fields` with the keys that deserializeContent() reads for a
    // file: "fileId" and "sha256" (the hex SHA-256 of the file's bytes),
    // "name", "size", "mimeType", "path", "width", "height", and, when the
    // data has a thumbnail, "thumbPath" and "thumbFileId" (the thumbnail's
    // hex SHA-256). The map is cleared first. On failure it stays empty,
    // `errorCode` is one of ParseError and the result is false; on success
    // `errorCode` is ParseOk. Files are hashed as a stream, never loaded
    // whole. May be called from any thread.
    bool parseMediaFile(MediaSendData& data, int mode, QMap<QString, QVariant>& fields,
                        int& errorCode);

    // The hex SHA-256 of the bytes.
    static QString sha256Hex(const QByteArray& bytes);
    // The hex SHA-256 of a file's bytes, read in chunks; an empty string
    // when the file cannot be opened or read. `bytesRead` receives how many
    // bytes were hashed.
    static QString sha256OfFile(const QString& path, qint64* bytesRead = nullptr);

private:
    FileUtil() = default;
};
