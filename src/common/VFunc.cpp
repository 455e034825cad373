// The skin over the platform layer; what names and links of scene files mean is in SceneNames.cpp.
#include "common/VFunc.h"
#include "common/FileNames.h"
#include "common/platform/Platform.h"
#include "common/platform/SafeFile.h"
#include <atomic>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

namespace
{
constexpr int toolWaitMs = 30000;
std::atomic<int> screenWidth{0}, screenHeight{0};

std::string raw(const QString &path) { return FileNames::native(path); }
QString text(const std::string &value) { return QString::fromStdString(value); }

QString macs()
{
    QStringList list;
    for (const platform::Adapter &adapter : platform::adapters())
        list.append(text(adapter.mac));
    return list.join(QLatin1Char(','));
}

// Keys of installed 3ds Max versions: "20.0", "14.0\MAX-1:409" and the like.
QString maxVersions()
{
    QStringList versions;
    for (const char *product : {"3dsMax", "3dsMaxDesign"}) {
        for (const QString &key :
             VFunc::machineSubkeys(QStringLiteral("SOFTWARE\\Autodesk\\") + QLatin1String(product))) {
            if (!key.isEmpty() && key.at(0).isDigit())
                versions.append(key);
        }
    }
    return versions.join(QLatin1Char(','));
}
} // namespace

QVariant VFunc::regGet(const QString &key, const QString &name)
{
    const auto value = platform::regGet(platform::Hive::CurrentUser, raw(key), raw(name));
    return value ? QVariant(text(*value)) : QVariant();
}

void VFunc::regSet(const QString &key, const QString &name, const QVariant &value)
{
    const QString word = value.type() == QVariant::Bool ? QString::number(value.toInt()) : value.toString();
    if (!platform::regSet(platform::Hive::CurrentUser, raw(key), raw(name), raw(word)))
        qWarning().noquote() << "VFunc::regSet not written:" << key << name;
}

bool VFunc::delHKCU(const QString &key, const QString &name)
{
    const bool gone = platform::regDelete(platform::Hive::CurrentUser, raw(key), raw(name));
    qDebug().noquote() << "VFunc::delHKCU" << key << name << gone;
    return gone;
}

bool VFunc::setHKCU(const QString &key, const QString &name, const QString &value)
{
    return platform::regSet(platform::Hive::CurrentUser, raw(key), raw(name), raw(value));
}

QString VFunc::machineValue(const QString &key, const QString &name)
{
    return text(platform::regGet(platform::Hive::LocalMachine, raw(key), raw(name)).value_or(std::string()));
}

QStringList VFunc::machineSubkeys(const QString &key)
{
    QStringList names;
    for (const std::string &name : platform::regSubkeys(platform::Hive::LocalMachine, raw(key)))
        names.append(text(name));
    return names;
}

int VFunc::runAs(const QString &file, const QString &params, const QString &target)
{
    const int outcome = platform::runElevated(raw(file), raw(params), raw(target));
    qDebug().noquote() << "VFunc::runAs" << file << params << outcome;
    return outcome;
}

bool VFunc::setUserVariable(const QString &name, const QString &value)
{
    if (!platform::isWindows()) {
        qDebug().noquote() << "VFunc::setUserVariable no such tool on this system:" << name;
        return false;
    }
    QProcess tool;
    tool.start(QStringLiteral("setx"), {name, value}, QIODevice::ReadWrite);
    const bool done = tool.waitForFinished(toolWaitMs) && tool.exitCode() == 0;
    if (!done)
        tool.kill();
    return done;
}

bool VFunc::autoStartSet(const QString &name, const QString &command)
{
    return platform::autoStartSet(raw(name), raw(command));
}
bool VFunc::autoStartRemove(const QString &name) { return platform::autoStartRemove(raw(name)); }
QString VFunc::autoStart(const QString &name)
{
    return text(platform::autoStartGet(raw(name)).value_or(std::string()));
}

bool VFunc::existProcess(const QString &name) { return platform::existProcess(raw(name)); }
bool VFunc::killProcess(const QString &name) { return platform::killByName(raw(name)) > 0; }
bool VFunc::killTree(qint64 pid, const QString &mark)
{
    constexpr int waitMs = 3000;
    return platform::killTree(pid, waitMs, raw(mark));
}

bool VFunc::removeDir(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || info.isRoot() || QDir(path) == QDir::home()) {
        qWarning().noquote() << "VFunc::removeDir refused:" << path;
        return false;
    }
    if (info.isSymLink()) // the link goes, not what it leads to
        return QFile::remove(path);
    return !info.exists() || QDir(path).removeRecursively();
}

QJsonObject VFunc::machineReport()
{
    const platform::Hardware facts = platform::hardware();
    return {{QStringLiteral("os"), text(facts.system)},
            {QStringLiteral("cpu"), text(facts.processor)},
            {QStringLiteral("mac"), macs()},
            {QStringLiteral("diskNo"), text(platform::volumeSerial())},
            {QStringLiteral("mainboard"), text(facts.mainboard)},
            {QStringLiteral("graphics"), text(facts.graphics)},
            {QStringLiteral("memory"), text(facts.memory)},
            {QStringLiteral("screenW"), screenWidth.load()},
            {QStringLiteral("screenH"), screenHeight.load()},
            {QStringLiteral("maxVersions"), maxVersions()}};
}

void VFunc::setScreenSize(int w, int h)
{
    screenWidth = w;
    screenHeight = h;
}

qint64 VFunc::freeSpace(const QString &path) { return platform::freeSpace(raw(path)); }
bool VFunc::openRegular(QFile *file, bool buffered)
{
    const QIODevice::OpenMode mode = QIODevice::ReadOnly | (buffered ? QIODevice::NotOpen : QIODevice::Unbuffered);
    const int fd = platform::openRegular(raw(file->fileName()));
    if (fd >= 0 && file->open(fd, mode, QFileDevice::AutoCloseHandle))
        return true;
    qWarning().noquote() << "VFunc::openRegular not a file that can be read:" << file->fileName();
    return false;
}
bool VFunc::syncFile(int fd) { return platform::syncFile(fd); }
bool VFunc::syncFolder(const QString &path) { return platform::syncFolder(raw(path)); }

bool VFunc::writeWhole(const QString &path, const QByteArray &content)
{
    QSaveFile file(path); // synced before it takes the name
    if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit())
        return true;
    qWarning().noquote() << "VFunc::writeWhole not written:" << path << file.errorString();
    return false;
}

bool VFunc::openFolder(const QString &path)
{
    const QString opener = platform::isWindows() ? QStringLiteral("explorer") : QStringLiteral("xdg-open");
    const platform::OpenMask mask;
    return QFileInfo(path).isDir() && startDetached(opener, {QDir::toNativeSeparators(path)});
}

// A name is looked up here: the toolkit does it in the forked child, by the environment, whose lock another thread may
// have held at the fork; then the child waits for ever, and this thread for the child.
bool VFunc::startDetached(const QString &program, const QStringList &words)
{
    const QString path = QStandardPaths::findExecutable(program);
    return !path.isEmpty() && QProcess::startDetached(path, words);
}
