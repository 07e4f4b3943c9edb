#pragma once

#include <QString>

// The local record of one file of a message: which file id it has, where it
// lies on this device and what it is. Plain data: copy it freely.
struct FileData
{
    QString fileId;
    QString path;
    QString name;
    qint64 size = 0;
    // Hex SHA-256 of the file's bytes, or empty when not known.
    QString sha256;
    // Whether this is a thumbnail (rather than the message's file itself).
    bool thumb = false;

    bool operator==(const FileData& o) const
    {
        return fileId == o.fileId && path == o.path && name == o.name && size == o.size
            && sha256 == o.sha256 && thumb == o.thumb;
    }
    bool operator!=(const FileData& o) const { return !(*this == o); }
};
