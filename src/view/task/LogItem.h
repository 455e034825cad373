#pragma once
// The log of a row: its button in the list and the window behind it. The window opens at once on what is in the temp
// folder, takes what has come since from the farm, and goes on while the sub-task runs and somebody looks. One window a
// log: asked for again, it comes to the front. Main thread.
#include "common/ui/kit/RecordModel.h"
#include "task/SubTask.h"

class LogView;

namespace LogItem
{
Column<SubTask> column(); // id "log"
bool possible(const SubTask &sub);
// runs: whether the sub-task still does, as far as the caller knows; asked after each fetch.
LogView *open(QWidget *over, const QString &task, const SubTask &sub, std::function<bool()> runs);
} // namespace LogItem
