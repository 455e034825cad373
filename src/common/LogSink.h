#pragma once
// The process's one log file a day, <AllUser>/log-yyyyMMdd.txt, fed by the toolkit's message functions. Lines:
// [Warning:|Critical:|Fatal:][HH:mm:ss.zzz]text CR LF, UTF-8, flushed; a text over 20000 bytes keeps its first 200 and
// "......". Secrets are taken out. Seven days are kept beside the one that is written. A day's file that has come to
// FullBytes says so and takes only warnings and worse from there on, and nothing beyond MostBytes. Any thread; the file
// is touched only under the sink's mutex.
#include <functional>
#include <QDateTime>
#include <QString>

class LogSink
{
public:
    static constexpr qint64 FullBytes = 1024LL << 20, MostBytes = 1280LL << 20;

    static void purge();     // at start: keeps the newest seven log-* files; a client that runs on does it each day
    static void install();   // qInstallMessageHandler and the banner of a new run
    static void uninstall(); // waits for a purge that runs
    // One message at a given time, as the toolkit's messages are written: a new day opens its own file.
    static void write(int msgType, const QString &text, const QDateTime &now);
    static void setView(std::function<void(const QString &)> view); // the debug view; called under the mutex
    static QByteArray format(int msgType, const QString &text, const QString &time); // one line, for tests too
};
