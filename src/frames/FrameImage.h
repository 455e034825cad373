#pragma once
// One picture as its file has it: float where the file is (EXR), else the toolkit's image. develop() makes of it what a
// screen shows. Values; reading takes long and belongs off the window's thread.
#include <atomic>
#include <QImage>
#include <QString>
#include <vector>

struct FrameImage {
    int width = 0, height = 0;
    std::vector<float> pixels; // RGBA, row by row, scene-linear; empty: image holds it
    QImage image;              // RGBA8888 or RGBA64
    bool alpha = false;
    QString error; // a sentence when there is no picture

    bool valid() const { return error.isEmpty() && width > 0 && height > 0; }
    bool isFloat() const { return !pixels.empty(); }
    qint64 bytes() const { return qint64(pixels.size()) * 4 + image.sizeInBytes(); }
    struct Pixel {
        float r = 0, g = 0, b = 0, a = 1;
    };
    Pixel at(int x, int y) const; // 0 to 1 for whole-number pictures; as stored for float ones
};

struct FrameLook {
    enum Channel { Rgb, Red, Green, Blue, Alpha, Luminance };
    Channel channel = Rgb;
    float exposure = 0; // stops
    float gamma = 2.2f; // of float pictures; 1 leaves whole-number ones as they are
    bool operator==(const FrameLook &o) const
    {
        return channel == o.channel && exposure == o.exposure && gamma == o.gamma;
    }
};

namespace FrameReader
{
constexpr qint64 MostPixels = 200 * 1000 * 1000;
// From a file, or from bytes (name then gives the format's ending). Regular files only.
FrameImage read(const QString &path, qint64 mostPixels = MostPixels);
FrameImage read(const QByteArray &bytes, const QString &name, qint64 mostPixels = MostPixels);
QImage develop(const FrameImage &frame, const FrameLook &look, const std::atomic_bool *stop = nullptr);
QImage thumbnail(const FrameImage &frame, const QSize &within);
} // namespace FrameReader
