// Folders, INI files and the settings read from them. The account's facts are in UserAccount.cpp.
#include "common/UserInfo.h"
#include "common/IniWriter.h"
#include "common/platform/Platform.h"
#include "common/platform/SafeFile.h"
#include "common/UserState.h"
#include "common/VFunc.h"
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

namespace
{
const QString configName = QStringLiteral("config.ini");

QString appData()
{
    if (!platform::isWindows())
        return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString told =
        VFunc::regGet(QStringLiteral("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"),
                      QStringLiteral("AppData"))
            .toString();
    return told.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                          : QDir::fromNativeSeparators(told);
}

// An unquoted "," in a file edited by hand makes a list of the text: it is joined again.
QVariant readIni(const QString &file, const QString &group, const QString &key)
{
    IniWriter::flush();
    const QSettings ini(file, QSettings::IniFormat);
    QVariant value = ini.value(group + QLatin1Char('/') + key);
    return value.type() == QVariant::StringList ? QVariant(value.toStringList().join(QStringLiteral(", "))) : value;
}

// QSettings replaces the file as a whole, through a second file beside it.
bool writeIni(const QString &file, const QString &group, const QString &key, const QVariant &value)
{
    IniWriter::flush(); // what was asked for earlier comes first
    QSettings ini(file, QSettings::IniFormat);
    ini.setValue(group + QLatin1Char('/') + key, value);
    ini.sync();
    if (ini.status() != QSettings::NoError)
        qWarning().noquote() << "UserInfo::writeIni not written:" << file << group << key;
    return ini.status() == QSettings::NoError;
}

QString configFile(UserState::Ini UserState::*which)
{
    const UserState &state = UserState::get();
    const QString &folder = which == &UserState::machine ? state.allUserDir : state.userDir;
    return folder.isEmpty() ? QString() : folder + QLatin1Char('/') + configName;
}

QVariant cachedValue(UserState::Ini UserState::*which, const QString &group, const QString &key)
{
    UserState &state = UserState::get();
    const QString full = group + QLatin1Char('/') + key;
    QString file;
    quint64 generation = 0;
    {
        ReadLock lock(state.mutex);
        const UserState::Ini &ini = state.*which;
        const auto known = ini.values.constFind(full);
        if (known != ini.values.constEnd())
            return *known;
        file = configFile(which);
        generation = ini.generation;
    }
    if (file.isEmpty())
        return {};
    const QVariant value = readIni(file, group, key);
    WriteLock lock(state.mutex);
    if ((state.*which).generation == generation)
        (state.*which).values.insert(full, value);
    return value;
}

void storeValue(UserState::Ini UserState::*which, const QString &group, const QString &key, const QVariant &value)
{
    UserState &state = UserState::get();
    const QString full = group + QLatin1Char('/') + key;
    WriteLock lock(state.mutex);
    const QString file = configFile(which);
    if (file.isEmpty()) {
        lock.unlock();
        qWarning().noquote() << "UserInfo::storeValue no folder yet for" << full;
        return;
    }
    (state.*which).values.insert(full, value);
    ++(state.*which).generation;
    IniWriter::write(file, full, value); // under the lock: file and memory see changes in the same order
}

QVariant orElse(const QVariant &value, const QVariant &fallback) { return value.isValid() ? value : fallback; }

// All in one write: every one of them costs a trip to the medium.
void addDefaults(const QString &file)
{
    IniWriter::flush();
    QSettings ini(file, QSettings::IniFormat);
    const auto full = [](const Settings::Setting &setting) {
        return QStringLiteral("%1/%2").arg(QLatin1String(setting.group), QLatin1String(setting.key));
    };
    if (!ini.contains(full(Settings::of(Settings::CapsMod)))) { // once: what an old version wrote there was wrong
        ini.setValue(full(Settings::of(Settings::Caps)), 1);
        ini.setValue(full(Settings::of(Settings::CapsMod)), 1);
    }
    for (const Settings::Setting &setting : Settings::all())
        if (setting.scope == Settings::Scope::Machine && setting.written && !ini.contains(full(setting)))
            ini.setValue(full(setting), setting.fallback);
    ini.sync();
    if (ini.status() != QSettings::NoError)
        qWarning().noquote() << "UserInfo::addDefaults defaults not written:" << file;
}

int number(Settings::Key key) { return UserInfo::setting(key).toInt(); }
QString word(Settings::Key key) { return UserInfo::setting(key).toString(); }

QString defaultResultDir()
{
    if (!platform::isWindows())
        return QDir::homePath() + QStringLiteral("/ResultQN");
    QString drive = QStringLiteral("C:");
    const QFileInfoList drives = QDir::drives();
    if (!drives.isEmpty())
        drive = drives.first().absoluteFilePath().left(2);
    for (const QFileInfo &one : drives) {
        if (one.absoluteFilePath().startsWith(QLatin1String("E:"), Qt::CaseInsensitive))
            drive = QStringLiteral("E:");
    }
    return drive + QStringLiteral("/ResultQN");
}

// Logs, settings and stores tell of passwords and projects; an earlier version left them open to everyone here.
void hide(const QString &folder)
{
    platform::makePrivate(folder.toStdString(), true);
    for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files | QDir::Hidden | QDir::NoSymLinks))
        platform::makePrivate(file.absoluteFilePath().toStdString(), false, false); // a lock may be gone by now
}

