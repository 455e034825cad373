#include "common/LogSink.h"
#include "common/Redact.h"
#include "common/UserInfo.h"
#include <cstdio>
#include <mutex>
#include <QDebug>
#include <QDir>
#include <QFile>

namespace
{
constexpr int longestText = 20000, keptOfLonger = 200, keptFiles = 7;

struct Sink {
    std::mutex mutex;
    QFile file;
    std::function<void(const QString &)> view;
};

// Never destroyed: objects that end after main still log.
Sink &sink()
{
    static Sink *one = new Sink;
    return *one;
}

void openFor(QFile &file, const QString &day)
{
    const QString folder = UserInfo::allUserDir();
    const QString name = QStringLiteral("%1/log-%2.txt").arg(folder, day);
    if (folder.isEmpty() || (file.isOpen() && file.fileName() == name))
        return;
    file.close();
    file.setFileName(name);
    file.open(QIODevice::WriteOnly | QIODevice::Append);
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
    const QByteArray line = format(msgType, text, now.toString(QStringLiteral("HH:mm:ss.zzz")));
    const QString plain = QString::fromUtf8(line);
    std::fprintf(stderr, "%s\n", plain.trimmed().toLocal8Bit().constData());
    std::fflush(stderr);
    if (writing)
        return;
    writing = true;
    {
        Sink &out = sink();
        std::lock_guard<std::mutex> lock(out.mutex);
        openFor(out.file, now.toString(QStringLiteral("yyyyMMdd")));
        if (out.file.isOpen()) {
            out.file.write(line);
            out.file.flush();
        }
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
    if (UserInfo::allUserDir().isEmpty())
        return;
    QDir folder(UserInfo::allUserDir());
    QStringList logs = folder.entryList({QStringLiteral("log-*")}, QDir::Files, QDir::Name);
    while (logs.size() > keptFiles)
        folder.remove(logs.takeFirst());
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
    std::lock_guard<std::mutex> lock(sink().mutex);
    sink().file.close();
    sink().view = nullptr;
}

void LogSink::setView(std::function<void(const QString &)> view)
{
    std::lock_guard<std::mutex> lock(sink().mutex);
    sink().view = std::move(view);
}
