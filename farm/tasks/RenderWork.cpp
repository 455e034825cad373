#include "tasks/RenderWork.h"
#include "ContentStore.h"
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

namespace farm
{

namespace
{
constexpr qint64 commandLimitMs = 3600000;
constexpr int vanishPercent = 30; // how far a frame gets whose node is lost

QString time() { return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")); }

// The most that a process has held at once, in MiB; 0 where the system doesn't tell.
int peakOf(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = file.readAll();
    const int at = text.indexOf("VmHWM:");
    return at < 0 ? 0 : int((text.mid(at + 6, text.indexOf(" kB", at) - at - 6).trimmed().toLongLong() + 1023) / 1024);
}
} // namespace

void RenderWork::line(const QString &text)
{
    QFile file(log);
    if (file.open(QIODevice::Append))
        file.write(QStringLiteral("[%1] %2\n").arg(time(), text).toUtf8());
}

void RenderWork::run()
{
    startedMs = QDateTime::currentMSecsSinceEpoch();
    const QString half = QFileInfo(target).path() + QStringLiteral("/.") + QFileInfo(target).fileName();
    QDir().mkpath(QFileInfo(target).path());
    QDir().mkpath(QFileInfo(log).path());
    QFile::remove(half);
    QFile::remove(log);
    for (const QString &one : qAsConst(head))
        line(one);
    fillLog();
    if (fail && waitUntil(0.5))
        error = QStringLiteral("the frame was told to fail");
    else if (!fail)
        good = how == Command ? runCommand(half)
               : how == Join  ? joinBlocks(picture, pieces, half, &error)
               : how == Mean  ? meanOf(pieces, half, &error)
                              : paint(half);
    if (good) {
        size = QFileInfo(half).size();
        hash = fileMd5(half);
        QFile::remove(target);
        good = !hash.isEmpty() && QFile::rename(half, target);
        if (!good)
            error = QStringLiteral("%1 couldn't be written").arg(target);
    }
    const double took = double(QDateTime::currentMSecsSinceEpoch() - startedMs) / 1000;
    if (stop)
        line(QStringLiteral("Info: stopped after %1 s").arg(took, 0, 'f', 1));
    else if (good)
        line(QStringLiteral("Info: saved %1, %2 bytes, %3 s, peak memory %4 MiB")
                 .arg(QFileInfo(target).fileName())
                 .arg(size)
                 .arg(took, 0, 'f', 1)
                 .arg(memoryMb));
    else if (!vanished)
        line(QStringLiteral("ERROR: %1").arg(error));
}

bool RenderWork::paint(const QString &file)
{
    memoryMb = int((qint64(picture.width) * picture.height * 4 + (1 << 20) - 1) >> 20);
    line(QStringLiteral("Info: rendering %1x%2").arg(picture.width).arg(picture.height));
    const bool painted = paintFrame(picture, file, &error,
                                    [this](int rows, int of, const QImage &image) { return told(rows, of, image); });
    return painted && waitUntil(1);
}

bool RenderWork::told(int rows, int of, const QImage &image)
{
    percent = rows * 100 / qMax(1, of);
    line(QStringLiteral("Info: %1% done, row %2 of %3").arg(int(percent)).arg(rows).arg(of));
    if (seconds > 0) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_half = image.copy();
    }
    vanished = vanish && percent >= vanishPercent;
    return !vanished && waitUntil(double(rows) / of);
}

QImage RenderWork::half() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_half;
}

bool RenderWork::waitUntil(double share)
{
    const qint64 until = startedMs + qint64(seconds * 1000 * share);
    while (!stop && QDateTime::currentMSecsSinceEpoch() < until)
        QThread::msleep(10);
    return !stop;
}

// For who reads long logs: lines like a chatty renderer's, a warning now and then.
void RenderWork::fillLog()
{
    QFile file(log);
    if (logBytes <= 0 || !file.open(QIODevice::Append))
        return;
    qint64 number = 0;
    while (file.size() < logBytes && !stop) {
        QByteArray block;
        while (block.size() < (1 << 20)) {
            ++number;
            block += "[" + time().toLatin1() + "] " + (number % 997 == 0 ? "WARNING: " : "Info: ") + "sample " +
                     QByteArray::number(number) + " of tile " + QByteArray::number(number % 64) + " refined\n";
        }
        if (file.write(block.left(int(qMin<qint64>(block.size(), logBytes - file.size())))) <= 0)
            return; // the disk is full
    }
    file.write("\n");
}

bool RenderWork::runCommand(const QString &file)
{
    QStringList words = QProcess::splitCommand(command);
    for (QString &word : words) {
        word.replace(QStringLiteral("%scene%"), sceneFile)
            .replace(QStringLiteral("%frame%"), QString::number(picture.frame))
            .replace(QStringLiteral("%camera%"), picture.camera)
            .replace(QStringLiteral("%out%"), file)
            .replace(QStringLiteral("%width%"), QString::number(picture.width))
            .replace(QStringLiteral("%height%"), QString::number(picture.height));
    }
    line(QStringLiteral("Info: %1").arg(words.join(QLatin1Char(' '))));
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(log, QIODevice::Append);
    QElapsedTimer clock;
    clock.start();
    process.start(words.value(0), words.mid(1));
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(100)) {
        memoryMb = qMax(memoryMb, peakOf(process.processId()));
        if (stop || clock.elapsed() > commandLimitMs) {
            process.kill();
            process.waitForFinished(5000);
        }
    }
    // error() isn't asked: each look at a process that still runs leaves a time-out there.
    const bool ended = process.state() == QProcess::NotRunning && process.exitStatus() == QProcess::NormalExit &&
                       process.exitCode() == 0 && QFileInfo(file).size() > 0;
    if (!ended)
        error =
            QStringLiteral("%1: %2, exit code %3").arg(words.value(0), process.errorString()).arg(process.exitCode());
    return ended;
}

} // namespace farm
