#pragma once
// One analysis of one scene: drives the installed 3D software (a subclass per software says how) and turns the log that
// it leaves into state, error, errstr, rdata and rfile of the record.
//
// Made by the queue on the queue's thread, without parent; moved to a pool thread, where resolve() runs by a queued
// call; deleteLater()ed by the queue, which ends the child and all that the child started.
//
//   made -> setUp -> resolve -> [child runs] -> finishResolve -> resolveFinished, once -> deleted
//                       `------ setError -------^
#include "db/Records.h"
#include "resolve/DiskWork.h"
#include <QFile>
#include <QJsonObject>
#include <QMutex>
#include <QObject>
#include <QProcess>
#include <QTimer>

// A child process that leads a session of its own, so that its whole tree can be found and ended.
class AnalysisProcess : public QProcess
{
    Q_OBJECT
public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override;
};

struct ParsedLog;

class BaseResolve : public QObject
{
    Q_OBJECT
public:
    BaseResolve();
    ~BaseResolve() override;

    // The newest log in a folder that an earlier analysis of this scene left, under its temporary name; empty: none.
    static QString oldLog(const QString &folder, const QString &scenePath);
    // The analyser of a software type (1 Maya, 3 3ds Max, 4 Houdini, 5 Cinema 4D, 7 Clarisse, 8 Terragen); null for
    // others.
    static BaseResolve *create(int softwareType);
    // A finished log as {status, content, details}, files in content; empty when it can't be read. Any thread.
    static QJsonObject parseLog(const QString &logPath, int softwareType);

    // Once, before resolve(). softwareText: "maya2016"; empty takes it from env of rset. gpu: 1 for a GPU machine.
    // logPath: kept when it ends in ".txt", else "-<scene>_vdtemp.txt" is appended and a file of that name removed.
    void setUp(const db_resolve &record, const QString &softwareText, int softwareType, int gpu,
               const QString &logPath);
    Q_INVOKABLE virtual void resolve();
    void startTimer(int seconds); // resolveTimeOut() after that time; not above 0: never. Before or after the move
    db_resolve record() const;    // a copy; any thread
    Q_INVOKABLE void finishResolve();

    bool logOnly = false; // no process runs, an old log is read

signals:
    void resolveFinished(db_resolve res);
    void resolveTimeOut();

protected:
    void setError(int number); // ends the analysis with this error
    // Reads scenes and folders, away from this thread: a share that doesn't answer must not keep a time-out, a pause or
    // the end of the program waiting. work gives an error, 0 for none; then follows here, where there was none.
    void onDisk(const std::function<int(const StopToken &)> &work, const std::function<void()> &then);
    // Starts the child without a shell. workDir may be empty.
    void startPro(const QString &program, const QStringList &arguments, const QString &workDir = {});
    // Starts a batch file of commands (a shell file elsewhere) that was written beside the log.
    void startBatch(const QString &path);
    QString rsetText(const QString &key) const; // a text of rset
    static QString native(const QString &path); // backslashes on Windows

    QString sceneFile; // after shortcuts were followed
    QString logFile;
    QString software; // lower case, for example maya2016
    int softwareType = 0;
    int gpu = 0;
    int fastMaya = 0;

private slots:
    void started();
    void readyRead();
    void finished(int code);
    void error(QProcess::ProcessError err);
    void writeFile();
    void errorOut();
    void stdOut();

private:
    void take(const ParsedLog &log);
    void endTree();
    void finishLogName();
    void conclude();

    mutable QMutex m_mutex; // guards m_record alone
    db_resolve m_record;
    int m_err = 0;
    bool m_done = false;
    QProcess *m_process;
    qint64 m_pid = 0;
    QString m_mark; // the entry of the environment by which all that the child started is known
    QFile m_out;    // the log while the child's output goes there
    qint64 m_written = 0;
    qint64 m_noise = 0; // bytes of error output so far
    QByteArray m_tail;  // end of the last output, for a word that is cut by a read
    DiskWork m_disk{this};
};
