#include "common/LogSink.h"
#include "common/Redact.h"
#include "common/UserInfo.h"
#include <cstdio>
#include <future>
#include <mutex>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <system_error>
#include <utility>

namespace
{
constexpr int longestText = 20000, keptOfLonger = 200, keptFiles = 7;

struct Sink {
    std::mutex mutex;
    QFile file;
    qint64 size = 0;
    bool full = false; // was told
    std::future<void> purging;
    std::function<void(const QString &)> view;
};

// Never destroyed: objects that end after main still log.
Sink &sink()
{
    static Sink *one = new Sink;
    return *one;
}

void keepNewest(const QString &path, const QString &written)
{
    QDir folder(path);
    QStringList logs = folder.entryList({QStringLiteral("log-*")}, QDir::Files, QDir::Name);
    logs.removeOne(written);
    while (logs.size() > keptFiles)
        folder.remove(logs.takeFirst());
}

void openFor(Sink &out, const QString &day)
{
    const QString folder = UserInfo::allUserDir();
    const QString name = QStringLiteral("log-%1.txt").arg(day), path = folder + '/' + name;
    if (folder.isEmpty() || (out.file.isOpen() && out.file.fileName() == path))
        return;
    if (out.file.isOpen()) { // on a side thread: a file may be big, and the window's thread logs too
        try {
            out.purging = std::async(std::launch::async, keepNewest, folder, name);
        } catch (const std::system_error &) {
            // no thread to be had: the next day, or start, does it
        }
    }
    out.file.close();
    out.file.setFileName(path);
    out.file.open(QIODevice::WriteOnly | QIODevice::Append);
    out.size = out.file.size();
    out.full = false;
}

void take(Sink &out, int msgType, const QByteArray &line, const QString &time)
{
    const bool plain = msgType == QtDebugMsg || msgType == QtInfoMsg;
    if (plain && out.size + line.size() > LogSink::FullBytes) {
        const QString tells = QStringLiteral("LogSink::write the log of this day is full, only warnings follow");
        if (!std::exchange(out.full, true))
            take(out, QtWarningMsg, LogSink::format(QtWarningMsg, tells, time), time);
        return;
    }
    if (out.size + line.size() > LogSink::MostBytes)
        return;
    if (out.file.write(line) > 0)
        out.size += line.size();
    out.file.flush();
}

void handler(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    LogSink::write(type, text, QDateTime::currentDateTime());
}
} // namespace

void LogSink::write(int msgType, const QString &text, const QDateTime &now)
{
    // A message that arises while one is written goes to the console only: the sink's mutex isn't recursive.
    thread_local bool writing = false;
    const QString time = now.toString(QStringLiteral("HH:mm:ss.zzz"));
    const QByteArray line = format(msgType, text, time);
    const QString plain = QString::fromUtf8(line);
    std::fprintf(stderr, "%s\n", plain.trimmed().toLocal8Bit().constData());
    std::fflush(stderr);
    if (writing)
        return;
    writing = true;
    {
        Sink &out = sink();
        std::lock_guard<std::mutex> lock(out.mutex);
        openFor(out, now.toString(QStringLiteral("yyyyMMdd")));
        if (out.file.isOpen())
            take(out, msgType, line, time);
        if (out.view)
            out.view(plain.trimmed());
    }
    writing = false;
}

QByteArray LogSink::format(int msgType, const QString &text, const QString &time)
{
    QByteArray body = text.toUtf8();
    const bool cut = body.size() > longestText;
    if (cut) {
        int keep = keptOfLonger;
        while (keep > 0 && (uchar(body[keep]) & 0xC0) == 0x80) // no half character
            --keep;
        body = body.left(keep);
    }
    body = redacted(QString::fromUtf8(body)).toUtf8();
    if (cut)
        body += "......";
    const char *prefix = msgType == QtWarningMsg    ? "Warning:"
                         : msgType == QtCriticalMsg ? "Critical:"
                         : msgType == QtFatalMsg    ? "Fatal:"
                                                    : "";
    return QByteArray(prefix) + "[" + time.toUtf8() + "]" + body + "\r\n";
}

void LogSink::purge()
{
    if (!UserInfo::allUserDir().isEmpty())
        keepNewest(UserInfo::allUserDir(), {});
}

void LogSink::install()
{
    qInstallMessageHandler(handler);
    qDebug().noquote() << "\r\n--------------------------------------"
                          "\r\n---------------New Run----------------"
                          "\r\n--------------------------------------";
}

void LogSink::uninstall()
{
    qInstallMessageHandler(nullptr);
    std::future<void> purging;
    {
        std::lock_guard<std::mutex> lock(sink().mutex);
        purging = std::move(sink().purging);
    }
    if (purging.valid())
        purging.wait();
    std::lock_guard<std::mutex> lock(sink().mutex);
    sink().file.close();
    sink().view = nullptr;
}

void LogSink::setView(std::function<void(const QString &)> view)
{
    std::lock_guard<std::mutex> lock(sink().mutex);
    sink().view = std::move(view);
}
