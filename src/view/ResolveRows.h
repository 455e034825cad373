#pragma once
// What the analysis page shows of a scene: the columns of its list and the words that explain a state. Pure; the model
// belongs to the page. Main thread.
#include "common/ui/kit/RecordModel.h"
#include "db/Records.h"

namespace ResolveRows
{
using Model = RecordModel<db_resolve>;
// Column "order": Qt::UserRole the rkey, + 1 the missionid; column "state": Qt::UserRole the state.
Model *model(QObject *parent);
QString key(qlonglong rkey);
qlonglong rkey(const QString &key);
QString sceneName(const db_resolve &res);
// Why a scene stands where it stands and what to do next; empty where the state says it all.
QString reason(const db_resolve &res);
// The colour of its state.
Tint tint(const db_resolve &res);
// What the store's signal says that the row on screen doesn't: laid over it.
void take(db_resolve *mine, const db_resolve &told);
} // namespace ResolveRows
