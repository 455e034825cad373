#pragma once
// Compares trees of this machine with what lies on a farm's drive, file by file: both sides have it, with one size, and
// with one hash where the drive tells one (the local file is read for it). Lists what differs and puts that, on demand,
// into batches of transfers. It works on threads of its own; every function returns at once, any thread. Held by
// whoever looks at it; stop() or the last holder's leaving end it soon, in the middle of a file too.
//
// Compared is what a transfer would carry: what the settings leave out, special files, the temporary files of a fetch
// and links to folders that only this machine has count on neither side. However much differs, the first MostKept
// differences are held and the others wait in a temporary file for the mending.
#include "transfer/drive/DriveQueue.h"
#include <atomic>
#include <memory>
#include <QCoreApplication>
#include <QMutex>
#include <QTemporaryFile>

class DriveCheck : public std::enable_shared_from_this<DriveCheck>
{
    Q_DECLARE_TR_FUNCTIONS(DriveCheck)
public:
    struct Difference {
        // Kind: a file on one side, a folder on the other. Unreadable: on this machine.
        enum What { OnlyHere, OnlyThere, Size, Hash, Kind, Unreadable };
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
    enum class Mend { None, Runs, Done, Failed };
    struct Status {
        bool over = false;
        bool whole = false; // not: stopped, or a folder couldn't be listed
        QString why;
        qlonglong files = 0, folders = 0; // compared so far
        qlonglong sizeOnly = 0;           // files of them whose hash the drive doesn't tell
        qlonglong different = 0;          // of them, and what only one side has
        qlonglong toSend = 0, toFetch = 0;
        Mend mend = Mend::None;
        QList<qlonglong> batches; // that the mending made
    };
    static constexpr int MostKept = 10000;
    static constexpr int GroupRows = 5000; // of one batch of the mending

    static std::shared_ptr<DriveCheck> start(const DriveQueue::Place &place, const QList<Pair> &tops);
    ~DriveCheck();
    void stop() { *m_stop = true; }
    Status status() const;
    QList<Difference> differences(int from = 0, int most = MostKept) const; // of the first MostKept
    static QString text(Difference::What what);
    static const char *word(Difference::What what); // for programs

    // What differs goes to the drive, or comes from there over what is here. Once the comparison has come to its whole
    // end; one that is over goes at once, whole or not. What only the other side has stays as it is.
    void mend(bool toDrive);

    // For callers that come back. 0: MostRun run already.
    static constexpr int MostRun = 4, MostRemembered = 8;
    static qlonglong remember(const std::shared_ptr<DriveCheck> &check);
    static std::shared_ptr<DriveCheck> remembered(qlonglong id);

private:
    friend class DriveCheckWork;
    explicit DriveCheck(const DriveQueue::Place &place);
    // Of the comparison's thread.
    void compared(bool sizeOnly);
    bool note(const Difference &one); // false: it can't be kept for the mending
    void listed();
    void end(bool whole, const QString &why);
    // Of the mending's.
    void mendNow(bool toDrive);
    QList<Difference> group(int *at, qint64 *place) const;
    static void onThread(const char *name, std::function<void()> work);

    const DriveQueue::Place m_place;
    const std::shared_ptr<std::atomic_bool> m_stop;
    mutable QMutex m_mutex; // of what follows
    Status m_status;
    QList<Difference> m_list;
    std::unique_ptr<QTemporaryFile> m_rest; // differences beyond those
    int m_wish = -1;                        // to mend once it's over: 0 from the drive, 1 to it
};
