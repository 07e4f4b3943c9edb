#pragma once

#include "mediasenddata.h"

#include <QObject>
#include <QString>

// One file prepared for sending by MediaSenderModel::mediaFormat(). The
// item only describes the files; deleting it deletes nothing on disk (the
// caller removes the converted copy and the thumbnail when it gives them up).
class MediaSendItem : public QObject
{
    Q_OBJECT
public:
    explicit MediaSendItem(const MediaSendData& data, QObject* parent = nullptr);

    MediaSendData mediaData() const { return m_data; }
    // The file the message carries (mediaData().path).
    QString mediaPath() const { return m_data.path; }
    // The user's own file (mediaData().sourcePath).
    QString path() const { return m_data.sourcePath; }
    // The thumbnail, or empty.
    QString thumbPath() const { return m_data.thumbPath; }
    int messageType() const { return m_data.messageType; }

private:
    const MediaSendData m_data;
};
