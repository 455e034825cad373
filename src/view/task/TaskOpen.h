#pragma once
// The way to a task from anywhere in the client or, through a link, from outside of it. Main thread.
class QString;
class Shell;

namespace TaskOpen
{
// Brings the page of tasks forward and opens the task's detail; what the server says where there is none. False, and
// nothing happens: the id is no id.
bool open(Shell *shell, const QString &id);
} // namespace TaskOpen
