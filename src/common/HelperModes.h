#pragma once
// The one-shot jobs that the client starts itself for, elevated: copying plug-in files into a software's folder, the
// machine's auto-start value, port forwarding, the compatibility layer. They run on the main thread before anything
// else exists and end the process. What they are told lies in files and words that any program of the user could have
// written, so each does only what the client itself would ask for and logs what it refuses.
#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

class HelperModes
{
public:
    // True when nothing in the compatibility layer names the executable: a start without words then runs itself as
    // "win7" and ends. Always false on systems without that layer (logged).
    static bool compatLayerMissing(const QString &executable);
    static void win7(const QString &executable);

    // What a copy list comes to. Sources lie in the program's folder; a target is a known plug-in file inside a folder
    // that holds the software's own program.
    struct CopyPlan {
        QList<QPair<QString, QString>> copies; // source, target
        QStringList removals;                  // trees
        QStringList refused;                   // targets that the client would never ask for
    };
    static CopyPlan copyPlan(const QByteArray &list, const QString &programDir);
    // Carries out the latest list called word, in the program's folder or in one of others (where the program's own
    // can't be written); the number of files copied, -1 when there is no readable list.
    static int copyFiles(const QString &word, const QString &programDir, const QStringList &others = {});

    // args: program, "runReg", "set" name value | "remove" name.
    static bool runReg(const QStringList &args);

    // One forwarding as words of a command line; empty when a part of it isn't a port or an address.
    static QString netshCommand(bool add, const QStringList &forward);
    // args: program, word, and for "add" the list itself in place of the file. The number of commands that ran.
    static int netsh(bool add, const QStringList &args, const QString &listFile);
};
