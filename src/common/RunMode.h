#pragma once
// What the command line asks for. Pure functions of the words; args[0] is the program itself. A helper mode (all kinds
// but Normal and ResolveTest) does one job and ends without a window.
#include <QString>
#include <QStringList>

struct RunMode {
    enum Kind { Normal, Win7, CopyFiles, RunReg, NetshAdd, NetshDelete, ResolveTest };

    Kind kind = Normal;
    QString word;              // args[1] as it stands
    bool delay = false;        // sleep 3 s before anything else
    bool bare = true;          // no words at all: the compatibility layer is looked at
    bool checkInstance = true; // one instance per user
    bool skipUpdate = false;
    bool silent = false;
    QString updateWord; // run-mode word of the software updates
    QString link;       // the client was started to open it: vandrel://task/123

    bool isHelper() const { return kind != Normal && kind != ResolveTest; }

    static RunMode of(const QStringList &args);
    // The words without what came along with a link: a web page may have written all of that.
    static QStringList trusted(const QStringList &args);
    // The modes that never ask for the single instance. The other two copy modes are not among them: they wait for it.
    static QStringList toolModes();
    // args[2]; "prod" where there is none or where it is a switch of the client.
    static QString softwareUpdateWord(const QStringList &args);

    // Whether the answer of the update check names another version: four numbers, not the running one.
    static bool updateWanted(const QString &answer, const QString &running);
    // The updater's parameter; a subordinate seat's updater goes through its master.
    static QString updateParameter(const QString &version, bool slave, const QString &masterHost, int masterPort);
};
