#include "view/driver/DriveChain.h"
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

QStringList DriveChain::names(const QList<SubFile> &family, const QString &id)
{
    QStringList names;
    const QVector<FileView> chain = of(family, id, 1);
    for (int i = 1; i < chain.size(); ++i)
        names << chain.at(i).name;
    return names;
}
