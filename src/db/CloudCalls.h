#pragma once
// What the queue of scenes on the drive (CloudQueue) offers to pages, through Seam<CloudCalls>: all run on its thread.
#include "common/Seam.h"
#include "db/Records.h"

class CloudCalls
{
public:
    virtual ~CloudCalls() = default;
    virtual void addScenes(QList<db_resolve> list) = 0; // lpath, rootpath, farmid, filetype
    virtual void reAdd(qlonglong rkey) = 0;
    virtual void removeScene(qlonglong rkey) = 0; // stopped at the service first
    virtual void changed(qlonglong rkey) = 0;     // removed or begun anew in the store
    virtual void readScenes() = 0;                // ResolveDDAO::allFile answers
    virtual void paraSet(qlonglong rkey) = 0;     // ResolveDDAO::paraSet answers
    virtual void saveData(db_resolve res) = 0;    // rdata of a row that isn't committed
    virtual void submit(db_resolve res) = 0;      // rdata and rset: it goes on to an order
    virtual void submitAgain(qlonglong rkey) = 0; // whose order the server refused
};
