#include "view/driver/DriveChain.h"
#include <algorithm>
#include <QHash>

FileView DriveChain::root(int fileType)
{
    FileView root;
    root.id = QLatin1String(SubFile::Root);
    root.name = QStringLiteral("root");
    root.type = SubFile::Folder;
    root.fileType = fileType;
    return root;
}

QVector<FileView> DriveChain::of(const QList<SubFile> &family, const QString &id, int fileType)
{
    QHash<QString, FileView> known;
    for (const SubFile &entry : family)
        known.insert(entry.id, entry);
    QVector<FileView> chain;
    for (QString at = id; known.contains(at) && at != QLatin1String(SubFile::Root); at = chain.first().parent)
        chain.prepend(known.take(at));
    chain.prepend(root(fileType));
    return chain;
}

QStringList DriveChain::names(const QList<SubFile> &family, const SubFile &own)
{
    QStringList names;
    const auto isOwn = [&own](const SubFile &one) { return one.id == own.id; };
    const bool told = family.isEmpty() || std::any_of(family.begin(), family.end(), isOwn);
    const QVector<FileView> chain = of(told ? family : family + QList<SubFile>{own}, own.id, 1);
    for (int i = 1; i < chain.size(); ++i)
        names << chain.at(i).name;
    return names;
}
