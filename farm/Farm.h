#pragma once
// The server side of the render farm on loopback: business server, REST with the login page, file server and renderer,
// in one object. Everything it is told lives in one folder and survives a restart, also a killed one: what was
// acknowledged is there. It shares no code with the client, so that a mistake of one side can't agree with the other.
//
// Thread: the servers run on a thread of their own, so a caller may block or run nested loops. Every function may be
// called from the thread that made the object; queries wait for the farm's thread and give copies. Signals arrive
// queued. Life: made -> start() true: listening -> stop() or destruction: all sockets closed, the folder left as it is.
#include "FarmFaults.h"
#include <functional>
#include <memory>
#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QStringList>
#include <QThread>

namespace farm
{
class Core;
}

struct FarmOptions {
    QString dir;                                   // state folder, made if missing
    QString address = QStringLiteral("127.0.0.1"); // where all three servers listen; loopback addresses only
    QString told; // where clients are told that web and file server are; empty: there. For a relay in between
    int businessPort = 29909; // 0: any free one
    int httpPort = 46180;
    int filePort = 0;
    QString user = QStringLiteral("demo");
    QString password = QStringLiteral("demo");
    QString secondUser = QStringLiteral("demo2"); // the sub-account, with the same password
    bool autoLogin = false;                       // the login page logs in by itself
    bool autoSubmit = false; // autoSubmit and ignoreWarn of the account's settings are 1 while it hasn't saved its own
    double framesPerSecond = 4; // of the whole farm; 0: as fast as it can
    int renderThreads = 2;
    double frameSeconds = 0;  // a frame takes at least that long, its log grows meanwhile
    double confirmHours = 24; // a task that waits after its priority frames is cancelled then
    bool filled = false;      // an empty folder gets tasks in every state, for who wants to look at something
    int maxWidth = 1920;      // wider frames are scaled down to this
    QMap<int, QString>
        renderCommands;      // software type -> command line with %scene% %frame% %camera% %out% %width% %height%
    bool slurm = false;      // frames are jobs of a Slurm cluster, which sees dir under the same path
    QString slurmProgram;    // localfarm as the nodes find it
    QString slurmOptions;    // further words for sbatch
    QString slurmAccounting; // the file of jobcomp/filetxt; empty: where the cluster says
    QString objectStore;     // address of the bucket that orders are uploaded to; empty: the file server takes them
    QString version = QStringLiteral("5.2.6.0"); // what /getUpdateVersion.htm answers
    QString feedDir; // update packages and their lists, served below /packages/ and /feed/; empty: none
    int farms = 1;   // drives of as many farms; of three or more the last isn't usable
    qint64 driveBytes = qint64(100) << 30; // room of each farm's drive
    int analysisStepMs = 400;              // of a scene on the drive, from one state to the next
    QStringList faults;                    // NAME=VALUE, set before the first connection
};

struct FarmPorts {
    int business = 0, http = 0, file = 0;
};

// A task as the farm sees it. stage, status, result, subtype are the numbers of the task list.
struct FarmOrder {
    int missionId = 0;
    QString num, name;
    qint64 clientFlag = 0;
    int stage = 0, status = 0, result = 0, subtype = 0;
    bool ordered = false;  // 10400 was accepted
    bool uploaded = false; // 10704 was accepted
    int orders = 0;        // how often 10400 came
    int files = 0, filesHere = 0;
    int frames = 0, framesDone = 0, framesFailed = 0;
    int analysisType = 0; // last type of 10422
    QJsonObject body;     // the order message without its files
    QJsonArray fileList;  // its files
};

struct FarmResult {
    qint64 id = 0;
    int missionId = 0, frame = 0;
    QString path; // as the row tells it, "camera/name.0001.png"
    QString file; // where it lies on the farm
    qint64 size = 0;
    QString hash; // MD5 of the file
    bool keyFrame = false, pushed = false, confirmed = false, downloaded = false;
    bool block = false; // a piece of a frame
};

struct FarmCounters {
    qint64 bytesUp = 0, bytesDown = 0; // file bodies on the file server's sockets
    int instantHits = 0, instantMisses = 0;
    int filesReceived = 0; // commits that ended well
    int links = 0, logins = 0, packages = 0;
    int fileLinks = 0, fileLinksOpen = 0, requests = 0, pushes = 0, logUploads = 0;
};

class Farm : public QObject
{
    Q_OBJECT
public:
    explicit Farm(QObject *parent = nullptr);
    ~Farm() override;

    // False when a port or the folder can't be had: error() tells which.
    bool start(const FarmOptions &options);
    void stop();
    bool running() const { return m_core != nullptr; }
    QString error() const { return m_error; }
    FarmPorts ports() const { return m_ports; }
    FarmFaults &faults() { return m_faults; }

    QList<FarmOrder> orders() const;
    FarmOrder order(int missionId) const; // missionId 0 where there is none
    QList<FarmResult> results(int missionId) const;
    QMap<QString, QString> storedFiles() const; // key of the upload -> MD5 of the content that the farm holds
    QStringList taskFiles(int missionId, bool here) const; // keys of the order's files that are, or aren't, on the farm
    FarmCounters counters() const;
    QStringList violations() const;       // what the other side did against the protocol, oldest first; kept
    QMap<int, int> commandCounts() const; // how often each command came
    QJsonObject config() const;           // the account's common settings
    QJsonArray projects() const;
    QJsonObject projectConfig(int projectId, int softwareType) const;
    // The drive of a farm, tree 1 of files, 2 of results: path -> MD5, a folder's path ends with a slash and has none.
    QMap<QString, QString> driveFiles(int farmId = 1, int tree = 1) const;
    qint64 driveUsed(int farmId = 1) const;
    // Files of made-up bytes: folders (0: none) times files of them below the path.
    bool fillDrive(const QString &path, int folders, int files, qint64 size);
    // Puts a file there, with its folders and its disk.
    bool putDriveFile(int farmId, const QString &path, const QByteArray &bytes);
    // Requests of the analysis service: "started", "resumed", "stopped", "asked".
    QMap<QString, int> analysisCounts() const;
    // Makes files of made-up bytes below the path: folders times files of that size.
    bool fillDrive(int farmId, const QString &path, int folders, int files, qint64 size);
    QStringList events() const; // one line a step: "login", "10400 12", "upload D/a.tgd", ...

    void kick(int reason);                                // push 10001 to every link
    void push(int cmd, int val, const QJsonObject &body); // any push, to every link that has logged in
    void dropLinks();                                     // cuts every socket of all three servers
    void setBalance(double balance);
    void rotateTokens(); // access and transfer tokens given so far are no longer good
    void addNotice(const QString &content);
    void fillTasks(); // invented tasks in every state
    // As another client of the account does it.
    void addProjects(const QStringList &names);
    void removeProject(int id);

signals:
    void loggedIn();
    void orderChanged(int missionId);   // any step of a task
    void uploadFinished(int missionId); // 10704
    void taskFinished(int missionId);
    void resultsConfirmed(int missionId); // 10413 of the client
    void downloaded(qint64 resultId);     // 10802
    void violated(QString text);

private:
    template <typename R> R ask(const std::function<R(farm::Core &)> &question) const;
    void tell(const std::function<void(farm::Core &)> &order) const;

    void blocking(const std::function<void()> &work) const; // on the farm's thread, waited for

    FarmFaults m_faults;
    FarmPorts m_ports;
    QString m_error;
    QThread *m_thread = nullptr;
    farm::Core *m_core = nullptr;
};
