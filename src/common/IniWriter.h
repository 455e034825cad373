#pragma once
// Writes settings on a thread of its own, in the order they came: a changed setting must reach the medium before the
// file takes its name, and the window's thread can't wait for that. What waits for the same file goes in one write. A
// reader of a file asks flush() first; the application's end does too. Any thread.
#include <QString>
#include <QVariant>

class IniWriter
{
public:
    static void write(const QString &file, const QString &key, const QVariant &value); // key: "group/key"
    static void flush(); // returns when all that was asked for before is on the medium (or told as not written)
};
