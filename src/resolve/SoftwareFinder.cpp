#include "resolve/SoftwareFinder.h"
#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include <algorithm>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace
{
const QString Uninstall = QStringLiteral("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\");

QString machineValue(const QString &key, const char *name)
{
    const auto value = platform::regGet(platform::Hive::LocalMachine, key.toStdString(), name);
    return value ? QString::fromStdString(*value) : QString();
}

QStringList machineKeys(const QString &key)
{
    QStringList list;
    for (const std::string &name : platform::regSubkeys(platform::Hive::LocalMachine, key.toStdString()))
        list.append(QString::fromStdString(name));
    return list;
}

// Programs of an installation, relative to its folder, the likeliest first.
QStringList programs(const QString &windows, const QStringList &others)
{
    return platform::isWindows() ? QStringList(windows) : others;
}

QString clean(QString path)
{
    return QDir::cleanPath(path.remove(QLatin1Char('"')).trimmed().replace(QLatin1Char('\\'), QLatin1Char('/')));
}

// By the numbers within the names: 17.5.1000 before 17.5.460.
bool newer(const QString &a, const QString &b)
{
    static const QRegularExpression number(QStringLiteral("\\d+"));
    auto left = number.globalMatch(a), right = number.globalMatch(b);
    while (left.hasNext() && right.hasNext()) {
        const qulonglong x = left.next().captured().toULongLong(), y = right.next().captured().toULongLong();
        if (x != y)
            return x > y;
    }
    return left.hasNext() != right.hasNext() ? left.hasNext() : a > b;
}

QString mayaSibling(const QString &program)
{
    const QFileInfo info(program);
    QString name = info.fileName();
    const int at = name.indexOf(QLatin1String("maya"), 0, Qt::CaseInsensitive);
    if (at < 0 || name.contains(QLatin1String("mayapy"), Qt::CaseInsensitive))
        return program;
    const QString ending =
        name.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive) ? QStringLiteral(".exe") : QString();
    return info.path() + QLatin1String("/mayapy") + ending;
}
} // namespace

SoftwareFinder::Installation SoftwareFinder::within(const QString &folder, const QStringList &programs)
{
    if (folder.isEmpty())
        return {};
    const QString base = clean(folder);
    for (const QString &program : programs) {
        if (QFileInfo(base + QLatin1Char('/') + program).isFile())
            return {base, base + QLatin1Char('/') + program};
    }
    return {};
}

SoftwareFinder::Installation SoftwareFinder::chosen(const QString &software, const QStringList &programs)
{
    // Users write the name as it is shown, or without its blanks and dashes.
    QString path;
    for (const QString &key : {software, QString(software).remove(QLatin1Char(' ')),
                               QString(software).remove(QLatin1Char(' ')).remove(QLatin1Char('-'))}) {
        path = UserInfo::softwarePath(key);
        if (!path.isEmpty())
            break;
    }
    if (path.isEmpty())
        return {};
    path = clean(path);
    const QFileInfo info(path);
    if (info.isDir())
        return within(path, programs);
    if (!info.isFile()) {
        qWarning().noquote() << "SoftwareFinder::chosen" << software << "no such program" << path;
        return {};
    }
    const bool bin = info.dir().dirName().compare(QLatin1String("bin"), Qt::CaseInsensitive) == 0;
    return {bin ? QFileInfo(info.path()).path() : info.path(), path};
}

SoftwareFinder::Installation SoftwareFinder::usual(const QString &root, const QString &base, const QString &rule,
                                                   const QStringList &programs)
{
    const QRegularExpression fits(QRegularExpression::anchoredPattern(rule), QRegularExpression::CaseInsensitiveOption);
    QStringList names = QDir(root + base).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(names.begin(), names.end(), newer);
    for (const QString &name : qAsConst(names)) {
        const Installation one =
            fits.match(name).hasMatch() ? within(root + base + QLatin1Char('/') + name, programs) : Installation();
        if (one.found())
            return one;
    }
    return {};
}

SoftwareFinder::Installation SoftwareFinder::maya(const QString &software, const QString &version, bool fast,
                                                  const QString &root)
{
    const QStringList names =
        programs(QStringLiteral("bin/mayabatch.exe"), {QStringLiteral("bin/mayabatch"), QStringLiteral("bin/maya")});
    Installation one = chosen(software, names);
    if (!one.found())
        one = within(machineValue(QStringLiteral("SOFTWARE\\Autodesk\\Maya\\%1\\Setup\\InstallPath").arg(version),
                                  "MAYA_INSTALL_LOCATION"),
                     names);
    const QString rule = QStringLiteral("maya%1(-x64)?").arg(QRegularExpression::escape(version));
    for (const char *base : {"/usr/autodesk", "/opt/autodesk"}) {
        if (!one.found() && !platform::isWindows() && !version.isEmpty())
            one = usual(root, QLatin1String(base), rule, names);
    }
    if (fast && one.found())
        one.program = mayaSibling(one.program);
    return one;
}

