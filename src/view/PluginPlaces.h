#pragma once
// Where menus of this client go inside the 3D software of this machine, how they lie there, and the copying itself. A
// menu is a few files from the program's scripts in a folder of the software or of the user. Values and free functions
// that read the disk and the registry: for any thread but the window's.
//
// A file that isn't as it was laid down was changed by hand: before it's replaced or removed it's kept beside under a
// name with the date. What was laid down is remembered in the machine's settings.
#include <QCoreApplication>
#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

struct PluginPlace {
    enum State { Missing, Installed, Damaged }; // Damaged: not all of it, or not as the program has it
    struct File {
        QString source;     // absolute; empty: content is written
        QString target;     // below folder
        QByteArray content; // of a file without a source
    };
    QString program, folder; // "3ds Max 2018"; where the files go
    QList<File> files;
    QStringList outdated; // files of earlier menus in that folder, removed with an installation
    int softwareType = 0;
    State state = Missing;
    bool writable = true;

    QString key() const { return QString::number(softwareType) + folder; }
    QString path(const File &file) const { return folder + QLatin1Char('/') + file.target; }
};

class PluginPlaces
{
    Q_DECLARE_TR_FUNCTIONS(PluginPlaces)
public:
    static constexpr int FirstYear = 2010;
    struct Machine {
        bool windows = false;
        QString appData, documents, home; // folders of the user
        QString scripts;                  // the program's
        int clientPort = 0, pluginPort = 0;
        static Machine here();
    };
    static QList<PluginPlace> find(const Machine &machine);
    static QStringList allMaxPath();                 // folders "scripts/Startup" of the installed 3ds Max, oldest first
    static QString maxScript(const QString &folder); // "/o_vandrelMenu.ms" for 2010 to 2012, else "/vandrelMenu.ms"

    static PluginPlace::State stateOf(const PluginPlace &place);
    // Empty: done. Else why not, for the user; what could be done is done.
    static QString install(const PluginPlace &place, const QDate &today = QDate::currentDate());
    static QString remove(const PluginPlace &place, const QDate &today = QDate::currentDate());
};
