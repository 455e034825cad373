#include "io/SourceFile.h"
#include "common/UserInfo.h"
#include <QUrl>

QString SourceFile::relative(const QString &path)
{
    QString out = path;
    out.remove(QLatin1Char(':'));
    int start = 0;
    while (start < out.size() && out.at(start) == QLatin1Char('/'))
        ++start;
    return out.mid(start);
}

SourceFile SourceFile::of(const QString &absolutePath, qint64 size, qint64 modified)
{
    return {relative(absolutePath), relative(UserInfo::pathCase(absolutePath, false)), size, modified};
}

QString SourceFile::question(const QString &server, int taskId, const QString &eTag, const QString &mark) const
{
    const auto encoded = [](const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); };
    QString out = server + QStringLiteral("/sourceFiles?fileType=1&key=") + encoded(key) + QStringLiteral("&diskKey=") +
                  encoded(diskKey) + QStringLiteral("&size=") + QString::number(size) +
                  QStringLiteral("&lastModified=") + QString::number(modified);
    if (taskId != NoTask)
        out += QStringLiteral("&taskId=") + QString::number(taskId);
    if (!eTag.isEmpty())
        out += QStringLiteral("&ETag=") + encoded(eTag);
    return out + QStringLiteral("&upwork=") + mark;
}
