#pragma once
// The warnings of an analysis and what can follow: commit all the same, analyse again, or leave it. Main thread;
// deletes itself.
#include "common/ui/BaseWidget.h"
#include "db/Records.h"

class ResolveWarn : public BaseWidget
{
    Q_OBJECT
public:
    ResolveWarn(const db_resolve &res, QWidget *parent);

signals:
    void commit(qlonglong rkey);
    void again(qlonglong rkey);
};
