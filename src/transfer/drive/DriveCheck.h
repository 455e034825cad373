#pragma once
// Compares trees of this machine with what lies on a farm's drive, file by file: both sides have it, with one size, and
// with one hash where the drive tells one (the local file is read for it). Lists what differs and puts that, on demand,
// into a batch of transfers. Works on a thread of its own; made and used on one thread, to which the signals come.
// stop() or destruction end it soon, in the middle of a file too.
#include "transfer/drive/DriveQueue.h"
#include <atomic>
#include <memory>
#include <QObject>
#include <QThread>

class DriveCheck : public QObject
{
    Q_OBJECT
public:
    struct Difference {
        enum What { OnlyHere, OnlyThere, Size, Hash, Unreadable };
        What what = OnlyHere;
        QString lpath, dpath; // the file's, or that of a folder which only one side has
        SubFile entry;        // of the drive; id empty where it's only here
    };
    // A file or folder of this machine and its counterpart on the drive.
    struct Pair {
        QString lpath, dpath;
        SubFile entry;
        QStringList chain = {}; // ids of the folders that it lies in
    };
    static constexpr int MostKept = 10000; // differences; more are counted only

    explicit DriveCheck(const DriveQueue::Place &place, QObject *parent = nullptr); // farm and tree
    ~DriveCheck() override;
    void start(const QList<Pair> &tops); // once
    void stop();

    qlonglong files() const { return m_files; }         // compared so far
    qlonglong different() const { return m_different; } // of them, and what only one side has
    QList<Difference> differences() const { return m_list; }
    static QString text(Difference::What what);

    // What differs goes to the drive, or comes from there over what is here. The handle of the batch; 0: nothing to do.
    qlonglong mend(bool toDrive) const;

signals:
    void progress(qlonglong files, qlonglong different);
    void finished(bool whole, QString why); // not whole: stopped, or a folder that couldn't be listed

private:
    const DriveQueue::Place m_place;
    std::shared_ptr<std::atomic_bool> m_stop;
    QThread m_thread;
    qlonglong m_files = 0, m_different = 0;
    QList<Difference> m_list;
};
Q_DECLARE_METATYPE(QList<DriveCheck::Difference>)