SoftwareFinder::Installation SoftwareFinder::max(const QString &software, const QString &year, const QString &root)
{
    Q_UNUSED(root) // exists for one system only
    static const char *const rows[] = {"2020_22.0",
                                       "2019_21.0",
                                       "2018_20.0",
                                       "2017_19.0",
                                       "2016_18.0",
                                       "2015_17.0",
                                       "2014_16.0",
                                       "2013_15.0",
                                       "2012_14.0\\MAX-1:804",
                                       "2012_14.0\\MAX-1:409",
                                       "2011_13.0\\MAX-1:804",
                                       "2011_13.0\\MAX-1:409",
                                       "2010_12.0\\MAX-1:804",
                                       "2010_12.0\\MAX-1:409"};
    const QStringList names = programs(QStringLiteral("3dsmax.exe"), {QStringLiteral("3dsmax")});
    Installation one = chosen(software, names);
    for (const char *product : {"3dsMax", "3dsMaxDesign"}) {
        for (const char *row : rows) {
            const QString text = QLatin1String(row);
            if (!one.found() && text.section(QLatin1Char('_'), 0, 0) == year)
                one = within(machineValue(QStringLiteral("SOFTWARE\\Autodesk\\%1\\%2")
                                              .arg(QLatin1String(product), text.section(QLatin1Char('_'), 1)),
                                          "Installdir"),
                             names);
        }
    }
    return one;
}

SoftwareFinder::Installation SoftwareFinder::houdini(const QString &software, const QString &version,
                                                     const QString &root)
{
    const QStringList names = programs(QStringLiteral("bin/hython.exe"), {QStringLiteral("bin/hython")});
    Installation one = chosen(software, names);
    if (!one.found())
        one = within(
            machineValue(QStringLiteral("SOFTWARE\\Side Effects Software\\Houdini %1").arg(version), "InstallPath"),
            names);
    if (!one.found() && !platform::isWindows() && !version.isEmpty())
        one = usual(root, QStringLiteral("/opt"),
                    QStringLiteral("hfs%1(\\..*)?").arg(QRegularExpression::escape(version)), names);
    return one;
}

SoftwareFinder::Installation SoftwareFinder::cinema4D(const QString &software, const QString &version,
                                                      const QString &root)
{
    const QStringList names =
        programs(QStringLiteral("CINEMA 4D.exe"), {QStringLiteral("bin/Commandline"), QStringLiteral("Commandline"),
                                                   QStringLiteral("bin/CINEMA 4D"), QStringLiteral("CINEMA 4D")});
    Installation one = chosen(software, names);
    for (const QString &key : one.found() ? QStringList() : machineKeys(Uninstall)) {
        const QString whole = Uninstall + key;
        if (!one.found() && key.contains(QLatin1String("MAXON"), Qt::CaseInsensitive) &&
            machineValue(whole, "DisplayName").contains(QLatin1String("CINEMA 4D"), Qt::CaseInsensitive) &&
            machineValue(whole, "DisplayVersion").section(QLatin1Char('.'), 0, 0) == version)
            one = within(machineValue(whole, "InstallLocation"), names);
    }
    if (!one.found() && !platform::isWindows() && !version.isEmpty())
        one = usual(root, QStringLiteral("/opt/maxon"),
                    QStringLiteral("cinema ?4d(.*\\D)?%1(\\D.*)?").arg(QRegularExpression::escape(version)), names);
    return one;
}

SoftwareFinder::Installation SoftwareFinder::clarisse(const QString &software, const QString &version,
                                                      const QString &root)
{
    const QStringList names =
        programs(QStringLiteral("cnode.exe"),
                 {QStringLiteral("cnode"), QStringLiteral("bin/cnode"), QStringLiteral("clarisse/cnode")});
    Installation one = chosen(software, names);
    for (const QString &key : one.found() ? QStringList() : machineKeys(Uninstall)) {
        if (one.found() || !key.contains(QLatin1String("Clarisse")) || !key.contains(version, Qt::CaseInsensitive))
            continue;
        QString icon = clean(machineValue(Uninstall + key, "DisplayIcon"));
        const QString tail = QStringLiteral("/clarisse.exe");
        if (icon.endsWith(tail, Qt::CaseInsensitive))
            icon.chop(tail.size());
        one = within(icon, names);
    }
    // "CLARISSE IFX 4.0" lies in clarisse_ifx_4.0_sp3 or in clarisse/4.0_sp3.
    const QString number = QRegularExpression(QStringLiteral("\\d+(\\.\\d+)*")).match(version).captured();
    const QString rule = QStringLiteral("(.*\\D)?%1(\\D.*)?").arg(QRegularExpression::escape(number));
    for (const char *base : {"/opt/isotropix", "/opt/isotropix/clarisse"}) {
        if (!one.found() && !platform::isWindows() && !number.isEmpty())
            one = usual(root, QLatin1String(base), rule, names);
    }
    return one;
}
