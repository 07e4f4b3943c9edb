#include "deskicon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace {

QPixmap drawIcon(int size)
{
    QPixmap pix(size, size);
    pix.fill(Qt::transparent);
    QPainter p(&pix);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal s = size / 24.0;
    p.scale(s, s);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x3b, 0x6f, 0xd8));
    p.drawRoundedRect(QRectF(1, 1, 22, 22), 5.5, 5.5);
    QPainterPath bell;
    bell.moveTo(7, 15.5);
    bell.lineTo(7, 11);
    bell.arcTo(QRectF(7, 6, 10, 10), 180, -180);
    bell.lineTo(17, 15.5);
    bell.lineTo(18.5, 17);
    bell.lineTo(5.5, 17);
    bell.closeSubpath();
    p.setBrush(Qt::white);
    p.drawPath(bell);
    p.drawEllipse(QRectF(10.5, 17.2, 3, 2.6));
    return pix;
}

} // namespace

QIcon deskIcon()
{
    QIcon icon;
    for (int size : {16, 22, 32, 48, 64, 128})
        icon.addPixmap(drawIcon(size));
    return icon;
}
