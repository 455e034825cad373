#pragma once
// The browser's questions to farms, asked from a thread of its own, so that a listing of a hundred thousand entries is
// read, turned into rows and sorted without the window waiting for it. Every question ends once, on the main thread,
// while its guard lives. Owned by the drive's page; the thread goes with it.
#include "common/Delivery.h"
#include "transfer/drive/DriveRest.h"
#include "view/driver/FileView.h"
#include <QThread>

class DriveDesk
{
public:
    struct Answer {
        bool good = false, refused = false; // neither: lost
        QString text;                       // what to tell where it isn't good
        DriveRest::Reply reply;             // without its entries where rows were asked for
        QVector<FileView> rows, folders;    // of rows(); folders: those among them, by name
    };
    using Then = std::function<void(const Answer &answer)>;
    struct Order {
        int column = DriveSort::Name;
        bool down = false;
    };

    DriveDesk();
    ~DriveDesk();
    void ask(const DriveRest &question, QObject *guard, Then then);
    // The entries of the answer as rows in this order; those without a parent get this one.
    void rows(const DriveRest &question, const QString &parent, const Order &order, QObject *guard, Then then);
    void sort(const QVector<FileView> &rows, const Order &order, QObject *guard,
              std::function<void(const QVector<FileView> &)> then);
    void run(std::function<void()> work); // on the thread

private:
    void send(const DriveRest &question, QObject *guard, std::function<void(Answer *)> turn, Then then);
    QThread m_thread;
    QObject *m_there; // lives on the thread: guard of the questions
};
