#include "view/PluginPlaces.h"
#include "common/facts/SoftwareType.h"
#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "resolve/SoftwareFinder.h"
#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

namespace
{
using File = PluginPlace::File;
constexpr qint64 MostBytes = 4 << 20; // of a script

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(MostBytes) : QByteArray();
}

QByteArray wanted(const File &file) { return file.source.isEmpty() ? file.content : read(file.source); }

QString hash(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex());
}

// All files of a folder of the scripts, to lie below target.
QList<File> tree(const QString &source, const QString &target, const QString &leftOut = {})
{
    QList<File> files;
    QDirIterator walk(source, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next(), name = QDir(source).relativeFilePath(path);
        if (name != leftOut && !name.endsWith(QLatin1String(".pyc")))
            files.append({path, target.isEmpty() ? name : target + QLatin1Char('/') + name, {}});
    }
    return files;
}

// The part that all Python menus share, and where the client listens.
QList<File> pythonClient(const PluginPlaces::Machine &machine, const QString &folder)
{
    return {
        {machine.scripts + QStringLiteral("/menu/vandrel_client.py"), folder + QStringLiteral("vandrel_client.py"), {}},
        {{}, folder + QStringLiteral("vandrel_port.txt"), QByteArray::number(machine.clientPort) + '\n'}};
}

// A row of the table of languages and versions; the years of the later ones follow from their number.
QString maxFolder(const QString &version)
{
    for (const char *product : {"3dsMax", "3dsMaxDesign"}) {
        const std::string key = std::string("SOFTWARE\\Autodesk\\") + product + "\\" + version.toStdString();
        const auto found = platform::regGet(platform::Hive::LocalMachine, key, "Installdir");
        const QString folder = found ? QDir::cleanPath(QString::fromStdString(*found).replace('\\', '/')) : QString();
        if (!folder.isEmpty() && QFileInfo(folder).isDir())
            return folder;
    }
    return {};
}

QStringList maxVersions()
{
    QStringList all;
    for (const char *old : {"12.0", "13.0", "14.0"})
        for (const char *language : {"409", "804"})
            all << QStringLiteral("%1\\MAX-1:%2").arg(QLatin1String(old), QLatin1String(language));
    int newest = 21;
    for (const char *product : {"3dsMax", "3dsMaxDesign"})
        for (const std::string &name :
             platform::regSubkeys(platform::Hive::LocalMachine, std::string("SOFTWARE\\Autodesk\\") + product))
            newest = qMax(newest, qMin(99, QString::fromStdString(name).section('.', 0, 0).toInt()));
    for (int version = 15; version <= newest; ++version)
        all << QStringLiteral("%1.0").arg(version);
    return all;
}

int newestYear() { return QDate::currentDate().year() + 2; } // versions are named ahead of their time

QString year(const QString &path) { return QRegularExpression(QStringLiteral("20[12]\\d")).match(path).captured(); }

void addMax(const PluginPlaces::Machine &machine, QList<PluginPlace> *places)
{
    for (const QString &folder : PluginPlaces::allMaxPath()) {
        const QString script = PluginPlaces::maxScript(folder);
        PluginPlace place;
        place.program = QStringLiteral("3ds Max %1").arg(year(folder)).trimmed();
        place.folder = folder;
        place.softwareType = SoftwareType::Max;
        place.files = {{machine.scripts + QStringLiteral("/max") + script, script.mid(1), {}}};
        if (machine.clientPort != Settings::of(Settings::ClientPort).fallback.toInt())
            place.files.append({{},
                                QStringLiteral("vandrelMenu.ini"),
                                "[client]\r\nport=" + QByteArray::number(machine.clientPort) + "\r\n"});
        place.outdated << (script.startsWith(QLatin1String("/o_")) ? QStringLiteral("o_RegisterMenu.ms")
                                                                   : QStringLiteral("RegisterMenu.ms"));
        places->append(place);
    }
}

void addSketchUp(const PluginPlaces::Machine &machine, QList<PluginPlace> *places)
{
    const QDir root(machine.appData + QStringLiteral("/SketchUp"));
    for (const QString &version : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        const QString folder = root.filePath(version) + QStringLiteral("/SketchUp/Plugins");
        if (!QFileInfo(root.filePath(version) + QStringLiteral("/SketchUp")).isDir())
            continue;
        PluginPlace place;
        place.program = version.startsWith(QLatin1String("SketchUp")) ? version : QStringLiteral("SketchUp ") + version;
        place.folder = folder;
        place.softwareType = SoftwareType::SketchUp;
        place.files = tree(machine.scripts + QStringLiteral("/sketchup"), {});
        place.files.append({{}, QStringLiteral("Vandrel_UI/port.txt"), QByteArray::number(machine.pluginPort) + '\n'});
        places->append(place);
    }
}

