#include "view/driver/DriveRules.h"
#include "common/facts/SoftwareType.h"
#include <QCoreApplication>
#include <QRegularExpression>

namespace
{
const QString Forbidden = QStringLiteral("\\/:*?\"<>|");

QString tr(const char *text) { return QCoreApplication::translate("DriveRules", text); }

// Names that Windows gives to devices, with any ending.
bool reserved(const QString &name)
{
    static const QRegularExpression device(
        QStringLiteral("^(con|prn|aux|nul|com[0-9\u00b9\u00b2\u00b3]|lpt[0-9\u00b9\u00b2\u00b3]) *(\\..*)?$"),
        QRegularExpression::CaseInsensitiveOption);
    return device.match(name).hasMatch();
}

bool fitCharacters(const QString &name)
{
    for (const QChar c : name)
        if (Forbidden.contains(c) || c < QLatin1Char(' ') || c == QChar(0x7f))
            return false;
    return !name.endsWith(QLatin1Char('.')) && !name.endsWith(QLatin1Char(' ')) && !reserved(name);
}
} // namespace

DriveRules::Name DriveRules::judgeName(const QString &name, const QString &before)
{
    if (name.size() >= MostName)
        return Name::Long;
    if (!name.isEmpty() && !fitCharacters(name)) // "." and ".." end with a dot
        return Name::Characters;
    return name.isEmpty() || name == before ? Name::Unchanged : Name::Good;
}

QString DriveRules::refusal(Name what)
{
    if (what == Name::Long)
        return tr("名称长度需小于255");
    if (what == Name::Characters)
        return tr("文件名不能包含下列字符：\r\n%1").arg(QStringLiteral("\\ / : * ? \" < > |"));
    return {};
}

QString DriveRules::freeName(const QString &base, const std::function<bool(const QString &)> &taken)
{
    QString name = base;
    for (int number = 1; taken(name); ++number)
        name = base + QStringLiteral(" (%1)").arg(number);
    return name;
}

DriveRules::Acts DriveRules::judgeAction(const QVector<const FileView *> &chosen, const Where &where)
{
    const bool input = where.fileType == 1, some = !chosen.isEmpty();
    bool free = true, scenes = some;
    for (const FileView *entry : chosen) {
        free = free && entry->pending.isEmpty() && !entry->isNew();
        scenes = scenes && !entry->isFolder() && SoftwareType::ofPath(entry->name) != SoftwareType::Unknown;
    }
    Acts acts;
    acts.addDisk = input && where.root && !where.search;
    if (input && where.root && !where.search) { // disks can be added, renamed and deleted, nothing else
        acts.rename = free && chosen.size() == 1;
        acts.remove = free && some;
        return acts;
    }
    acts.create = input && !where.search;
    acts.upload = acts.create && where.upload;
    acts.rename = input && free && chosen.size() == 1;
    acts.move = input && free && some;
    acts.remove = free && some;
    acts.property = chosen.size() == 1 && free;
    acts.download = where.download && free && some;
    acts.check = free && chosen.size() == 1 && chosen.first()->isFolder();
    acts.submit = input && where.analyse && free && scenes;
    return acts;
}

bool DriveRules::movable(const QStringList &ids, const QStringList &chain, const QString &from)
{
    if (ids.isEmpty() || chain.size() < 2 || chain.last() == from) // into the root only disks go, and they don't move
        return false;
    for (const QString &id : ids)
        if (chain.contains(id))
            return false;
    return true;
}
