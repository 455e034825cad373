#include "common/facts/Settings.h"

namespace Settings
{
namespace
{
constexpr int Port = 65535, AnyNumber = 2147483647, MaxThreads = 100, MaxSpeed = 4 * 1024 * 1024; // KiB/s
constexpr int MinutesOfDay = 24 * 60;
constexpr bool Written = true, Restart = true;
// Free for programs of this kind; known to seats and plug-ins that were installed long ago.
constexpr int DefaultPort = 46160;

Setting number(Key id, Scope scope, const char *group, const char *key, int fallback, int low, int high,
               Outside outside = Outside::Clamp, bool written = false, bool restart = false)
{
    return {id, scope, group, key, Kind::Number, fallback, low, high, {}, outside, written, restart};
}

Setting onOff(Key id, Scope scope, const char *group, const char *key, int fallback, bool written = false)
{
    return {id, scope, group, key, Kind::Switch, fallback, 0, 1, {}, Outside::Default, written, false};
}

Setting text(Key id, Scope scope, const char *group, const char *key, const QString &fallback = {},
             bool written = false, bool restart = false, Kind kind = Kind::Text)
{
    return {id, scope, group, key, kind, fallback, 0, 0, {}, Outside::Default, written, restart};
}

Setting choice(Key id, Scope scope, const char *group, const char *key, const QStringList &words, bool written,
               bool restart)
{
    return {id, scope, group, key, Kind::Choice, words.first(), 0, 0, words, Outside::Default, written, restart};
}

QList<Setting> made()
{
    constexpr Scope M = Scope::Machine, A = Scope::Account, R = Scope::Registry;
    constexpr Outside D = Outside::Default, C = Outside::Clamp;
    QList<Setting> list{
        choice(IsWan, M, "Transfer", "isWan", {"WAN", "LAN"}, Written, false),
        number(UpProxyPort, M, "Transfer", "upProxyPort", 0, 0, Port, C, Written),
        number(UpSpeed, M, "Transfer", "upSpeed", 0, 0, MaxSpeed, C, Written),
        number(DownSpeed, M, "Transfer", "downSpeed", 0, 0, MaxSpeed),
        number(OtherUpSpeed, M, "Transfer", "otherUpSpeed", 0, 0, MaxSpeed),
        number(OtherDownSpeed, M, "Transfer", "otherDownSpeed", 0, 0, MaxSpeed),
        number(OtherFrom, M, "Transfer", "otherFrom", 0, 0, MinutesOfDay),
        number(OtherTo, M, "Transfer", "otherTo", 0, 0, MinutesOfDay),
        number(MeasuredUp, M, "Transfer", "measuredUp", 0, 0, AnyNumber),
        // A queue without threads would stand still without a word: nonsense counts as the default.
        number(UpThreads, M, "Transfer", "upTh", 10, 1, MaxThreads, D, Written),
        number(DownThreads, M, "Transfer", "downTh", 10, 1, MaxThreads, D, Written),
        choice(Role, M, "Server", "role", {"", "master", "slave"}, Written, Restart),
        text(Master, M, "Server", "master", QStringLiteral("http://127.0.0.1:%1").arg(DefaultPort), Written),
        number(ClientPort, M, "Server", "clientPort", DefaultPort, 1, Port, D, Written, Restart),
        text(ApiToken, M, "Server", "apiToken"),
        number(PluginPort, M, "Server", "pluginPort", 0, 0, Port, D, false, Restart),
        text(Seat, M, "Server", "seat"),
        choice(ResolveOs, M, "Resolve", "os", {"windows", "linux"}, Written, false),
        onOff(Caps, M, "Resolve", "caps", 1, Written),
        onOff(CapsMod, M, "Resolve", "caps_mod", 0),
        number(ResolveThreads, M, "Resolve", "thread", 1, 1, 5, C, Written),
        onOff(FastMaya, M, "Resolve", "fastMaya", 0),
        onOff(Cloud, M, "Resolve", "cloud", 0),
        onOff(Customization, M, "Customzation", "TX", 1, Written),
        text(SoftwareSample, M, "SoftwarePath", "Maya2014-example",
             QStringLiteral("maya intall path, C:\\a.exe or C:/a.exe"), Written),

        text(ResultDir, A, "Set", "ResultDir", {}, false, false, Kind::Path),
        number(ResultCheck, A, "Set", "resultCheck", 0, 0, AnyNumber),
        text(ResultRule, A, "Set", "resultRule"),
        number(AutoSendResult, A, "Set", "AutoSendResult", 1, 0, AnyNumber),
        number(OutRoot, A, "Set", "outRoot", 0, 0, AnyNumber),
        text(FeeUserIds, A, "Set", "feeUserIds"),
        number(ResolveType, A, "Resolve", "type", 0, 0, AnyNumber),
        number(MayaCache, A, "Resolve", "mayaCache", 0, 0, AnyNumber),
        number(UpDSpeed, A, "SkyDriver", "upDSpeed", 0, 0, MaxSpeed),
        number(UpHash, A, "SkyDriver", "upHash", 0, 0, AnyNumber),
        text(DriveExclude, A, "SkyDriver", "exclude", QStringLiteral("Thumbs.db;.DS_Store;*~;autosave/;autoback/")),
        number(ViewFarmId, A, "SkyDriver", "viewFarmId", 0, 0, AnyNumber),
        text(LastProject, A, "EnvPre", "defaultProject"),
        text(LastMachine, A, "EnvPre", "machine"),
        text(FolderMaps, A, "EnvPre", "folderMaps"),
        text(LastEnvironment, A, "EnvPre", "defaultEnvId_%1"),
        number(RedNotice, A, "MsgCenter", "redNotice", 0, 0, AnyNumber),
        onOff(TaskNotice, A, "MsgCenter", "taskNotice", 1),
        text(LatestNotice, A, "MsgCenter", "latest"),
        text(UpdateStatus, A, "UpdateStatus", "status"),
        text(ForceUpdate, A, "versionManager", "force"),
        text(UpdateVersion, A, "versionManager", "version"),
        text(ForceVersion, A, "versionManager", "forceVersion"),

        text(ThirdPart, R, "", "ThirdPart", QStringLiteral("Vandrel"), false, Restart),
        choice(Language, R, "", "Language", {"zh_cn", "en_us", "zh_en"}, false, Restart),
    };
    Q_ASSERT(list.size() == KeyCount);
    return list;
}
} // namespace

const QList<Setting> &all()
{
    static const QList<Setting> list = made();
    return list;
}

const Setting &of(Key key) { return all().at(key); }

QString group(Key id) { return QString::fromLatin1(of(id).group); }

QString key(Key id, int number)
{
    const QString word = QString::fromLatin1(of(id).key);
    return word.contains(QLatin1String("%1")) ? word.arg(number) : word;
}

QVariant valid(Key id, const QVariant &value)
{
    const Setting &setting = of(id);
    bool good = false;
    switch (setting.kind) {
    case Kind::Number: {
        const int number = value.toInt(&good);
        if (!good || (setting.outside == Outside::Default && (number < setting.low || number > setting.high)))
            return setting.fallback;
        return qBound(setting.low, number, setting.high);
    }
    case Kind::Switch: {
        const int number = value.toInt(&good);
        return good ? QVariant(number != 0 ? 1 : 0) : setting.fallback;
    }
    case Kind::Choice:
        return setting.words.contains(value.toString()) ? value.toString() : setting.fallback;
    case Kind::Text:
    case Kind::Path:
        break;
    }
    return value.isValid() ? value : setting.fallback;
}
} // namespace Settings