template <class Member> Member locked(Member UserState::*member)
{
    UserState &state = UserState::get();
    ReadLock lock(state.mutex);
    return state.*member;
}
} // namespace

UserState &UserState::get()
{
    static UserState *one = new UserState; // threads may still read while the process ends
    return *one;
}

void UserInfo::init(const QStringList &args)
{
    QString base = appData() + QLatin1Char('/') + thirdGroup();
    if (args.contains(QStringLiteral("slaveAlone")))
        base += QStringLiteral("/slave");
    const QString allUser = base + QStringLiteral("/AllUser"), temp = allUser + QStringLiteral("/temp");
    QDir().mkpath(base);
    QDir().mkpath(allUser);
    hide(base);
    hide(allUser);
    {
        UserState &state = UserState::get();
        WriteLock lock(state.mutex);
        state.arguments = args;
        state.baseDir = base;
        state.allUserDir = allUser;
        state.tempDir = temp;
        state.registryPath = QStringLiteral("Software\\Brontel\\%1\\Settings").arg(thirdGroup());
    }
    VFunc::removeDir(temp);
    QDir().mkpath(temp);
    addDefaults(allUser + QLatin1Char('/') + configName);
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.machine.values.clear();
    ++state.machine.generation;
    state.language.clear();
    state.brand.clear();
}

QStringList UserInfo::arguments() { return locked(&UserState::arguments); }
bool UserInfo::hasArgument(const QString &word) { return arguments().contains(word); }
QString UserInfo::baseDir() { return locked(&UserState::baseDir); }
QString UserInfo::allUserDir() { return locked(&UserState::allUserDir); }
QString UserInfo::userDir() { return locked(&UserState::userDir); }
QString UserInfo::tempDir() { return locked(&UserState::tempDir); }

QStringList UserInfo::accountDirs()
{
    QStringList dirs;
    const QString base = appData() + QLatin1Char('/') + thirdGroup();
    for (const QString &root : {base, base + QStringLiteral("/slave")}) {
        for (const QString &name : QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            bool account = false;
            name.toUInt(&account);
            if (account)
                dirs.append(root + QLatin1Char('/') + name);
        }
    }
    return dirs;
}

QString UserInfo::dumpDir()
{
    QString folder = allUserDir() + QStringLiteral("/dmp");
    QDir().mkpath(folder);
    return folder;
}

QString UserInfo::registryPath()
{
    const QString path = locked(&UserState::registryPath);
    return path.isEmpty() ? QStringLiteral("Software\\Brontel\\%1\\Settings").arg(thirdGroup()) : path;
}

QString UserInfo::programDir()
{
    const QString set = locked(&UserState::programDir);
    return set.isEmpty() ? QCoreApplication::applicationDirPath() : set;
}

void UserInfo::setProgramDir(const QString &dir)
{
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.programDir = dir;
}

void UserInfo::setUserValue(const QString &group, const QString &key, const QVariant &value)
{
    storeValue(&UserState::user, group, key, value);
}
QVariant UserInfo::userValue(const QString &group, const QString &key, const QVariant &fallback)
{
    return orElse(cachedValue(&UserState::user, group, key), fallback);
}
bool UserInfo::hasUserValue(const QString &group, const QString &key)
{
    return cachedValue(&UserState::user, group, key).isValid();
}
void UserInfo::setAllValue(const QString &group, const QString &key, const QVariant &value)
{
    storeValue(&UserState::machine, group, key, value);
}
QVariant UserInfo::allValue(const QString &group, const QString &key, const QVariant &fallback)
{
    return orElse(cachedValue(&UserState::machine, group, key), fallback);
}
bool UserInfo::hasAllValue(const QString &group, const QString &key)
{
    return cachedValue(&UserState::machine, group, key).isValid();
}
QVariant UserInfo::serviceValue(const QString &group, const QString &key, const QVariant &fallback)
{
    return iniValue(programDir(), QStringLiteral("service.ini"), group, key, fallback);
}

namespace
{
QString iniPath(const QString &dir, const QString &name)
{
    QString path = dir + QLatin1Char('/') + name;
    return path.replace(QLatin1Char('\\'), QLatin1Char('/')).replace(QLatin1String("//"), QLatin1String("/"));
}
} // namespace

QVariant UserInfo::iniValue(const QString &dir, const QString &name, const QString &group, const QString &key,
                            const QVariant &fallback)
{
    return orElse(readIni(iniPath(dir, name), group, key), fallback);
}

