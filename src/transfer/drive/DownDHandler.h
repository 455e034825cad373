#pragma once
// The queue of drive downloads, on the TransScan thread of type 3: a DownHttp per file. Before a row is started its
// place on this disk is decided and written, so that a kill never takes a file of its own for a foreign one:
//
//   nothing there        -> fetched
//   there, SkipSame      -> compared by size and hash; the same: over, else fetched over it
//   there, Overwrite     -> fetched over it
//   there, KeepBoth      -> fetched as "name (2).ext"
//   there, NotAsked      -> of one size without a hash, or the same by its hash: over; else asked once for the batch;
//                           such files wait, the others go on
#include "transfer/drive/DriveHandler.h"

class DownDHandler : public DriveHandler, public DownDCalls
{
    Q_OBJECT
public:
    DownDHandler();
    ~DownDHandler() override;
    void cfarm(db_upfarmD farm, QList<SubFile> sfL) override; // lpath: the folder of this machine
    void reFarm(qlonglong farmPri) override;
    void setConflict(qlonglong farmPri, int conflict) override;
    void readFile() override; // open questions are asked again

public slots:
    void workFinished(db_downfile file, int isDel);

protected:
    bool needsTicket() const override { return false; }
    TransWork *makeWork(bool retry, int backError) override;
    int limit() const override;
    void prepare(const db_upfarmD &farm, Batch *batch, QList<db_upfile> *rows) override;
    bool launch(const db_upfarmD &farm, const db_upfile &file, const QString &key) override;
    void dropped(const db_upfarmD &farm, const QList<db_upfile> &files) override;
    bool settled(const QList<db_upfile> &files) override;

private:
    void ask(qlonglong farmPri, Batch *batch, const db_upfile &row);
    void met(const db_upfarmD &farm, db_upfile file);
    QHash<qlonglong, QString> m_questions; // batch -> the first file that exists
};
