#pragma once
// The warnings of an analysis and what can follow: commit all the same (alone or
// with its whole drop), change the parameters, analyse again, or leave it. Main thread;
// deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "db/Records.h"

class ResolveWarn : public DialogFrame
{
    Q_OBJECT
public:
    ResolveWarn(const db_resolve &res, QWidget *parent);

signals:
    void commit(qlonglong rkey);
    void batch(qlonglong rkey); // and all others of its drop, warnings or not
    void parameters(qlonglong rkey);
    void again(qlonglong rkey);
};
