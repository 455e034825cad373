#pragma once
// What some scenes would send if they were committed now: files, bytes, what is missing, what the farm has already.
// First the disk is looked at, then the farm is asked file by file, the largest first, by the upload's own question but
// for no order, so that nothing is booked. It changes nothing but by find(), and nobody waits for it: a commit goes its
// own way at any time.
//
// Made anywhere; after start() it lives on a thread of ThreadPool, and its functions may be called from any thread.
// deleteLater() ends it, also while a disk or the farm doesn't answer. Figures come by signal, at most each TellMs.
#include "resolve/DiskWork.h"
#include "resolve/PreflightFiles.h"
#include <QElapsedTimer>
#include <QMetaType>
#include <QObject>
#include <QTimer>

struct PreflightFolder {
    QString folder;
    int files = 0;
    QStringList examples; // names of some
    bool findable = true; // false: a scene itself
};

struct PreflightFigures {
    int scenes = 0, gone = 0, files = 0, missing = 0, found = 0, copies = 0;
    qint64 bytes = 0, copyBytes = 0;
    int asked = 0, here = 0; // files that the farm was asked about, and has
    qint64 hereBytes = 0;
    qint64 perSecond = 0; // bytes that uploads reached lately, within the set limit; 0: none ever ran
    QString resultFolder;
    qint64 freeBytes = -1;
    QList<PreflightFolder> folders; // with missing files, those with most first
    bool cut = false;               // there are more files than were looked at
    bool measured = false;          // the disk was looked at; before that files tells how far
    bool over = false;              // nothing more will come by itself
    QString trouble;                // why it's over before all is known, or what it waits for
    bool again = false;             // askAgain() may help

    qint64 toSend() const { return bytes - hereBytes; } // at most
    qint64 seconds() const { return perSecond > 0 ? toSend() / perSecond : -1; }
};
Q_DECLARE_METATYPE(PreflightFigures)

class Preflight : public QObject
{
    Q_OBJECT
public:
    static constexpr int AnswerMs = 10000, DiskMs = 10000, TellMs = 200;
    static constexpr int Parallel = 6; // questions at a time
    static constexpr int Hopeless = 3; // so many in a row without a use end the asking
    static constexpr int MostFolders = 1000, Examples = 20;

    explicit Preflight(const QList<qlonglong> &rkeys, int answerMs = AnswerMs);
    void start();
    void askAgain();                 // what the farm hasn't answered
    void find(const FolderMap &map); // looks for missing files there; where some are found the map is remembered

signals:
    void changed(PreflightFigures figures);
    void looked(int found, int left); // the answer to find: left are still missing below the map's folder

private:
    enum class Known : char { No, Asked, Answered };
    struct Server {
        QString url;
        bool asked = false;
    };
    void measure();
    void measured(const PreflightFiles &files);
    void folders();
    void take(const QHash<QString, PreflightFiles::File> &found, const FolderMap &map);
    void pump();
    bool ask(int number);
    void answered(int number, int code);
    void unanswered(int number);
    void halt(const QString &why, bool again);
    void tell();

    const QList<qlonglong> m_rkeys;
    const int m_answerMs;
    PreflightFiles m_files;
    PreflightFigures m_figures;
    QVector<Known> m_known; // of each file
    QHash<int, Server> m_servers;
    int m_next = 0, m_open = 0, m_bad = 0;
    bool m_halted = false;
    QTimer m_telling, m_disk;
    DiskWork m_work;
};
