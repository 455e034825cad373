#include "tasks/FramePainter.h"
#include "tasks/PixelFont.h"
#include <algorithm>
#include <cmath>
#include <QColor>
#include <QCryptographicHash>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QStringList>
#include <vector>

namespace farm
{

namespace
{
constexpr int ridges = 5;

// Repeatable numbers out of a hash: 0 to 1 for a lattice point.
struct Noise {
    quint32 seed = 0;
    double point(int at) const
    {
        quint32 x = quint32(at) * 0x9e3779b1u ^ seed;
        x = (x ^ (x >> 15)) * 0x2c1b3c6du;
        x = (x ^ (x >> 12)) * 0x297a2d39u;
        return double((x ^ (x >> 15)) & 0xffffffu) / 0xffffff;
    }
    double smooth(double at) const
    {
        const double floor = std::floor(at), part = at - floor;
        const double ease = part * part * (3 - 2 * part);
        return point(int(floor)) * (1 - ease) + point(int(floor) + 1) * ease;
    }
    double hills(double at, int octaves) const
    {
        double sum = 0, weight = 0.5, reach = 1;
        for (int i = 0; i < octaves; ++i, weight /= 2, reach *= 2.03)
            sum += weight * smooth(at * reach + 17.0 * i);
        return sum;
    }
};

QRgb mix(QRgb a, QRgb b, double share)
{
    const int s = qBound(0, int(share * 256), 256);
    return qRgb((qRed(a) * (256 - s) + qRed(b) * s) >> 8, (qGreen(a) * (256 - s) + qGreen(b) * s) >> 8,
                (qBlue(a) * (256 - s) + qBlue(b) * s) >> 8);
}

struct View {
    QRgb high, low, far, near, sun;
    double sunX, sunY, sunSize;   // in pixels
    int shore;                    // first row of the water
    std::vector<int> top[ridges]; // first row of each ridge by column, far to near
};

View makeView(const FramePicture &what)
{
    const QByteArray digest = QCryptographicHash::hash((what.seed + what.camera).toUtf8(), QCryptographicHash::Sha1);
    const auto byte = [&digest](int i) { return double(quint8(digest.at(i))) / 255; };
    const int w = what.width, h = what.height;
    const double time = what.count > 1 ? double(what.index) / (what.count - 1) : 0.5;
    // Skies are blue above and warm or pale below, land fades into the sky: only the shades differ from scene to scene.
    const int blue = 200 + int(byte(0) * 45), warm = (8 + int(byte(17) * 48)) % 360;
    const double noon = std::sin(3.1416 * (0.1 + 0.8 * time));
    View view;
    view.high = QColor::fromHsv(blue, 150, 80 + int(110 * noon)).rgb();
    view.low = QColor::fromHsv(warm, 120 - int(70 * noon), 225 + int(25 * noon)).rgb();
    view.far = mix(QColor::fromHsv(blue, 95, 170).rgb(), view.low, 0.3);
    view.near = QColor::fromHsv((blue + 330) % 360, 110, 30).rgb();
    view.sun = QColor::fromHsv(warm, 60 - int(40 * noon), 255).rgb();
    view.shore = int(h * (0.72 + 0.1 * byte(1)));
    view.sunX = w * (0.15 + 0.7 * time);
    view.sunY = h * (0.5 - 0.3 * std::sin(3.1416 * (0.1 + 0.8 * time)));
    view.sunSize = h * (0.035 + 0.03 * byte(2));
    for (int r = 0; r < ridges; ++r) {
        Noise noise;
        for (int i = 0; i < 4; ++i)
            noise.seed = noise.seed << 8 | quint8(digest.at(3 + r * 3 + i));
        const double near = double(r + 1) / ridges, scale = 2.0 + 2.5 * near, pan = time * near * 0.8 + byte(18) * 50;
        view.top[r].resize(size_t(w));
        for (int x = 0; x < w; ++x) {
            const double rise = noise.hills(double(x) / h * scale / 1.5 + pan * scale, 6);
            view.top[r][size_t(x)] = int(view.shore - h * (0.62 - 0.5 * near) * rise + h * 0.03 * near);
        }
    }
    return view;
}

QRgb sky(const View &view, int x, int y)
{
    const double down = double(y) / view.shore;
    QRgb colour = mix(view.high, view.low, down * down);
    const double dx = x - view.sunX, dy = y - view.sunY, far = std::sqrt(dx * dx + dy * dy) / view.sunSize;
    if (far < 6)
        colour = mix(colour, view.sun, far < 1 ? 1 : 0.55 * (1 - (far - 1) / 5) * (1 - (far - 1) / 5));
    return colour;
}

QRgb land(const View &view, int x, int y)
{
    for (int r = ridges - 1; r >= 0; --r) {
        const int top = view.top[r][size_t(x)];
        if (y < top)
            continue;
        const double near = double(r + 1) / ridges;
        // Mist gathers at the foot, more the farther the ridge.
        const double depth = double(y - top) / view.shore;
        return mix(mix(view.far, view.near, near), view.low,
                   qBound(0.0, 0.12 * (1 - near) + 1.1 * depth * (1 - near), 0.9));
    }
    return sky(view, x, y);
}

constexpr int bands = 16; // between two of them a step is told

int pieceTop(const FramePicture &what, int block) { return int(qint64(what.height) * block / qMax(1, what.blocks)); }

bool paintScene(QImage *image, const FramePicture &what, const PaintStep &step)
{
    const View view = makeView(what);
    Noise ripple;
    ripple.seed = quint32(what.frame) * 2654435761u;
    const int from = what.block < 0 ? 0 : pieceTop(what, what.block);
    const int end = what.block < 0 ? what.height : pieceTop(what, what.block + 1);
    int told = 0;
    for (int y = from; y < end; ++y) {
        if (const int band = (y - from) * bands / qMax(1, end - from); step && band > told) {
            told = band;
            if (!step(y - from, end - from, *image))
                return false;
        }
        auto *line = reinterpret_cast<QRgb *>(image->scanLine(y));
        if (y < view.shore) {
            for (int x = 0; x < what.width; ++x)
                line[x] = land(view, x, y);
            continue;
        }
        // The water mirrors what stands above it, shaken a little more the nearer it is.
        const int depth = y - view.shore;
        const int shake = int((ripple.smooth(y * 0.9) - 0.5) * (4 + depth * 0.35));
        const int mirrored = qMax(0, view.shore - 1 - int(depth * 1.6));
        for (int x = 0; x < what.width; ++x)
            line[x] = mix(land(view, qBound(0, x + shake, what.width - 1), mirrored), view.near, 0.35);
    }
    return true;
}

bool write(const QImage &image, const FramePicture &what, const QString &file, QString *error)
{
    QImageWriter writer(file, "png");
    writer.setText(QStringLiteral("Camera"), what.camera);
    writer.setText(QStringLiteral("Frame"), QString::number(what.frame));
    writer.setText(QStringLiteral("Order"), what.num);
    const bool good = writer.write(image);
    if (!good)
        *error = writer.errorString();
    return good;
}

void paintLabel(QImage *image, const FramePicture &what)
{
    const int scale = qMax(1, what.height / 270), row = 9 * scale, pad = 4 * scale;
    const int band = row * 2 + pad * 2, from = qMax(0, what.height - band);
    for (int y = from; y < what.height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image->scanLine(y));
        for (int x = 0; x < what.width; ++x)
            line[x] = mix(line[x], qRgb(0x28, 0x28, 0x28), 0.72);
    }
    const QRgb light = qRgb(0xdd, 0xdd, 0xdd), quiet = qRgb(0x9a, 0x9a, 0x9a), accent = qRgb(0x4b, 0x96, 0xea);
    const QString frame = QStringLiteral("FRAME %1").arg(what.frame, 4, 10, QLatin1Char('0'));
    const QString size = QStringLiteral("%1x%2").arg(what.width).arg(what.height);
    drawText(image, pad, from + pad, what.camera, light, scale);
    drawText(image, what.width - pad - textWidth(frame, scale), from + pad, frame, light, scale);
    drawText(image, pad, from + pad + row, what.scene, quiet, scale);
    drawText(image, what.width - pad - textWidth(size, scale), from + pad + row, size, quiet, scale);
    const int done = int(qint64(what.width) * (what.index + 1) / qMax(1, what.count));
    for (int y = from; y < qMin(what.height, from + scale); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image->scanLine(y));
        for (int x = 0; x < qMin(done, what.width); ++x)
            line[x] = accent;
    }
}
} // namespace

