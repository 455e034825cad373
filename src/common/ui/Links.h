#pragma once
// The one way from a page, a notice or a server's reply to the system: only addresses of the web and of mail go there.
// Main thread.
#include <QUrl>

namespace Links
{
bool allowed(const QUrl &url); // http, https, mailto
bool open(const QUrl &url);    // false, with a line in the log: not one of them, or the system knows no program for it
} // namespace Links
