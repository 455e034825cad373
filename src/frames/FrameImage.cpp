#include "frames/FrameImage.h"
#include <algorithm>
#include <cmath>
#include <ImfArray.h>
#include <ImfIO.h>
#include <ImfRgbaFile.h>
#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <stdexcept>

namespace
{
struct Words {
    Q_DECLARE_TR_FUNCTIONS(FrameReader)
};

FrameImage failed(const QString &why)
{
    FrameImage none;
    none.error = why;
    return none;
}

FrameImage tooLarge(qint64 width, qint64 height) { return failed(Words::tr("图片太大：%1*%2").arg(width).arg(height)); }

// Bytes in memory as the library's stream.
class Bytes : public OPENEXR_IMF_NAMESPACE::IStream
{
public:
    explicit Bytes(const QByteArray &bytes) : IStream("frame"), m_bytes(bytes) {}
    bool read(char c[], int n) override
    {
        if (n < 0 || m_at + quint64(n) > quint64(m_bytes.size()))
            throw std::runtime_error("the file ends early");
        std::copy_n(m_bytes.constData() + m_at, n, c);
        m_at += quint64(n);
        return m_at < quint64(m_bytes.size());
    }
    uint64_t tellg() override { return m_at; }
    void seekg(uint64_t pos) override { m_at = pos; }

private:
    QByteArray m_bytes;
    uint64_t m_at = 0;
};

// Throws what the library throws.
FrameImage readExr(OPENEXR_IMF_NAMESPACE::IStream &stream, qint64 mostPixels)
{
    OPENEXR_IMF_NAMESPACE::RgbaInputFile file(stream);
    const auto window = file.dataWindow(), display = file.displayWindow();
    const qint64 width = qint64(window.max.x) - window.min.x + 1, height = qint64(window.max.y) - window.min.y + 1;
    const qint64 shownWidth = qint64(display.max.x) - display.min.x + 1;
    const qint64 shownHeight = qint64(display.max.y) - display.min.y + 1;
    if (width <= 0 || height <= 0 || shownWidth <= 0 || shownHeight <= 0)
        return failed(Words::tr("图片无法预览"));
    if (width > mostPixels / height || shownWidth > mostPixels / shownHeight)
        return tooLarge(std::max(width, shownWidth), std::max(height, shownHeight));
    FrameImage frame;
    frame.width = int(shownWidth);
    frame.height = int(shownHeight);
    frame.alpha = file.channels() & OPENEXR_IMF_NAMESPACE::WRITE_A;
    frame.pixels.assign(size_t(shownWidth * shownHeight * 4), 0.f);
    // A line at a time: the file's window may lie anywhere beside the one that is shown.
    std::vector<OPENEXR_IMF_NAMESPACE::Rgba> line(static_cast<size_t>(width));
    for (int y = window.min.y; y <= window.max.y; ++y) {
        file.setFrameBuffer(line.data() - window.min.x - qint64(y) * width, 1, size_t(width));
        file.readPixels(y);
        if (y < display.min.y || y > display.max.y)
            continue;
        for (int x = std::max(window.min.x, display.min.x); x <= std::min(window.max.x, display.max.x); ++x) {
            const auto &from = line[size_t(x - window.min.x)];
            float *to = &frame.pixels[size_t((qint64(y - display.min.y) * shownWidth + (x - display.min.x)) * 4)];
            to[0] = from.r, to[1] = from.g, to[2] = from.b, to[3] = from.a;
        }
    }
    return frame;
}

FrameImage readWith(QImageReader *reader, qint64 mostPixels)
{
    reader->setAutoTransform(true);
    reader->setDecideFormatFromContent(true);
    const QSize size = reader->size();
    if (size.isValid() && (size.isEmpty() || size.width() > mostPixels / size.height()))
        return tooLarge(size.width(), size.height());
    const QImage image = reader->read();
    if (image.isNull())
        return failed(Words::tr("图片无法预览") + QStringLiteral(" (%1)").arg(reader->errorString()));
    if (image.width() > mostPixels / image.height())
        return tooLarge(image.width(), image.height());
    FrameImage frame;
    frame.alpha = image.hasAlphaChannel();
    const bool deep = image.depth() > 32 || image.format() == QImage::Format_Grayscale16;
    frame.image = image.convertToFormat(deep ? QImage::Format_RGBA64 : QImage::Format_RGBA8888);
    frame.width = image.width();
    frame.height = image.height();
    return frame.image.isNull() ? failed(Words::tr("图片无法预览")) : frame;
}

bool isExr(const QByteArray &start) { return start.startsWith("\x76\x2f\x31\x01"); }

float channelOf(const FrameImage::Pixel &p, FrameLook::Channel channel)
{
    switch (channel) {
    case FrameLook::Red:
        return p.r;
    case FrameLook::Green:
        return p.g;
    case FrameLook::Blue:
        return p.b;
    case FrameLook::Alpha:
        return p.a;
    default:
        return 0.2126f * p.r + 0.7152f * p.g + 0.0722f * p.b;
    }
}

// What a value from 0 to 1, in Steps steps, becomes on screen. Whole-number pictures are made for screens already:
// exposure works on the light that the screen would give.
constexpr int Steps = 65536;
std::vector<uchar> curveOf(const FrameLook &look, bool floats)
{
    std::vector<uchar> out(Steps);
    const float gain = floats ? 1.f : std::exp2(look.exposure); // beyond 1 there is something in float ones only
    const float power = look.gamma > 0.01f ? 1.f / look.gamma : 1.f;
    for (int i = 0; i < Steps; ++i) {
        const float value = float(i) / float(Steps - 1);
        const float light = std::min(1.f, (floats ? value : std::pow(value, 2.2f)) * gain);
        out[size_t(i)] = uchar(std::lround(255.f * std::pow(light, power)));
    }
    return out;
}

// Rows of the three kinds of pixels, each giving values where 1 is the screen's white.
struct FloatRow {
    const float *p;
    FrameImage::Pixel operator()(int x) const { return {p[4 * x], p[4 * x + 1], p[4 * x + 2], p[4 * x + 3]}; }
};
struct DeepRow {
    const quint16 *p;
    FrameImage::Pixel operator()(int x) const
    {
        constexpr float f = 1.f / 65535.f;
        return {p[4 * x] * f, p[4 * x + 1] * f, p[4 * x + 2] * f, p[4 * x + 3] * f};
    }
};
struct ByteRow {
    const uchar *p;
    FrameImage::Pixel operator()(int x) const
    {
        constexpr float f = 1.f / 255.f;
        return {p[4 * x] * f, p[4 * x + 1] * f, p[4 * x + 2] * f, p[4 * x + 3] * f};
    }
};

template <class Call> auto withRow(const FrameImage &frame, int y, Call call)
{
    if (frame.isFloat())
        return call(FloatRow{&frame.pixels[size_t(qint64(y) * frame.width * 4)]});
    if (frame.image.format() == QImage::Format_RGBA64)
        return call(DeepRow{reinterpret_cast<const quint16 *>(frame.image.constScanLine(y))});
    return call(ByteRow{frame.image.constScanLine(y)});
}
} // namespace

