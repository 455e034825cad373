#pragma once
// The store of order uploads: qnfileUpload.db, one row a file that isn't on the farm yet; success deletes the row.
// Also the hub that feeds the transfer page: workers tell the store, the store tells the page. Singleton, any thread.
#include "db/Records.h"
#include "db/Store.h"

class UploadDAO : public Store
{
    Q_OBJECT
public:
    static UploadDAO *instance();
    bool open(const QString &userDir); // every row becomes waiting (10) but those given up (30)
    void releaseUp();

    QList<db_upfile> readPage(const QString &order, int page); // 30 rows; emits allFile, clear on page 0
    // Adds an order's rows in one transaction; a row that stands already is left. pri 0 gets a unique one. Returns the
    // count of rows of the order afterwards, once they are on the medium; -1 on failure: nothing was added, or it may
    // not outlive a power cut.
    int addOrder(const QList<db_upfile> &files);
    bool setId(const QString &order, const QString &lpath, int id);
    QList<db_upfile> nextWaiting(const QString &order, const QList<qlonglong> &running, int limit);
    bool setState(qlonglong pri, int state, int error); // error is written only with state 13 and 30
    bool remove(qlonglong pri);
    bool remove(const QList<qlonglong> &pris);
    bool removeOrder(const QString &order);
    bool wants(const QString &lpath);       // some order is to upload this file; true also where that can't be told
    bool setMeasure(const db_upfile &file); // hash, modtime, size
    bool setHash(const db_upfile &file);
    int count(const QString &order); // -1 on failure
    // Whether the rows of this order were ever stored in this file: 1 yes, so that none left means all on the farm; 0
    // no, the file is a new one and the order's rows went with the old; -1 on failure.
    int knows(const QString &order);
    int countFailed(const QString &order);   // 13 and 30
    qlonglong sumSize(const QString &order); // bytes of the order's rows, -1 on failure
    bool reUp(const QString &order);         // 10 on the rows in 11, 13, 30
    bool resetLeftBehind(const QString &order, const QList<qlonglong> &running); // 11 and 50 of a former run to 10
    QStringList orders();                                                        // that have rows
    // Progress only; no SQL.
    void tellState(qlonglong pri, int state, int error) { emit fileStateChanged(pri, state, error); }
    void tellSpeed(qlonglong pri, qlonglong upped, qlonglong size, qlonglong speed)
    {
        emit fileSpeedChanged(pri, upped, size, speed);
    }
    void tellOrderSpeed(const QString &order, qlonglong speed) { emit orderSpeedChanged(order, speed); }
    void tellRefresh() { emit refreshAll(); }
    void tellOrderCleared(const QString &order) { emit fileDeletedByOrder(order); }

signals:
    void allFile(QList<db_upfile> list, bool clear);
    void fileDeleted(QString key); // the row's pri in decimal
    void fileDeletedByOrder(QString order);
    void fileStateChanged(qlonglong pri, int state, int error);
    void fileSpeedChanged(qlonglong pri, qlonglong upped, qlonglong size, qlonglong speed);
    void orderSpeedChanged(QString order, qlonglong speed); // bytes of the last second, files that ended in it too
    void refreshAll();

private:
    UploadDAO();
    int addRows(const QList<db_upfile> &files);
    void mendPri();
    qlonglong m_lastPri = 0;
};
