#pragma once
// What the analysis service of a farm says, as values. Pure functions, any thread. Fields are read at the reply's top
// and in its "data".
#include "db/Records.h"
#include "io/NetWork.h"

namespace CloudReply
{
enum class Status { Working, Idle, Unknown, Missing };
struct State {
    Status status = Status::Missing;
    QString word;
    qlonglong start = 0, end = 0; // ms since the epoch, 0: not told
};

bool refuses(const FuncBody &rep); // the service understood and says no; rep.code, rep.msg tell why
State state(const FuncBody &rep);
// How the analysis of the row ended: state, error, errstr and rdata. False: the reply tells no end (half of it, another
// kind); res is unchanged then.
bool result(const FuncBody &rep, db_resolve *res);
QString error(const FuncBody &rep);
// The service's address out of the reply of /masterInfo, with the base's own path; empty where it tells none.
QString endpoint(const FuncBody &rep, const QString &base);
} // namespace CloudReply