FrameImage::Pixel FrameImage::at(int x, int y) const
{
    if (x < 0 || y < 0 || x >= width || y >= height)
        return {};
    return withRow(*this, y, [x](auto row) { return row(x); });
}

FrameImage FrameReader::read(const QByteArray &bytes, const QString &name, qint64 mostPixels)
{
    if (isExr(bytes)) {
        try {
            Bytes stream(bytes);
            return readExr(stream, mostPixels);
        } catch (const std::exception &e) {
            return failed(Words::tr("图片无法预览") + QStringLiteral(" (%1)").arg(QString::fromUtf8(e.what())));
        }
    }
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, QFileInfo(name).suffix().toLower().toLatin1());
    return readWith(&reader, mostPixels);
}

FrameImage FrameReader::read(const QString &path, qint64 mostPixels)
{
    const QFileInfo info(path);
    if (!info.exists())
        return failed(Words::tr("文件不存在"));
    QFile file(path);
    if (!info.isFile() || !file.open(QIODevice::ReadOnly))
        return failed(Words::tr("文件打开失败"));
    if (!isExr(file.peek(4))) {
        QImageReader reader(&file, info.suffix().toLower().toLatin1());
        return readWith(&reader, mostPixels);
    }
    constexpr qint64 MostBytes = qint64(2) << 30;
    if (file.size() > MostBytes)
        return failed(Words::tr("文件太大"));
    const QByteArray bytes = file.readAll();
    return read(bytes, path, mostPixels);
}

QImage FrameReader::develop(const FrameImage &frame, const FrameLook &look, const std::atomic_bool *stop)
{
    if (!frame.valid())
        return {};
    const bool plain = look.channel == FrameLook::Rgb && look.exposure == 0.f && std::abs(look.gamma - 2.2f) < 0.001f;
    if (!frame.isFloat() && plain)
        return frame.image.convertToFormat(frame.alpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    const std::vector<uchar> curve = curveOf(look, frame.isFloat());
    const float gain = (frame.isFloat() ? std::exp2(look.exposure) : 1.f) * float(Steps - 1);
    const auto toScreen = [&](float value) {
        const float v = value * gain;
        return v > 0.f ? curve[size_t(std::min(v, float(Steps - 1)))] : uchar(0); // what is no number is black
    };
    QImage out(frame.width, frame.height, QImage::Format_RGB32);
    for (int y = 0; !out.isNull() && y < frame.height && !(stop && *stop); ++y) {
        auto *line = reinterpret_cast<QRgb *>(out.scanLine(y));
        withRow(frame, y, [&](auto row) {
            for (int x = 0; x < frame.width; ++x) {
                const FrameImage::Pixel p = row(x);
                if (look.channel == FrameLook::Rgb) {
                    line[x] = qRgb(toScreen(p.r), toScreen(p.g), toScreen(p.b));
                    continue;
                }
                // Coverage isn't light: neither exposure nor gamma.
                const int grey = look.channel == FrameLook::Alpha ? int(255.f * std::max(0.f, std::min(1.f, p.a)))
                                                                  : toScreen(channelOf(p, look.channel));
                line[x] = qRgb(grey, grey, grey);
            }
            return 0;
        });
    }
    return out;
}

QImage FrameReader::thumbnail(const FrameImage &frame, const QSize &within)
{
    const QImage all = develop(frame, {});
    if (all.isNull() || (all.width() <= within.width() && all.height() <= within.height()))
        return all;
    return all.scaled(within, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}
