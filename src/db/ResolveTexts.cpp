// The column project: id and name as one text.
#include "db/ResolveDAO.h"

QString ResolveDAO::projectColumn(int id, const QString &name)
{
    // Not by arg(): a name may hold "%1" itself.
    return QString::number(id) + '_' + name;
}

void ResolveDAO::splitProject(const QString &column, int *id, QString *name)
{
    const int cut = column.indexOf('_');
    *id = column.left(cut < 0 ? column.size() : cut).toInt();
    *name = cut < 0 ? QString() : column.mid(cut + 1);
}
