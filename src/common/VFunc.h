#pragma once
// Everything that touches the operating system, for Qt code: a thin skin over common/platform. Static, without state,
// any thread. Failures give an empty value or false; nothing here shows a dialog but rootPath's message.
#include <functional>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>

class QFile;

class VFunc
{
public:
    // The current user's settings hive (POSIX: an INI file under the XDG config folder).
    static QVariant regGet(const QString &key, const QString &name);
    static void regSet(const QString &key, const QString &name, const QVariant &value);
    static bool delHKCU(const QString &key, const QString &name);
    static bool setHKCU(const QString &key, const QString &name, const QString &text);

    // Elevated run, waits at most 5000 ms: 1 started, -1 the user refused or it can't be started. target: what the
    // child writes to; on POSIX it decides whether elevation is needed at all.
    static int runAs(const QString &file, const QString &params, const QString &target = {});
    // A variable of the user's environment for programs started later. False, and a log line, where there is no such
    // tool.
    static bool setUserVariable(const QString &name, const QString &value);
    static bool autoStartSet(const QString &name, const QString &command);
    static bool autoStartRemove(const QString &name);
    static QString autoStart(const QString &name); // the command, empty: not set
    // The machine's hive (64-bit view): where installed software tells its place. Empty when absent.
    static QString machineValue(const QString &key, const QString &name);
    static QStringList machineSubkeys(const QString &key);
    static bool existProcess(const QString &name);
    static bool killProcess(const QString &name);
    // Ends a child and all that it started. True when none of them is left.
    static bool killTree(qint64 pid, const QString &mark = {}); // mark: see platform::killTree
    static bool removeDir(const QString &path);
    static QJsonObject machineReport(); // body of 10310; blocks while WMI or a tool answers
    static void setScreenSize(int w, int h);

    // Bytes free for this user on the volume that holds path (or its nearest existing parent); -1 on failure.
    static qint64 freeSpace(const QString &path);
    // Opens for reading without waiting: only a regular file, never a pipe, a device or a folder (logged). buffered:
    // for who reads line by line.
    static bool openRegular(QFile *file, bool buffered = false);
    // Bytes written so far are on the medium when it returns true. fd: QFile::handle().
    static bool syncFile(int fd);
    // The names in the folder (a new file, a rename, a removal) are on the medium when it returns true.
    static bool syncFolder(const QString &path);
    // Writes the whole content under another name, syncs, renames over path: old or new, never half.
    static bool writeWhole(const QString &path, const QByteArray &content);
    static bool openFolder(const QString &path); // in the system's file manager
    // A program, by path or by name, that outlives this one. False: there is none, or it can't be started.
    static bool startDetached(const QString &program, const QStringList &words);

    // Local result folder of a task. obj: the keys of a 10805 row set or 10800 reply (clientResultRootPath,
    // resultRootPathEnum, softwareType, num, missionName or name, projectName, projectId, resultMiddleRulePath,
    // createTime or time, extraConfig). An empty text when the root doesn't exist; the window is then told (rootMsg).
    static QString rootPath(const QJsonObject &obj, bool create);
    // Who answers "output path of this project for this software" (resultRootPathEnum 1); set by the transfer layer.
    using ProjectOutput = std::function<QString(int projectId, const QString &projectName, int softwareType)>;
    static void setProjectOutput(ProjectOutput lookup);

    // Shortcuts followed as long as there is a target; rings end at the path where they close.
    static QString followLinks(const QString &path);
};
