#include "mediasenditem.h"

MediaSendItem::MediaSendItem(const MediaSendData& data, QObject* parent)
    : QObject(parent)
    , m_data(data)
{
}
