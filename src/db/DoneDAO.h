#pragma once
// What is over: the last orders whose upload ended and the last missions that were fetched, for the page 已完成.
// finished.db in the account's folder, beside the stores of what is under way. Singleton, any thread; pages ask through
// Seam<ResolveCalls> (readDone, removeDone) and listen to the signals, so that no window waits for the file.
#include "db/Store.h"
#include <QList>
#include <QMetaType>

struct db_done {
    enum Kind { Any = -1, Order = 0, Mission = 1 };
    qlonglong id = 0;
    int kind = Order;
    QString ordernum;
    int missid = 0;      // for "重新下载"
    QString name;        // the scene's file, the task
    QString folder;      // for "打开目录": the scene's, the results'
    qlonglong ended = 0; // ms since the epoch
    int ok = 0, sum = 0; // files
    qlonglong size = 0;  // bytes, 0: not known
};
Q_DECLARE_METATYPE(db_done)
Q_DECLARE_METATYPE(QList<db_done>)

class DoneDAO : public Store
{
    Q_OBJECT
public:
    static constexpr int Keep = 1000; // of both kinds together, the latest
    static DoneDAO *instance();
    bool open(const QString &userDir);
    void close();

    // One that ended again (the same kind, order and task) takes the place of its earlier row. Emits changed.
    bool add(const db_done &done);
    // The latest first. search: a piece of name or order number; kind: Any, Order, Mission. Emits page.
    QList<db_done> readPage(int kind, const QString &search, int page, int pageSize);
    bool remove(const QList<qlonglong> &ids); // the rows, never files; emits changed

signals:
    void page(QList<db_done> list, int pageSum);
    void changed();

private:
    DoneDAO();
};
