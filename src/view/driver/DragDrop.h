#pragma once
// Entries of a drive under the hand: what travels with the drag, and how it's read where it falls. Main thread.
#include "view/driver/FileView.h"
#include <QJsonObject>

class QMimeData;
class QWidget;

class DragDrop
{
public:
    static constexpr const char *Mime = "application/x-vandrel-drive";
    int farmId = 0, fileType = 1;
    QString parent;
    QStringList ids;

    void start(QWidget *from, const QString &words) const; // runs until the button is let go
    static bool carried(const QMimeData *data);
    static DragDrop read(const QMimeData *data); // farmId 0: nothing of ours
};
