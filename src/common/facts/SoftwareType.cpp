#include "common/facts/SoftwareType.h"
#include "common/VFunc.h"

namespace
{
const struct Software {
    int type;
    const char *name;
    const char *endings; // parted by blanks
    const char *words;   // in the name of an installation
} softwares[] = {
    {SoftwareType::Maya, "Maya", ".ma .mb", "maya"},
    {SoftwareType::Max, "3ds Max", ".max", "max"},
    {SoftwareType::Houdini, "Houdini", ".hip .hipnc .hiplc", "houdini"},
    {SoftwareType::Cinema4D, "Cinema 4D", ".c4d", "cinema c4d"},
    {SoftwareType::SketchUp, "SketchUp", ".skp", "sketchup"},
    {SoftwareType::Clarisse, "Clarisse", ".project", "clarisse"},
    {SoftwareType::Terragen, "Terragen", ".tgd", "terragen"},
};

QStringList words(const char *text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); }

const Software *find(int type)
{
    for (const Software &software : softwares)
        if (software.type == type)
            return &software;
    return nullptr;
}
} // namespace

QList<int> SoftwareType::all()
{
    QList<int> types;
    for (const Software &software : softwares)
        types << software.type;
    return types;
}

QString SoftwareType::name(int type)
{
    const Software *software = find(type);
    return software ? QString::fromLatin1(software->name) : QString();
}

QStringList SoftwareType::endings(int type)
{
    const Software *software = find(type);
    return software ? words(software->endings) : QStringList();
}

int SoftwareType::ofPath(const QString &path)
{
    for (const Software &software : softwares)
        for (const QString &ending : words(software.endings))
            if (path.endsWith(ending, Qt::CaseInsensitive))
                return software.type;
    return Unknown;
}

int SoftwareType::ofName(const QString &name)
{
    for (const Software &software : softwares)
        for (const QString &word : words(software.words))
            if (name.contains(word, Qt::CaseInsensitive))
                return software.type;
    return Unknown;
}

int SoftwareType::ofRow(const QJsonObject &rset, const QString &scene, const QJsonObject &rdata)
{
    for (const QJsonObject &object : {rdata, rset}) {
        const int type = object.value(QLatin1String("softwareType")).toVariant().toInt();
        if (type != Unknown)
            return type;
    }
    return ofPath(VFunc::followLinks(scene));
}
