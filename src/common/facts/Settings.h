#pragma once
// Every key of the two config.ini files and of the registry store, once: where it stands, of what kind it is, its
// default and its range. UserInfo::setting() reads by it, the settings pages are made from it. Constant, any thread.
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace Settings
{
enum class Scope { Machine, Account, Registry };
enum class Kind { Number, Switch, Text, Path, Choice };
enum class Outside { Clamp, Default }; // what a number beyond its range counts as

enum Key {
    // Machine
    IsWan,
    UpProxyPort,
    UpSpeed,      // KiB/s, 0: no limit
    DownSpeed,    // the same
    OtherUpSpeed, // within the hours from OtherFrom to OtherTo (minutes of the day, over midnight too)
    OtherDownSpeed,
    OtherFrom,
    OtherTo,    // alike: no such hours
    MeasuredUp, // KiB/s that uploads reached lately, 0: none ever ran
    UpThreads,
    DownThreads,
    Role,
    Master,
    ClientPort,
    ApiToken,
    PluginPort, // 0: closed until the plug-in is installed
    Seat,       // a seat's own name, made at first need
    ResolveOs,
    Caps,
    CapsMod,
    ResolveThreads,
    FastMaya,
    Cloud,
    Customization,
    SoftwareSample,
    // Account
    ResultDir, // default worked out from the machine's drives
    ResultCheck,
    ResultRule,
    AutoSendResult,
    OutRoot,
    FeeUserIds,
    ResolveType,
    MayaCache,
    UpDSpeed, // KiB/s, 0: no limit
    UpHash,
    DriveExclude, // names that transfers of folders leave out, ";" between; a "/" behind one: folders only
    ViewFarmId,
    LastProject,
    LastMachine,
    FolderMaps,      // folders that have moved: JSON, [{"from", "to"}]
    LastEnvironment, // its key takes the software type, see key(LastEnvironment, type)
    RedNotice,
    TaskNotice, // notes of tasks that are over
    LatestNotice,
    UpdateStatus,
    ForceUpdate,
    UpdateVersion,
    ForceVersion,
    // Registry store
    ThirdPart,
    Language,
    KeyCount
};

struct Setting {
    Key id;
    Scope scope;
    const char *group, *key;
    Kind kind;
    QVariant fallback;
    int low, high;     // of a Number
    QStringList words; // of a Choice
    Outside outside;   // of a Number
    bool written;      // its default is written at the start where the key is missing
    bool restart;      // a change takes effect at the next start
};

const Setting &of(Key key);
const QList<Setting> &all();
QString group(Key key);
QString key(Key key, int number = 0); // number: for keys that take one
// What a value that was read (or typed) counts as: itself when it's in range, else the nearest or the default.
QVariant valid(Key key, const QVariant &value);
} // namespace Settings