void addMaya(const PluginPlaces::Machine &machine, QList<PluginPlace> *places)
{
    const QString root =
        machine.windows ? machine.documents + QStringLiteral("/maya") : machine.home + QStringLiteral("/maya");
    const QString source = machine.scripts + QStringLiteral("/menu/maya");
    for (int number = PluginPlaces::FirstYear; number <= newestYear(); ++number) {
        const QString version = QString::number(number), user = root + QLatin1Char('/') + version;
        if (!QFileInfo(user).isDir() && !SoftwareFinder::maya(QStringLiteral("maya") + version, version, false).found())
            continue;
        PluginPlace place;
        place.program = QStringLiteral("Maya ") + version;
        place.folder = user + QStringLiteral("/modules");
        place.softwareType = SoftwareType::Maya;
        place.files = tree(source, QStringLiteral("vandrel"), QStringLiteral("vandrel.mod"));
        place.files += pythonClient(machine, QStringLiteral("vandrel/scripts/"));
        place.files.append(
            {source + QStringLiteral("/vandrel.mod"), QStringLiteral("vandrel.mod"), {}}); // last: it names the rest
        places->append(place);
    }
}

// Versions from 17.5 on, which take packages; a version is known by the user's folder that it has made.
void addHoudini(const PluginPlaces::Machine &machine, QList<PluginPlace> *places)
{
    const QDir root(machine.windows ? machine.documents : machine.home);
    const QString source = machine.scripts + QStringLiteral("/menu/houdini");
    static const QRegularExpression form(QStringLiteral("^houdini((\\d+)\\.(\\d+))$"));
    for (const QString &name : root.entryList({QStringLiteral("houdini*")}, QDir::Dirs, QDir::Name)) {
        const QRegularExpressionMatch version = form.match(name);
        const int number = version.captured(2).toInt() * 100 + version.captured(3).toInt();
        if (!version.hasMatch() || number < 1705)
            continue;
        PluginPlace place;
        place.program = QStringLiteral("Houdini ") + version.captured(1);
        place.folder = root.filePath(name);
        place.softwareType = SoftwareType::Houdini;
        place.files = tree(source, QStringLiteral("vandrel"), QStringLiteral("vandrel.json"));
        place.files += pythonClient(machine, QStringLiteral("vandrel/scripts/python/"));
        place.files.append({source + QStringLiteral("/vandrel.json"), QStringLiteral("packages/vandrel.json"), {}});
        places->append(place);
    }
}

