// Where a link to a scene leads.
#include "common/VFunc.h"
#include <QFileInfo>
#include <QSet>

QString VFunc::followLinks(const QString &path)
{
    QString at = path;
    QSet<QString> seen;
    for (QFileInfo info(at); info.isSymLink() && !seen.contains(at); info.setFile(at)) {
        const QString target = info.symLinkTarget();
        if (target.isEmpty())
            break;
        seen.insert(at);
        at = target;
    }
    return at;
}
