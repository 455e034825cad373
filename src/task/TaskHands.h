#pragma once
// What is done with a task on this machine: its results fetched, its folder opened, its order taken as the model of a
// new one. Pages and the local API go through these. Static; threads as told.
#include "db/Records.h"
#include <QJsonObject>
#include <QStringList>

namespace TaskHands
{
// Hands the tasks to the download queue and tells how many it took; of the others fault says why not: nobody is logged
// in, or their ids are wider than what the queue and its store know tasks by. Any thread.
int download(const QStringList &ids, QString *fault);
// The same with chosen sub-tasks of one task; cover as DownCalls::subResult's.
bool downloadSubs(const QString &task, const QStringList &subs, int cover, QString *fault);
// Opens the local result folder of a task's detail in the system's file manager and returns it; empty: there is none.
// Touches the disk: not on the window's thread.
QString openFolder(const QJsonObject &detail);
// A scene's row out of a task's detail: analysed already (Clean), its parameters as they were ordered. False, with what
// to tell the user, where the task has none. Any thread.
bool clone(const QJsonObject &detail, db_resolve *row, QString *fault);
} // namespace TaskHands
