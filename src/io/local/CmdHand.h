#pragma once
// One request to the local command API: finds the route, does what it says, answers once with one JSON text, and
// deletes itself. Made on any thread, runs on a thread of the pool. The same object serves requests from within the
// client: the analysis page makes one, connects the signals and calls start(words, "/localClient").
//
// Reply: {"code": result code of the business server, or 0 / 1 of the client's own; "msg": a text for people;
// "data": what was asked for, or absent; "result": 1 good, 0 failed}.
#include "db/DriveRecords.h"
#include "io/local/CmdLine.h"
#include "task/TaskRequest.h"
#include <functional>
#include <memory>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QTimer>

class DriveCheck;

class CmdHand : public QObject
{
    Q_OBJECT
public:
    static constexpr int WaitMs = 10000; // for a reply of the business server

    struct Caller {
        QString address;   // in one form for one machine
        bool known = true; // of this machine, or it has the token
    };

    explicit CmdHand(int waitMs = WaitMs);
    static void initCmh();                                  // writes the table of routes to the log
    static QByteArray noSuchRoute();                        // the answer to what isn't served
    static QByteArray tooMuch();                            // ... to a body for which there's no room now
    void setBody(const QByteArray &body) { m_body = body; } // before start(); a "-post=" in the words wins
    // Of a request from the socket; without it the client itself asks.
    void setCaller(const Caller &caller) { m_caller = caller; }
    // Moves this object to a pool thread and runs there. From the socket: the HTTP method and the target. From within:
    // the words ("/model /analysis -post=[...]") and "/localClient".
    void start(const QString &method, const QString &cmd);
    Q_INVOKABLE void initCmdHand(QString method, QString cmd);

    // Of a route that streams: the last piece has gone out, the next may come; nobody wants any more. What a request
    // does to tasks is done to its end all the same.
    void pieceTaken();
    void callerGone();

signals:
    void cmdOver(QByteArray body); // the answer, UTF-8; once
    // In place of an answer: a body in pieces, each after the last was taken (pieceTaken); then streamOver, once.
    void streamBegins(QByteArray contentType);
    void streamPiece(QByteArray piece);
    void streamOver(bool whole);
    // A plain list of scenes came in: the page asks for environment, project and machine. err, not empty: why not.
    void backEnvPre(int type, QStringList fileL, QString err);

private:
    using Reply = std::function<void(int val, const QJsonDocument &doc)>;
    struct Answer {
        int val = 0;
        QJsonDocument doc;
    };

    void cmdHand(bool getOnly);
    void refuseStranger();       // another machine without the token, on what isn't only read
    const QJsonDocument &sent(); // the body, read once; its bytes are gone afterwards
    void forwardTo(const QString &host, int port);
    void tellPorts();

private slots: // the routes: called by the name that ApiTable gives
    void openApi();
    void account();
    void projectList();
    void envList();
    void machineList();
    void modelList();
    void modelAnalysis();
    void modelPara();
    void modelParaSet();
    void modelPreflight();
    void modelCommit();
    void modelCheckSlave();
    void modelResolveData();
    void jobList();
    void jobOpenDir();
    void jobDetail();
    void jobDownload();
    void masterInfo();
    // Operations on tasks and their frames.
    void jobPause();
    void jobKeepRender();
    void jobCancel();
    void jobRerender();
    void jobFill();
    void jobLimit();
    void jobRemark();
    void jobHistory();
    void jobHandover();
    void subjobList();
    void subjobCancel();
    void subjobRerender();
    void subjobStatus();
    void subjobLog();
    void subjobDownload();
    void subjobPreview();
    // Files on their way.
    void transferList();
    void transferPause();
    void transferContinue();
    // Files of the drive.
    void driveList();
    void drivePut();
    void driveGet();
    void driveStatus();
    void driveCheck();
    // Scenes on the drive, analysed there.
    void driveResolve();
    void driveResolveList();
    void driveResolveParameter();
    void driveResolveSubmit();
    void driveResolveAgain();
    void driveResolveStop();

private:
    // Asks the business server; no answer in time, or no session, ends the request with a text.
    void ask(int cmd, const QByteArray &body, Reply reply);
    void ask(int cmd, const QJsonObject &body, Reply reply);
    void forward(int cmd, const QByteArray &body); // ... and answers with what comes back
    // The tasks that mid=, mids=, i= and is= name; ends the request where there are none.
    void withTasks(std::function<void(QStringList ids)> next);
    void findOrders(QStringList orders, QStringList ids, std::function<void(QStringList ids)> next);
    // Looks through the server's lists for orders, page by page, those of live tasks first.
    void searchOrders(QStringList orders, QStringList ids, bool history, int page,
                      std::function<void(QStringList ids)> next);
    // One command per body; answers come in their order. val: the first failure stands for all.
    void askEach(int cmd, const QList<QJsonObject> &bodies,
                 std::function<void(int val, const QVector<Answer> &answers)> next);
    // Sends what the pages would send for the tasks; of one command each the answers come with the task's number.
    using Requests = std::function<QList<TaskRequest>(const QStringList &ids)>;
    void actOnJobs(Requests requests);
    void actOnList(std::function<TaskRequest(const QStringList &ids)> request); // one for all of them
    void sendEach(const QList<TaskRequest> &requests);
    // The details of the tasks, each there; a failure ends the request.
    void withDetails(std::function<void(const QStringList &ids, const QVector<Answer> &answers)> next);
    void withSubJobs(std::function<void(const QString &mission, const QList<qlonglong> &ids)> next);
    // Streams a file that may still grow; more() is asked for further bytes, endStream() says there are none.
    void streamFile(const QString &path, const QByteArray &contentType, bool removed);
    void fileGrown();
    void endStream(bool whole);
    void followLog(const QString &mission, qlonglong sub, bool follow);
    void lookAtSubJob(const QString &mission, qlonglong sub, int page, std::function<void(bool runs)> next);
    void moveTransfers(bool on);
    // The entry of the drive that farm=, tree= and path= name; ends the request where there is none.
    void answerWhenWritten(int which, std::function<qlonglong()> begin);
    void withDrive(bool make, std::function<void(const SubFile &entry)> next);
    void findScenes(int farm, QStringList paths, const std::function<void()> &next); // each is there
    QList<qlonglong> cloudKeys();                                                    // rkey= and rkeys=
    void followCheck(const std::shared_ptr<DriveCheck> &check, qlonglong id);

    static QByteArray reply(int code, const QString &msg, const QJsonValue &data, bool good, const QJsonObject &more,
                            bool readable);
    void over(int code, const QString &msg, const QJsonValue &data, bool good, const QJsonObject &more = {});
    void good(const QString &msg, const QJsonValue &data = QJsonValue::Undefined, const QJsonObject &more = {});
    void fail(const QString &msg, const QJsonValue &data = QJsonValue::Undefined);
    static bool isGood(int cmd, int val);
    static QString textOf(int val);

    QByteArray m_body;
    CmdLine m_line;
    QJsonDocument m_sent;
    Caller m_caller;
    int m_waitMs;
    bool m_over = false, m_only = false; // only: it does nothing but answer its caller
    struct Streaming {
        QFile file;
        bool asked = true; // a piece may go
        bool ending = false, removed = false;
        ~Streaming();
    };
    std::unique_ptr<Streaming> m_stream;
};
