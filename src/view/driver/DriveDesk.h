#pragma once
// The browser's questions to farms, asked from a thread of its own, so that a listing of a million entries is read,
// turned into rows and sorted without the window waiting for it. Every question ends once, on the main thread, while
// its guard lives. Owned by the drive's page; the thread goes with it.
#include "common/Delivery.h"
#include "transfer/drive/DriveRest.h"
#include "view/driver/DriveOrder.h"
#include <QThread>

class DriveDesk
{
public:
    struct Answer {
        bool good = false, refused = false; // neither: lost
        QString text;                       // what to tell where it isn't good
        DriveRest::Reply reply;             // without its entries where a list was asked for
        FolderRows rows;                    // of rows() without pieces
        QVector<int> order;                 // ... and theirs
        DriveSort by;
        QVector<FileView> folders; // those among them, by name
    };
    using Then = std::function<void(const Answer &answer)>;
    struct Piece {              // more of a list that is being read
        QVector<FileView> rows; // that came since the last piece, as they came
        QVector<int> order;     // of all rows so far: their numbers as they came
        DriveSort by;
    };
    using Pieces = std::function<void(const Piece &piece)>;
    // A list that is being read. Dropped by who asked for it, the reading ends and nothing more is told.
    class Reading;
    using Held = std::shared_ptr<Reading>;

    DriveDesk();
    ~DriveDesk();
    void ask(const DriveRest &question, QObject *guard, Then then);
    // The entries as rows in this order; those without a parent get this one. With pieces each is told as it comes, and
    // the answer has no rows; what was told before the list broke off is a part of it.
    Held rows(DriveRest question, const QString &parent, const DriveSort &by, QObject *guard, Pieces pieces, Then then);
    void folders(DriveRest question, const QString &parent, QObject *guard, Then then); // among them, alone
    void resort(const Held &reading, const DriveSort &by); // the next piece is in this order
    void sort(const FolderRows &rows, const DriveSort &by, QObject *guard,
              std::function<void(const QVector<int> &order)> then);
    void run(std::function<void()> work); // on the thread

private:
    // turn: on the thread, with the answer; false: nobody waits for it any more.
    void send(DriveRest question, QObject *guard, std::function<bool(Answer *)> turn, Then then);
    QThread m_thread;
    QObject *m_there; // lives on the thread: guard of the questions
};