// Its folder of the user; other systems have its command line only.
void addCinema4D(const PluginPlaces::Machine &machine, QList<PluginPlace> *places)
{
    static const QRegularExpression form(QStringLiteral("^(?:Maxon )?Cinema ?4D (R?\\d+(?:\\.\\d+)?)(?:_\\w+)?$"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QDir root(machine.appData + QStringLiteral("/Maxon"));
    for (const QString &name : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        const QRegularExpressionMatch version = form.match(name);
        if (!version.hasMatch())
            continue;
        PluginPlace place;
        place.program = QStringLiteral("Cinema 4D ") + version.captured(1);
        place.folder = root.filePath(name) + QStringLiteral("/plugins");
        place.softwareType = SoftwareType::Cinema4D;
        place.files = pythonClient(machine, QStringLiteral("vandrel/"));
        place.files += tree(machine.scripts + QStringLiteral("/menu/c4d"), QStringLiteral("vandrel"));
        places->append(place);
    }
}

// Remembered by the path, since a setting's name takes no slashes.
QString mark(const QString &path) { return hash(path.toUtf8()); }
QString laidDown(const QString &path) { return UserInfo::allValue(QStringLiteral("Plugins"), mark(path)).toString(); }

// Keeps what somebody has changed; false where it can't be kept.
bool keepAside(const QString &path, const QByteArray &fresh, const QDate &today)
{
    if (!QFileInfo::exists(path))
        return true;
    const QByteArray now = read(path);
    if (now == fresh || hash(now) == laidDown(path))
        return true;
    // A name that no program takes for a script.
    const QString dated = QStringLiteral("%1.%2.bak").arg(path, today.toString(QStringLiteral("yyyy-MM-dd")));
    for (int i = 0; i < 1000; ++i) {
        const QString kept = i == 0 ? dated : QStringLiteral("%1.%2").arg(dated).arg(i);
        if (!QFileInfo::exists(kept))
            return QFile::copy(path, kept);
    }
    return false;
}

// The nearest part of the folder that exists tells.
bool canWrite(QString folder)
{
    while (!QFileInfo::exists(folder) && folder.contains(QLatin1Char('/')) && folder.size() > 1)
        folder = folder.left(qMax(1, folder.lastIndexOf(QLatin1Char('/'))));
    return QFileInfo(folder).isDir() && QFileInfo(folder).isWritable();
}
} // namespace

PluginPlaces::Machine PluginPlaces::Machine::here()
{
    Machine one;
    one.windows = platform::isWindows();
    one.appData = QFileInfo(UserInfo::baseDir()).path();
    one.documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    one.home = QDir::homePath();
    one.scripts = UserInfo::programDir() + QStringLiteral("/scripts");
    one.clientPort = UserInfo::clientPort();
    one.pluginPort = UserInfo::setting(Settings::PluginPort).toInt();
    return one;
}

QStringList PluginPlaces::allMaxPath()
{
    QStringList all;
    for (const QString &version : maxVersions())
        all << maxFolder(version);
    for (int number = FirstYear; number <= newestYear(); ++number) // those that the user has named
        all << SoftwareFinder::max(QStringLiteral("3dsmax%1").arg(number), QString::number(number)).folder;
    QStringList folders;
    for (const QString &one : qAsConst(all))
        if (const QString folder = one + QStringLiteral("/scripts/Startup");
            !one.isEmpty() && QFileInfo(folder).isDir() && !folders.contains(folder, Qt::CaseInsensitive))
            folders << folder;
    return folders;
}

QString PluginPlaces::maxScript(const QString &folder)
{
    static const QRegularExpression old(QStringLiteral("201[0-2]"));
    return old.match(folder).hasMatch() ? QStringLiteral("/o_vandrelMenu.ms") : QStringLiteral("/vandrelMenu.ms");
}

QList<PluginPlace> PluginPlaces::find(const Machine &machine)
{
    QList<PluginPlace> places;
    if (machine.windows) {
        addMax(machine, &places);
        addSketchUp(machine, &places);
    }
    addMaya(machine, &places);
    addHoudini(machine, &places);
    if (machine.windows)
        addCinema4D(machine, &places);
    for (PluginPlace &place : places) {
        place.state = stateOf(place);
        place.writable = canWrite(place.folder);
    }
    return places;
}

PluginPlace::State PluginPlaces::stateOf(const PluginPlace &place)
{
    int there = 0, alike = 0;
    for (const File &file : place.files) {
        if (!QFileInfo(place.path(file)).isFile())
            continue;
        ++there;
        alike += read(place.path(file)) == wanted(file);
    }
    return there == 0                    ? PluginPlace::Missing
           : alike == place.files.size() ? PluginPlace::Installed
                                         : PluginPlace::Damaged;
}

QString PluginPlaces::install(const PluginPlace &place, const QDate &today)
{
    QStringList failed;
    for (const File &file : place.files) {
        const QString path = place.path(file);
        const QByteArray fresh = wanted(file);
        if (fresh.isEmpty()) { // the program's own copy is gone
            failed << file.source;
            continue;
        }
        if (QFileInfo(path).isFile() && read(path) == fresh)
            continue;
        // Beside, then renamed: the software never meets half a script.
        if (QDir().mkpath(QFileInfo(path).path()) && keepAside(path, fresh, today) && VFunc::writeWhole(path, fresh))
            UserInfo::setAllValue(QStringLiteral("Plugins"), mark(path), hash(fresh));
        else
            failed << path;
    }
    for (const QString &name : place.outdated)
        if (const QString path = place.folder + QLatin1Char('/') + name;
            QFileInfo::exists(path) && !QFile::remove(path))
            failed << path;
    if (failed.isEmpty())
        return {};
    qWarning().noquote() << "PluginPlaces::install" << place.program << "not written:" << failed;
    return tr("以下文件无法写入，请检查权限后重试：\n%1").arg(failed.mid(0, 5).join('\n'));
}

QString PluginPlaces::remove(const PluginPlace &place, const QDate &today)
{
    QStringList failed;
    // In the order against that of laying down: what names the rest goes first.
    for (int i = place.files.size(); i-- > 0;) {
        const QString path = place.path(place.files[i]);
        if (!QFileInfo::exists(path))
            continue;
        if (!keepAside(path, wanted(place.files[i]), today) || !QFile::remove(path))
            failed << path;
        UserInfo::setAllValue(QStringLiteral("Plugins"), mark(path), QVariant());
        QString folder = QFileInfo(path).path();
        while (folder.startsWith(place.folder + QLatin1Char('/')) && QDir().rmdir(folder)) // empty ones only
            folder = QFileInfo(folder).path();
    }
    if (failed.isEmpty())
        return {};
    qWarning().noquote() << "PluginPlaces::remove" << place.program << "still there:" << failed;
    return tr("以下文件无法删除，请检查权限后重试：\n%1").arg(failed.mid(0, 5).join('\n'));
}