bool paintFrame(const FramePicture &what, const QString &file, QString *error, const PaintStep &step)
{
    QImage image(what.width, what.height, QImage::Format_RGB32);
    if (image.isNull()) {
        *error = QStringLiteral("no memory for %1x%2").arg(what.width).arg(what.height);
        return false;
    }
    if (step)
        image.fill(0xff404040);
    if (!paintScene(&image, what, step))
        return false;
    paintLabel(&image, what);
    if (what.block >= 0)
        image = image.copy(0, pieceTop(what, what.block), what.width,
                           pieceTop(what, what.block + 1) - pieceTop(what, what.block));
    return write(image, what, file, error);
}

QImage piecesOf(const FramePicture &what, const QStringList &pieces)
{
    QImage whole(what.width, what.height, QImage::Format_RGB32);
    whole.fill(0xff404040);
    for (int i = 0; i < pieces.size() && !whole.isNull(); ++i) {
        const QImage piece =
            pieces.at(i).isEmpty() ? QImage() : QImage(pieces.at(i)).convertToFormat(QImage::Format_RGB32);
        const int top = pieceTop(what, i);
        if (piece.width() != whole.width())
            continue;
        for (int y = 0; y < piece.height() && top + y < whole.height(); ++y)
            std::copy_n(piece.constScanLine(y), whole.bytesPerLine(), whole.scanLine(top + y));
    }
    return whole;
}

bool joinBlocks(const FramePicture &what, const QStringList &pieces, const QString &file, QString *error)
{
    for (int i = 0; i < pieces.size(); ++i) {
        const QSize size = QImageReader(pieces.at(i)).size();
        if (size != QSize(what.width, pieceTop(what, i + 1) - pieceTop(what, i))) {
            *error = QStringLiteral("piece %1 of %2 isn't whole: %3").arg(i + 1).arg(pieces.size()).arg(pieces.at(i));
            return false;
        }
    }
    return write(piecesOf(what, pieces), what, file, error);
}

bool meanOf(const QStringList &pictures, const QString &file, QString *error)
{
    QImage mean;
    for (int i = 0; i < pictures.size(); ++i) {
        const QImage one = QImage(pictures.at(i)).convertToFormat(QImage::Format_RGB32);
        if (mean.isNull())
            mean = one;
        if (one.size() != mean.size())
            continue;
        for (int y = 0; y < one.height(); ++y) {
            auto *to = reinterpret_cast<QRgb *>(mean.scanLine(y));
            const auto *from = reinterpret_cast<const QRgb *>(one.constScanLine(y));
            for (int x = 0; x < one.width(); ++x)
                to[x] = mix(to[x], from[x], 1.0 / (i + 1));
        }
    }
    const bool good = !mean.isNull() && mean.save(file, "png");
    if (!good)
        *error = QStringLiteral("no light cache to put together");
    return good;
}

} // namespace farm
