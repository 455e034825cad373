#pragma once
// Links of the form vandrel://task/123, by which web pages and mails open the client, and how the system learns that it
// does: by its registry, or by a desktop entry of the user. Any thread but the window's: files are written.
#include <QString>

namespace LinkScheme
{
int task(const QString &link); // the task it names; 0: none, or not such a link
// What is so already stays untouched. False: it couldn't be told, logged.
bool announce(const QString &program);
QString desktopEntry(const QString &program);
} // namespace LinkScheme
