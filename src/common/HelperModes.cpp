#include "common/HelperModes.h"
#include "common/platform/Platform.h"
#include "common/VFunc.h"
#include <algorithm>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>

namespace
{
constexpr int toolWaitMs = 30000;
const char *const layersKey = "Software\\Microsoft\\Windows NT\\CurrentVersion\\AppCompatFlags\\Layers";

QString slashed(const QString &path) { return QString(path).replace(QLatin1Char('\\'), QLatin1Char('/')); }

bool plainPath(const QString &path)
{
    return QDir::isAbsolutePath(path) && !path.split(QLatin1Char('/')).contains(QStringLiteral(".."));
}

// Where a folder really lies: the deepest part that exists with its links followed, and the rest behind it.
QString trueFolder(const QString &folder)
{
    QString at = QDir::cleanPath(folder), rest;
    while (!QFileInfo::exists(at) && at.contains(QLatin1Char('/')) && at.size() > 1) {
        rest = at.mid(at.lastIndexOf(QLatin1Char('/'))) + rest;
        at = at.left(qMax(1, at.lastIndexOf(QLatin1Char('/'))));
    }
    return QFileInfo(at).canonicalFilePath() + rest;
}

bool inside(const QString &path, const QString &folder)
{
    const QString real = QFileInfo(folder).canonicalFilePath();
    return !real.isEmpty() &&
           (trueFolder(QFileInfo(path).path()) + QLatin1Char('/')).startsWith(real + QLatin1Char('/'));
}

bool holdsFile(const QString &folder, const QString &name)
{
    // Without regard to case; some systems keep programs one deeper.
    return !QDir(folder).entryList({name}, QDir::Files).isEmpty() ||
           !QDir(folder + QLatin1String("/bin")).entryList({name}, QDir::Files).isEmpty();
}

// Whether the software's program lies in what stands before marker in the target (before the file itself without one),
// or up to levels folders above that.
bool belowSoftware(const QString &target, const QString &marker, const QString &program, int levels = 0)
{
    const QString folder = trueFolder(QFileInfo(target).path()) + QLatin1Char('/');
    int at = marker.isEmpty() ? folder.size() - 1 : folder.indexOf(marker, 0, Qt::CaseInsensitive);
    for (; at > 0 && levels >= 0; --levels, at = folder.lastIndexOf(QLatin1Char('/'), at - 1)) {
        if (holdsFile(folder.left(at), program))
            return true;
    }
    return false;
}

bool targetAllowed(const QString &soft, const QString &target)
{
    const QString name = QFileInfo(target).fileName();
    if (QFileInfo(target).isSymLink())
        return false;
    if (soft == QLatin1String("c4d")) {
        const QStringList programs{QStringLiteral("CINEMA 4D.exe"), QStringLiteral("CINEMA 4D"),
                                   QStringLiteral("Commandline")};
        return std::any_of(programs.begin(), programs.end(), [&](const QString &program) {
            return (name == QLatin1String("vcmain.pyp") &&
                    belowSoftware(target, QStringLiteral("/plugins/"), program)) ||
                   (name == QLatin1String("libmmd.dll") && belowSoftware(target, {}, program));
        });
    }
    if (soft == QLatin1String("max")) {
        const QString program = QStringLiteral("3dsmax.exe");
        return (name == QLatin1String("vandrelMenu.ms") || name == QLatin1String("o_vandrelMenu.ms")) &&
               belowSoftware(target, QStringLiteral("/scripts/Startup/"), program);
    }
    // The tree of an own plug-in folder inside the editor's program folder.
    return soft == QLatin1String("unity") &&
           belowSoftware(target, QStringLiteral("/Vandrel/"), QStringLiteral("Unity.exe"), 3);
}

bool removalAllowed(const QString &tree)
{
    return QFileInfo(tree).fileName() == QLatin1String("Vandrel") && !QFileInfo(tree).isSymLink() &&
           targetAllowed(QStringLiteral("unity"), tree + QStringLiteral("/any"));
}

bool isPort(const QString &text)
{
    bool good = false;
    const int port = text.toInt(&good);
    return good && port > 0 && port < 65536;
}

bool isAddress(const QString &text)
{
    static const QRegularExpression host(QStringLiteral("\\A[A-Za-z0-9][A-Za-z0-9.:_-]{0,252}\\z"));
    return host.match(text).hasMatch();
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(4 << 20) : QByteArray();
}
} // namespace

bool HelperModes::compatLayerMissing(const QString &executable)
{
    if (!platform::isWindows()) {
        qDebug().noquote() << "HelperModes::compatLayerMissing no compatibility layer on this system";
        return false;
    }
    QStringList keys;
    for (const std::string &name : platform::regNames(platform::Hive::CurrentUser, layersKey))
        keys.append(slashed(QString::fromStdString(name)));
    qDebug().noquote() << "HelperModes::compatLayerMissing" << keys;
    return !keys.contains(slashed(executable));
}

