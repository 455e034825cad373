#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QSvgRenderer>

namespace
{
QByteArray source(const QString &name)
{
    static QHash<QString, QByteArray> sources;
    auto it = sources.find(name);
    if (it == sources.end()) {
        QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
        it = sources.insert(name, file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    }
    return *it;
}

void addRatios(QIcon *icon, const QString &name, const QColor &colour, int size, QIcon::Mode mode, QIcon::State state)
{
    for (qreal ratio : {1.0, 2.0})
        icon->addPixmap(IconTool::pixmap(name, colour, size, ratio), mode, state);
}
} // namespace

QPixmap IconTool::pixmap(const QString &name, const QColor &colour, int size, qreal ratio)
{
    static QHash<QString, QPixmap> pixmaps;
    const QString key = QStringLiteral("%1|%2|%3|%4").arg(name, colour.name()).arg(size).arg(ratio);
    const auto kept = pixmaps.constFind(key);
    if (kept != pixmaps.constEnd())
        return *kept;
    QByteArray svg = source(name);
    if (svg.isEmpty())
        return {};
    svg.replace("currentColor", colour.name().toLatin1());
    QSvgRenderer renderer(svg);
    QPixmap out(QSize(qRound(size * ratio), qRound(size * ratio)));
    out.fill(Qt::transparent);
    QPainter painter(&out);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(out.size())));
    painter.end();
    out.setDevicePixelRatio(ratio);
    pixmaps.insert(key, out);
    return out;
}

QIcon IconTool::icon(const QString &name, int size)
{
    QIcon icon;
    addRatios(&icon, name, Palette::text, size, QIcon::Normal, QIcon::Off);
    addRatios(&icon, name, Palette::strong, size, QIcon::Active, QIcon::Off);
    addRatios(&icon, name, Palette::accent, size, QIcon::Normal, QIcon::On);
    addRatios(&icon, name, Palette::accent, size, QIcon::Active, QIcon::On);
    addRatios(&icon, name, Palette::faint, size, QIcon::Disabled, QIcon::Off);
    return icon;
}

QIcon IconTool::icon(const QString &name, const QColor &colour, int size)
{
    QIcon icon;
    addRatios(&icon, name, colour, size, QIcon::Normal, QIcon::Off);
    return icon;
}
