#pragma once
// What can be done with a task, and when: one table, a row an act. An act on several tasks is possible where it is for
// each of them. Pure functions, any thread.
#include "task/TaskRecord.h"
#include <functional>

namespace TaskAct
{
enum Act {
    Detail,
    Priority,
    RerenderFailed,
    Continue,
    Pause,
    Cancel,
    HandOver,
    ToHistory,
    FullSpeed,
    ChangeEnvironment,
    Fill,
    Fetch,
    OpenFolder,
    Clone,
    Limit,
    Remark
};

using Denied = std::function<bool(int grant)>; // whether the account lacks a right, by the server's number
bool possible(Act act, const TaskRecord &task, const Denied &denied);
bool possible(Act act, const QList<TaskRecord> &tasks, const Denied &denied); // false for none
QString text(Act act);                                                        // of menus, translated
QString name(Act act);                                                        // object name of its QAction
QString doing(Act act);        // "正在暂停…"; empty for acts that send nothing
QList<Act> menu(bool history); // in its order
constexpr int CostGrant = 18;
} // namespace TaskAct
