#pragma once
// Icons from the resource folder ":/icons", drawn with currentColor, tinted here and kept by name, colour and size.
// Static, main thread. An unknown name gives a null picture.
#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

class IconTool
{
public:
    static QPixmap pixmap(const QString &name, const QColor &colour, int size,
                          qreal ratio = 1.0); // size in logical pixels
    // Normal, disabled, and brighter under the mouse and while checked.
    static QIcon icon(const QString &name, int size = 16);
    static QIcon icon(const QString &name, const QColor &colour, int size);
};
