#include "view/driver/DragDrop.h"
#include "common/ui/Palette.h"
#include <QDrag>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMimeData>
#include <QPainter>
#include <QWidget>

void DragDrop::start(QWidget *from, const QString &words) const
{
    const QJsonObject told{
        {"farmId", farmId}, {"fileType", fileType}, {"parent", parent}, {"ids", QJsonArray::fromStringList(ids)}};
    auto *data = new QMimeData;
    data->setData(QLatin1String(Mime), QJsonDocument(told).toJson(QJsonDocument::Compact));
    const QString text = from->fontMetrics().elidedText(words, Qt::ElideMiddle, 240);
    const QSize size(from->fontMetrics().horizontalAdvance(text) + 20, 26);
    QPixmap label(size * from->devicePixelRatioF());
    label.setDevicePixelRatio(from->devicePixelRatioF());
    label.fill(Palette::raised);
    QPainter painter(&label);
    painter.setFont(from->font());
    painter.setPen(Palette::strong);
    painter.drawText(QRect(QPoint(), size), Qt::AlignCenter, text);
    painter.end();
    auto *drag = new QDrag(from);
    drag->setMimeData(data);
    drag->setPixmap(label);
    drag->exec(Qt::MoveAction);
}

bool DragDrop::carried(const QMimeData *data) { return data->hasFormat(QLatin1String(Mime)); }

DragDrop DragDrop::read(const QMimeData *data)
{
    DragDrop drag;
    const QJsonObject told = QJsonDocument::fromJson(data->data(QLatin1String(Mime))).object();
    drag.farmId = told.value(QLatin1String("farmId")).toInt();
    drag.fileType = told.value(QLatin1String("fileType")).toInt(1);
    drag.parent = told.value(QLatin1String("parent")).toString();
    const QJsonArray ids = told.value(QLatin1String("ids")).toArray();
    for (const QJsonValue &id : ids)
        drag.ids << id.toString();
    return drag;
}
