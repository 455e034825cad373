#include "frames/FrameSequence.h"
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

QList<int> FrameSequence::missing() const
{
    constexpr int Most = 100000;
    QList<int> gaps;
    int expected = first();
    for (auto it = files.begin(); it != files.end(); ++it) {
        for (; expected < it.key() && gaps.size() < Most; ++expected)
            gaps << expected;
        expected = it.key() + 1;
    }
    return gaps;
}
