#pragma once
// The process's one log file a day, <AllUser>/log-yyyyMMdd.txt, fed by the toolkit's message functions. Lines:
// [Warning:|Critical:|Fatal:][HH:mm:ss.zzz]text CR LF, UTF-8, flushed; a text over 20000 bytes keeps its first 200 and
// "......". Secrets are taken out. Seven days are kept. Any thread; the file is touched only under the sink's mutex.
#include <functional>
#include <QDateTime>
#include <QString>

class LogSink
{
public:
    static void purge();   // at start: keeps the newest seven log-* files
    static void install(); // qInstallMessageHandler and the banner of a new run
    static void uninstall();
    // One message at a given time, as the toolkit's messages are written: a new day opens its own file.
    static void write(int msgType, const QString &text, const QDateTime &now);
    static void setView(std::function<void(const QString &)> view); // the debug view; called under the mutex
    static QByteArray format(int msgType, const QString &text, const QString &time); // one line, for tests too
};
