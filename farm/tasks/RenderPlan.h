#pragma once
// From an order to its frames: which camera (layer, node), which frame numbers, which size; from the parameters of each
// software. Plain functions.
#include <QJsonObject>
#include <QString>
#include <QVector>

namespace farm
{

struct FrameJob {
    QString camera; // camera, layer or node
    int frame = 0;
    int width = 0, height = 0;
    bool key = false;         // one of the priority frames
    QString path;             // of its result, "camera/scene.0001.png"; unique within the task
    int place = 0, count = 1; // of the frames of its camera
};

// "1-10:2,15" as sorted numbers without repeats; an empty list where the text says nothing. Never more than a million.
QVector<int> frameNumbers(const QString &text);
// The frames of an order in the order of rendering: priority frames first. Sizes are cut down to maxWidth.
QVector<FrameJob> framePlan(const QJsonObject &order, int softwareType, const QString &sceneName, int maxWidth);
// A name that can stand as one piece of a path on every system.
QString pathPiece(const QString &name);

} // namespace farm
