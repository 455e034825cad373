#pragma once
// The built-in picture of a frame: a landscape that the scene's content decides and that moves from frame to frame,
// with camera, frame number and size written on it. The same input gives the same bytes. Needs no window system and no
// fonts.
#include <QString>

namespace farm
{

struct FramePicture {
    QString seed; // hash of the scene
    QString scene, camera, num;
    int frame = 0, index = 0, count = 1; // index of count: the place among the camera's frames
    int width = 0, height = 0;
};

// Writes a PNG. False with the reason in error.
bool paintFrame(const FramePicture &what, const QString &file, QString *error);

} // namespace farm
