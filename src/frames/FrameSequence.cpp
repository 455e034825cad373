#include "frames/FrameSequence.h"
#include <algorithm>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>

namespace
{
// 9 digits at most: a number beyond an int isn't a frame.
const QRegularExpression &numbered()
{
    static const QRegularExpression one(QStringLiteral("^(.*?)(\\d{1,9})(\\.[^.\\d][^.]*)$"));
    return one;
}
} // namespace

bool FrameSequence::isPicture(const QString &name)
{
    static const QStringList endings{QStringLiteral("png"),  QStringLiteral("jpg"),  QStringLiteral("jpeg"),
                                     QStringLiteral("tif"),  QStringLiteral("tiff"), QStringLiteral("exr"),
                                     QStringLiteral("tga"),  QStringLiteral("hdr"),  QStringLiteral("bmp"),
                                     QStringLiteral("webp"), QStringLiteral("gif"),  QStringLiteral("psd")};
    return endings.contains(QFileInfo(name).suffix().toLower());
}

QString FrameSequence::firstPicture(const QString &folder)
{
    constexpr int MostEntries = 100000;
    QString first;
    int seen = 0;
    QDirIterator all(folder, QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (all.hasNext() && ++seen < MostEntries) {
        const QString path = all.next();
        if (isPicture(path) && (first.isEmpty() || path < first))
            first = path;
    }
    return first;
}

FrameSequence FrameSequence::of(const QString &file)
{
    FrameSequence all;
    const QFileInfo info(file);
    all.folder = info.absolutePath();
    const QRegularExpressionMatch match = numbered().match(info.fileName());
    if (!match.hasMatch()) {
        all.files.insert(0, info.absoluteFilePath());
        return all;
    }
    all.prefix = match.captured(1);
    all.suffix = match.captured(3);
    all.digits = match.captured(2).size();
    const QStringList names = QDir(all.folder).entryList(QDir::Files);
    for (const QString &name : names) {
        const QRegularExpressionMatch other = numbered().match(name);
        if (other.hasMatch() && other.captured(1) == all.prefix && other.captured(3) == all.suffix)
            all.files.insert(other.captured(2).toInt(), all.folder + QLatin1Char('/') + name);
    }
    return all;
}

int FrameSequence::first() const
{
    const int file = files.isEmpty() ? 0 : files.firstKey();
    return ordered.isEmpty() ? file : files.isEmpty() ? ordered.first() : std::min(file, ordered.first());
}

int FrameSequence::last() const
{
    const int file = files.isEmpty() ? 0 : files.lastKey();
    return ordered.isEmpty() ? file : files.isEmpty() ? ordered.last() : std::max(file, ordered.last());
}

QList<int> FrameSequence::missing() const
{
    QList<int> gaps;
    if (!ordered.isEmpty()) {
        for (int number : ordered)
            if (!files.contains(number) && gaps.size() < MostFrames)
                gaps << number;
        return gaps;
    }
    int expected = first();
    for (auto it = files.begin(); it != files.end(); ++it) {
        for (; expected < it.key() && gaps.size() < MostFrames; ++expected)
            gaps << expected;
        expected = it.key() + 1;
    }
    return gaps;
}

QList<int> FrameSequence::numbers() const
{
    QList<int> all = files.keys() + missing();
    std::sort(all.begin(), all.end());
    return all;
}