bool UserInfo::setIniValue(const QString &dir, const QString &name, const QString &group, const QString &key,
                           const QVariant &value)
{
    return writeIni(iniPath(dir, name), group, key, value);
}

QVariant UserInfo::setting(Settings::Key key)
{
    const Settings::Setting &setting = Settings::of(key);
    const bool machine = setting.scope == Settings::Scope::Machine;
    return Settings::valid(
        key, cachedValue(machine ? &UserState::machine : &UserState::user, Settings::group(key), Settings::key(key)));
}

void UserInfo::setSetting(Settings::Key key, const QVariant &value)
{
    const Settings::Setting &setting = Settings::of(key);
    const bool machine = setting.scope == Settings::Scope::Machine;
    storeValue(machine ? &UserState::machine : &UserState::user, Settings::group(key), Settings::key(key),
               Settings::valid(key, value));
}

bool UserInfo::isWan() { return word(Settings::IsWan) != QLatin1String("LAN"); }
QString UserInfo::lanWan() { return isWan() ? QStringLiteral("Wan") : QStringLiteral("Lan"); }
int UserInfo::upProxyPort() { return number(Settings::UpProxyPort); }
int UserInfo::upSpeed() { return number(Settings::UpSpeed); }
void UserInfo::setUpSpeed(int kib) { setSetting(Settings::UpSpeed, kib); }
int UserInfo::downSpeed() { return number(Settings::DownSpeed); }
void UserInfo::setDownSpeed(int kib) { setSetting(Settings::DownSpeed, kib); }
int UserInfo::upTh() { return number(Settings::UpThreads); }
int UserInfo::downTh() { return number(Settings::DownThreads); }

QString UserInfo::role() { return word(Settings::Role); }
bool UserInfo::isSlave() { return role() == QLatin1String("slave"); }
bool UserInfo::isMaster() { return role() == QLatin1String("master"); }
QString UserInfo::master() { return word(Settings::Master); }

QString UserInfo::masterHost()
{
    const QString host = master().remove(QStringLiteral("http://")).section(QLatin1Char(':'), 0, 0);
    return host.isEmpty() ? QStringLiteral("127.0.0.1") : host;
}

int UserInfo::clientPort() { return number(Settings::ClientPort); }
QString UserInfo::apiToken() { return word(Settings::ApiToken); }
QString UserInfo::resolveOs() { return word(Settings::ResolveOs); }
bool UserInfo::caps() { return number(Settings::Caps) != 0; }
int UserInfo::resolveThread() { return number(Settings::ResolveThreads); }
void UserInfo::setResolveThread(int count) { setSetting(Settings::ResolveThreads, count); }
bool UserInfo::fastMaya() { return number(Settings::FastMaya) != 0; }
bool UserInfo::cloud() { return number(Settings::Cloud) != 0; }

QString UserInfo::softwarePath(const QString &software)
{
    const QString group = QStringLiteral("SoftwarePath");
    const QString folder = allUserDir();
    if (folder.isEmpty())
        return {};
    IniWriter::flush();
    QSettings ini(folder + QLatin1Char('/') + configName, QSettings::IniFormat);
    ini.beginGroup(group);
    for (const QString &key : ini.childKeys()) {
        if (key.compare(software, Qt::CaseInsensitive) == 0)
            return QDir::fromNativeSeparators(allValue(group, key).toString().remove(QLatin1Char('"')).trimmed());
    }
    return {};
}

QString UserInfo::pathCase(const QString &path, bool force)
{
    const bool lower = (force && resolveOs() != QLatin1String("linux")) || !caps();
    return lower ? path.toLower() : path;
}

QString UserInfo::resultDir()
{
    QString set = word(Settings::ResultDir);
    if (!set.isEmpty())
        return set;
    QString dir = defaultResultDir();
    if (!userDir().isEmpty())
        setResultDir(dir);
    return dir;
}

void UserInfo::setResultDir(const QString &dir) { setSetting(Settings::ResultDir, QDir::fromNativeSeparators(dir)); }

int UserInfo::autoSendResult()
{
    const Settings::Key key = Settings::AutoSendResult;
    if (!userDir().isEmpty() && !hasUserValue(Settings::group(key), Settings::key(key)))
        setSetting(key, Settings::of(key).fallback);
    return number(key);
}

int UserInfo::resultCheck() { return number(Settings::ResultCheck); }
QString UserInfo::resultRule() { return word(Settings::ResultRule); }
int UserInfo::outRoot() { return number(Settings::OutRoot); }
int UserInfo::resolveType() { return number(Settings::ResolveType); }
int UserInfo::mayaCache() { return number(Settings::MayaCache); }
int UserInfo::upDSpeed() { return number(Settings::UpDSpeed); }
int UserInfo::upHash() { return number(Settings::UpHash); }
int UserInfo::viewFarmId() { return number(Settings::ViewFarmId); }