void HelperModes::win7(const QString &executable)
{
    if (!platform::isWindows()) {
        qDebug().noquote() << "HelperModes::win7 no compatibility layer on this system";
        return;
    }
    const QString name = QFileInfo(executable).fileName();
    for (const std::string &old : platform::regNames(platform::Hive::CurrentUser, layersKey)) {
        if (!QString::fromStdString(old).contains(name))
            continue;
        qDebug().noquote() << "deleteeeee" << QString::fromStdString(old);
        VFunc::delHKCU(QString::fromLatin1(layersKey), QString::fromStdString(old));
    }
    QString native = executable;
    native.replace(QLatin1Char('/'), QLatin1Char('\\'));
    VFunc::setHKCU(QString::fromLatin1(layersKey), native, QStringLiteral("WIN7RTM"));
    // The explorer isn't elevated, so neither is what it starts.
    VFunc::startDetached(QStringLiteral("explorer"), {native});
}

HelperModes::CopyPlan HelperModes::copyPlan(const QByteArray &list, const QString &programDir)
{
    CopyPlan plan;
    const QJsonObject object = QJsonDocument::fromJson(list).object();
    const QString soft = object[QLatin1String("soft")].toString();
    if (soft == QLatin1String("unity")) {
        const QJsonArray trees = object[QLatin1String("del")].toArray();
        for (const QJsonValue &entry : trees) {
            const QString tree = slashed(entry.toObject()[QLatin1String("dest")].toString());
            (plainPath(tree) && removalAllowed(tree) ? plan.removals : plan.refused).append(tree);
        }
    }
    const QJsonArray copies = object[QLatin1String("copy")].toArray();
    for (const QJsonValue &entry : copies) {
        const QString source = slashed(entry.toObject()[QLatin1String("src")].toString());
        const QString target = slashed(entry.toObject()[QLatin1String("dest")].toString());
        const bool good =
            plainPath(source) && plainPath(target) && inside(source, programDir) && targetAllowed(soft, target);
        if (good)
            plan.copies.append({source, target});
        else
            plan.refused.append(target);
    }
    return plan;
}

int HelperModes::copyFiles(const QString &word, const QString &programDir, const QStringList &others)
{
    QFileInfo latest(programDir + QLatin1Char('/') + word);
    for (const QString &folder : others) {
        const QFileInfo one(folder + QLatin1Char('/') + word);
        if (one.isFile() && (!latest.isFile() || one.lastModified() > latest.lastModified()))
            latest = one;
    }
    const QByteArray list = contentOf(latest.filePath());
    if (!QJsonDocument::fromJson(list).isObject()) {
        qWarning().noquote() << "HelperModes::copyFiles no list:" << word;
        return -1;
    }
    const CopyPlan plan = copyPlan(list, programDir);
    for (const QString &target : plan.refused)
        qWarning().noquote() << "HelperModes::copyFiles refused:" << target;
    for (const QString &tree : plan.removals)
        VFunc::removeDir(tree);
    int copied = 0;
    for (const auto &copy : plan.copies) {
        QFile::remove(copy.second);
        QDir().mkpath(QFileInfo(copy.second).path());
        if (QFile::copy(copy.first, copy.second))
            ++copied;
        else
            qWarning().noquote() << "HelperModes::copyFiles not copied:" << copy.first << copy.second;
    }
    return copied;
}

bool HelperModes::runReg(const QStringList &args)
{
    const QString verb = args.value(2), name = args.value(3);
    if (verb == QLatin1String("set") && args.size() >= 5)
        return VFunc::autoStartSet(name, QString(args[4]).remove(QLatin1Char('"')));
    if (verb == QLatin1String("remove") && args.size() == 4)
        return VFunc::autoStartRemove(name);
    qWarning().noquote() << "HelperModes::runReg not understood:" << args.mid(1);
    return false;
}

QString HelperModes::netshCommand(bool add, const QStringList &forward)
{
    const QString listen = forward.value(0), address = forward.value(1), port = forward.value(2);
    if (!isPort(listen) || (add && (!isAddress(address) || !isPort(port))))
        return {};
    const QString goal = add ? QStringLiteral("connectaddress=%1 connectport=%2").arg(address, port) : QString();
    return QStringLiteral("netsh interface portproxy %1 v4tov4 listenaddress=* listenport=%2 %3")
        .arg(add ? QStringLiteral("add") : QStringLiteral("delete"), listen, goal)
        .remove(QLatin1Char('"'));
}

int HelperModes::netsh(bool add, const QStringList &args, const QString &listFile)
{
    QJsonDocument list = QJsonDocument::fromJson(add ? args.value(2).toUtf8() : QByteArray());
    if (!list.isArray())
        list = QJsonDocument::fromJson(contentOf(listFile));
    int ran = 0;
    const QJsonArray forwards = list.array();
    for (const QJsonValue &entry : forwards) {
        const QJsonArray parts = entry.toArray();
        QStringList forward;
        for (const QJsonValue &part : parts)
            forward.append(part.isDouble() ? QString::number(part.toInt()) : part.toString());
        const QString command = netshCommand(add, forward);
        if (command.isEmpty() || !platform::isWindows()) {
            qWarning().noquote() << "HelperModes::netsh"
                                 << (command.isEmpty() ? "refused:" : "no such tool on this system:") << forward;
            continue;
        }
        QStringList words = command.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QProcess tool;
        tool.start(words.takeFirst(), words);
        if (tool.waitForFinished(toolWaitMs))
            ++ran;
    }
    if (!add)
        QFile::remove(listFile);
    return ran;
}
