#include "resolve/FolderMaps.h"
#include "common/UserInfo.h"
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{
QString plain(QString path)
{
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

// Paths of Windows, wherever they're read.
Qt::CaseSensitivity caseOf(const QString &path)
{
    const bool windows = path.startsWith(QLatin1String("//")) || path.midRef(1, 1) == QLatin1String(":");
    return windows ? Qt::CaseInsensitive : Qt::CaseSensitive;
}
} // namespace

bool FolderMap::holds(const QString &path) const
{
    const QString named = plain(path);
    return good() && named.startsWith(from, caseOf(from)) && named.midRef(from.size(), 1) == QLatin1String("/");
}

QString FolderMap::moved(const QString &path) const
{
    return holds(path) ? to + plain(path).mid(from.size()) : QString();
}

FolderMap FolderMap::widest(const QString &from, const QString &to)
{
    FolderMap map{plain(from), plain(to)};
    forever
    {
        const int a = map.from.lastIndexOf(QLatin1Char('/')), b = map.to.lastIndexOf(QLatin1Char('/'));
        const bool alike = a > 0 && b > 0 && map.from.midRef(a).compare(map.to.midRef(b), caseOf(map.from)) == 0;
        // A server's name is no folder: "//server" stays with the share behind it.
        if (!alike || map.from.leftRef(a).count(QLatin1Char('/')) < (map.from.startsWith(QLatin1String("//")) ? 3 : 0))
            return map;
        map = {map.from.left(a), map.to.left(b)};
    }
}

QList<FolderMap> FolderMaps::all()
{
    QList<FolderMap> list;
    const QByteArray kept = UserInfo::setting(Settings::FolderMaps).toString().toUtf8();
    for (const QJsonValue &one : QJsonDocument::fromJson(kept).array()) {
        const QJsonObject obj = one.toObject();
        const FolderMap map{plain(obj.value(QLatin1String("from")).toString()),
                            plain(obj.value(QLatin1String("to")).toString())};
        if (map.good() && list.size() < Most)
            list << map;
    }
    return list;
}

void FolderMaps::add(const FolderMap &map)
{
    QJsonArray kept{QJsonObject{{QStringLiteral("from"), map.from}, {QStringLiteral("to"), map.to}}};
    for (const FolderMap &one : all())
        if (one.from != map.from && kept.size() < Most)
            kept.append(QJsonObject{{QStringLiteral("from"), one.from}, {QStringLiteral("to"), one.to}});
    UserInfo::setSetting(Settings::FolderMaps, QString::fromUtf8(QJsonDocument(kept).toJson(QJsonDocument::Compact)));
}
