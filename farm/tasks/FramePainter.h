#pragma once
// The built-in picture of a frame: a landscape that the scene's content decides and that moves from frame to frame,
// with camera, frame number and size written on it. The same input gives the same bytes. Needs no window system and no
// fonts.
#include <functional>
#include <QImage>
#include <QString>

namespace farm
{

struct FramePicture {
    QString seed; // hash of the scene
    QString scene, camera, num;
    int frame = 0, index = 0, count = 1; // index of count: the place among the camera's frames
    int width = 0, height = 0;
    int block = -1, blocks = 1; // a horizontal piece of it; -1: the whole picture
};

// Called as rows get done, with what there is of the picture; false stops the painting.
using PaintStep = std::function<bool(int rowsDone, int rows, const QImage &image)>;

// Writes a PNG. False with the reason in error; stopped: an empty reason.
bool paintFrame(const FramePicture &what, const QString &file, QString *error, const PaintStep &step = {});
// The whole picture out of the files of its pieces, the same bytes as if it had been painted in one.
bool joinBlocks(const FramePicture &what, const QStringList &pieces, const QString &file, QString *error);
// The mean of pictures of one size, what the pieces of a light cache are put together to.
bool meanOf(const QStringList &pictures, const QString &file, QString *error);
// What there is of a picture whose pieces come one by one; missing ones (empty names) are grey.
QImage piecesOf(const FramePicture &what, const QStringList &pieces);

} // namespace farm
