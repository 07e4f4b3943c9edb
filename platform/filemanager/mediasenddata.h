#pragma once

#include <QString>

// What a file to send is, as MediaSenderModel::mediaFormat() prepared it.
struct MediaSendData
{
    // Message type: 2 image, 4 video, 5 animated image, 6 file.
    int messageType = 0;
    // The file the message will carry: for a still image the converted copy
    // in the cache directory, otherwise the user's file itself.
    QString path;
    // The user's own file (absolute path).
    QString sourcePath;
    // The name the file is sent under.
    QString name;
    // Size in bytes of the file at `path`.
    qint64 size = 0;
    // MIME type of the file at `path`.
    QString mimeType;
    // Pixel size of the image at `path`; 0 for other files.
    int width = 0;
    int height = 0;
    // The thumbnail in the cache directory, or empty (no thumbnail).
    QString thumbPath;
};
