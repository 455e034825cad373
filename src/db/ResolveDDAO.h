#pragma once
// The store of scenes that lie on the drive and are analysed by their farm: resolveD.db in the account's folder, one
// row a scene from the user's word until the user removes it. States are SceneState's and change along its acts,
// compare and set, as in ResolveDAO. Global, any thread; signals are emitted after the change, without the mutex.
//
// A result may be megabytes: rows come without their rdata, but for read().
#include "common/facts/SceneState.h"
#include "db/Records.h"
#include "db/Store.h"

class ResolveDDAO : public Store
{
    Q_OBJECT
public:
    // cloudstate: how far the farm's service is. ToStop: an older run of it is stopped first, then it is posted anew.
    // ToRemove: it is stopped there and then removed here; the user doesn't see it any more.
    enum Step { NotPosted = 0, Posted = 1, ToResume = -1, ToRemove = -2, ToStop = -3 };
    static ResolveDDAO *instance();
    bool open(const QString &userDir); // what was posted before is to be resumed
    void close();

    // A key that is taken moves up to the next free one; the records are changed accordingly. False: nothing was
    // inserted.
    bool insert(QList<db_resolve> *list);
    db_resolve read(qlonglong rkey);
    QList<db_resolve> all();     // in the order of the queue
    QList<db_resolve> readAll(); // the same; emits allFile
    QList<db_resolve> in(SceneState::Set states);
    QList<db_resolve> toRemove();
    // Of all that change a row: 1 changed, 0 it is gone or in another state, -1 the write failed and it is as it was.
    int begin(qlonglong rkey); // a row that waits is analysed, and not posted yet
    // A running row's step with its service, its times (0: as they are), and how it ended.
    int setCloud(qlonglong rkey, int cloudstate);
    int setTimes(qlonglong rkey, qlonglong rtime, qlonglong etime);
    int finish(const db_resolve &res);                          // state, error, errstr, rdata
    int tell(qlonglong rkey, int error, const QString &errstr); // a word on a running row
    int again(qlonglong rkey); // waits anew, without its result; ToStop where the service may still be at it
    // Parameters of a row that isn't committed; with commit they go on to the order with what was chosen (rset).
    int saveData(const db_resolve &res, bool commit);
    // The order's own row has come to that state.
    int follow(qlonglong rkey, int state, int error, const QString &ordernum, int missionid);
    int forget(qlonglong rkey); // ToRemove, where the service may be at it; 0: it can be removed as it is
    int remove(qlonglong rkey);

signals:
    void allFile(QList<db_resolve> list);
    void stateChanged(qint64 rkey, int state);
    void rtimeChanged(qint64 rkey, qint64 rtime, qint64 etime);
    void refreshAll();
    void resolveDeleted(qint64 rkey);
    void paraSet(db_resolve res); // its parameters are to be shown

private:
    ResolveDDAO();
    QList<db_resolve> list(const QString &rest, const QVariantList &values, bool whole = false);
    int changed(qlonglong rkey, int rows, int state); // tells it
};
