#include "MivoPresenceIcon_p.h"

#include "MivoBuddyEntry_p.h"
#include "MivoPresence.h"

#include <QFileInfo>
#include <QPainter>
#include <QPixmap>

namespace {

/** The icon of that name or path; null when there is none. */
QIcon findIcon(const QString& name)
{
    if (QIcon::hasThemeIcon(name))
        return QIcon::fromTheme(name);
    return QFileInfo(name).isFile() ? QIcon(name) : QIcon();
}

QColor colourOf(int flag)
{
    if (flag == MivoPresence::NoFlag || flag == MivoPresence::Offline)
        return QColor(0x80, 0x80, 0x80);
    // What the numbers mean is up to the plug-ins: neighbours get colours far apart, 1 is green.
    const int golden = 137;
    const int hue = int((120 + (quint32(flag) - 1) % 360 * golden) % 360);
    return QColor::fromHsv(hue, 190, 190);
}

QIcon drawIcon(int flag)
{
    QIcon icon;
    for (const int size : {16, 22, 32, 48, 64, 128}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal width = size / 8.0;
        painter.setPen(QPen(colourOf(flag).darker(130), width));
        if (flag != MivoPresence::Offline)
            painter.setBrush(colourOf(flag));
        painter.drawEllipse(QRectF(0, 0, size, size).marginsRemoved({width, width, width, width}));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

QIcon MivoPresenceIcons::icon(const MivoShownPresence& presence)
{
    if (!presence.isValid)
        return QIcon();
    for (const QString& name : {presence.icon, presence.ownIcon}) {
        if (name.isEmpty())
            continue;
        auto known = named.find(name);
        if (known == named.end())
            known = named.insert(name, findIcon(name));
        if (!known.value().isNull())
            return known.value();
    }
    auto known = drawn.find(presence.flag);
    if (known == drawn.end())
        known = drawn.insert(presence.flag, drawIcon(presence.flag));
    return known.value();
}
