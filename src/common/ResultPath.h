#pragma once
// Where the results of a task lie on this machine. Everything that a server names (rows, project, order) passes here
// before it becomes a path, and none of it leaves the folder that it belongs to: "..", a leading slash and a drive
// letter are refused. What only Windows can't store is made safe instead, the same way on all platforms, so that a
// folder can be moved between machines and no frame is lost to its name:
//   < > : " | ? * and control characters      become "_"
//   dots and blanks at the end of a name       become "_"
//   CON, PRN, AUX, NUL, COM0-9, LPT0-9 ...     get "_" in front
//   names that end as a download's own files   get "_" behind (.xtemp, .vd)
// What starts with a dot gets "_" in front: a result never becomes a program's hidden settings.
// Pure functions but for root(), which looks at the disk; any thread.
#include <QJsonObject>
#include <QString>

class ResultPath
{
public:
    enum RootKind { Personal = 0, Project = 1, Scene = 2 };

    // One name, no separators. Never empty for a name that isn't.
    static QString safeName(const QString &name);
    // A path below a folder, with forward slashes. Empty when refused; reason then tells why, in English for the log.
    static QString safeRelative(const QString &path, QString *reason = nullptr);
    // Whether a full path can be written to: absolute, and no piece that climbs or is illegal below its root.
    static bool isSafeTarget(const QString &target);

    // Local path of a result row. Rows with isBlock, autoPush or isKeyframe: root/path; others: root/id/file name,
    // whatever folders their path names. Empty when refused, as above.
    static QString rowPath(const QString &root, const QJsonObject &row, QString *reason = nullptr);
    static bool flag(const QJsonObject &row, const QString &key); // the value 1, as a number, text or true

    // The folder below the root. values: num, missionName (or name), projectName, createTime (or time). In the rule
    // "%project%", "%submit%" and "%order%" stand for the project, the day of the order (yyyyMMdd) and its number; "/",
    // "\" and "," separate. A rule that leaves nothing gives "<num>_<name>".
    static QString ruleFolder(const QString &rule, const QJsonObject &values);
    static QString submitDay(const QJsonObject &values); // empty when no time is told

    // The folder of a task: root of its kind + ruleFolder, made when create is set. Empty when the root isn't there
    // (missing is then its path), when create is set and nobody on this machine named it (unknown is then its path, see
    // ResultRoots), or a name is refused.
    static QString root(const QJsonObject &obj, bool create, QString *missing = nullptr, QString *unknown = nullptr);
    static RootKind rootKind(const QJsonObject &obj);
    // Tells the window that a root is missing and where it's set.
    static void tellMissing(const QJsonObject &obj, const QString &missing);
    // Asks the user, in a box, whether results may go there; DownCalls::rootConfirmed is the answer.
    static void askUnknown(const QJsonObject &obj, const QString &unknown);
};
