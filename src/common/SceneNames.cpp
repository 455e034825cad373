// Which software a scene file belongs to, and where a link to one leads.
#include "common/VFunc.h"
#include <QFileInfo>
#include <QSet>

namespace
{
struct Software {
    int type;
    const char *name;
    const char *endings; // parted by blanks
};

const Software softwares[] = {
    {1, "Maya", ".ma .mb"},   {3, "3ds Max", ".max"},  {4, "Houdini", ".hip .hipnc .hiplc"},
    {5, "Cinema 4D", ".c4d"}, {6, "SketchUp", ".skp"}, {7, "Clarisse", ".project"},
    {8, "Terragen", ".tgd"},
};
} // namespace

int VFunc::softwareTypeOf(const QString &path)
{
    for (const Software &software : softwares) {
        for (const QString &ending : endings(software.type)) {
            if (path.endsWith(ending, Qt::CaseInsensitive))
                return software.type;
        }
    }
    return 0;
}

QStringList VFunc::endings(int softwareType)
{
    for (const Software &software : softwares) {
        if (software.type == softwareType)
            return QString::fromLatin1(software.endings).split(QLatin1Char(' '));
    }
    return {};
}

QString VFunc::softwareName(int softwareType)
{
    for (const Software &software : softwares) {
        if (software.type == softwareType)
            return QString::fromLatin1(software.name);
    }
    return {};
}

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
