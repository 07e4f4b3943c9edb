#include "basefile.h"

#include "im/content/content.pb.h"

BaseFile::BaseFile(const QString& fileId, const QString& name, const QString& localPath, qint64 size)
    : m_fileId(fileId), m_name(name), m_localPath(localPath), m_size(size)
{
}

bool BaseFile::sameFile(const BaseFile& other) const
{
    if (!m_fileId.isEmpty() || !other.m_fileId.isEmpty())
        return m_fileId == other.m_fileId;
    return !m_localPath.isEmpty() && m_localPath == other.m_localPath;
}

void BaseFile::writeTo(im::content::FileRef* out) const
{
    out->set_file_id(m_fileId.toStdString());
    out->set_name(m_name.toStdString());
    out->set_size(m_size);
    out->set_mime_type(m_mimeType.toStdString());
    out->set_sha256(m_sha256.constData(), size_t(m_sha256.size()));
    out->set_local_path(m_localPath.toStdString());
}

BaseFile BaseFile::fromMessage(const im::content::FileRef& in)
{
    BaseFile f(QString::fromStdString(in.file_id()), QString::fromStdString(in.name()),
               QString::fromStdString(in.local_path()), in.size());
    f.m_mimeType = QString::fromStdString(in.mime_type());
    f.m_sha256 = QByteArray(in.sha256().data(), int(in.sha256().size()));
    return f;
}
