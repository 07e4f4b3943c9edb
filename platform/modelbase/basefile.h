#pragma once

#include <QByteArray>
#include <QString>

namespace im { namespace content { class FileRef; } }

// One file of a message: its server id (empty until it is known), what it
// is, and where it lies on this device.
class BaseFile
{
public:
    BaseFile() = default;
    BaseFile(const QString& fileId, const QString& name, const QString& localPath, qint64 size = 0);

    QString fileId() const { return m_fileId; }
    void setFileId(const QString& id) { m_fileId = id; }
    QString name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }
    QString path() const { return m_localPath; }
    void setPath(const QString& path) { m_localPath = path; }
    qint64 size() const { return m_size; }
    void setSize(qint64 size) { m_size = size; }
    QString mimeType() const { return m_mimeType; }
    void setMimeType(const QString& mime) { m_mimeType = mime; }
    QByteArray sha256() const { return m_sha256; }
    void setSha256(const QByteArray& digest) { m_sha256 = digest; }

    // Whether both name the same stored file: the same file id, or, while
    // neither has an id, the same local path.
    bool sameFile(const BaseFile& other) const;

    void writeTo(im::content::FileRef* out) const;
    static BaseFile fromMessage(const im::content::FileRef& in);

private:
    QString m_fileId;
    QString m_name;
    QString m_localPath;
    qint64 m_size = 0;
    QString m_mimeType;
    QByteArray m_sha256;
};
