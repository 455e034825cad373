#pragma once
// Letters of 5 by 7 pixels, so that text can be painted where there are no fonts. Small letters are painted as
// capitals, what the table lacks as a box.
#include <QImage>
#include <QString>

namespace farm
{

int textWidth(const QString &text, int scale);
void drawText(QImage *image, int x, int y, const QString &text, QRgb colour, int scale);

} // namespace farm
