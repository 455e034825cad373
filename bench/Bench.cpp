#include "Bench.h"
#include <cstdio>
#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <sys/resource.h>

namespace
{
double seconds(const rusage &use)
{
    return double(use.ru_utime.tv_sec + use.ru_stime.tv_sec) +
           double(use.ru_utime.tv_usec + use.ru_stime.tv_usec) / 1e6;
}
} // namespace

void bench::line(const QString &what, double ours, const QString &unit, const QString &reference, double theirs,
                 double aim)
{
    printf("%-26s %10.2f %-8s %-22s %10.2f %-8s ratio %.2f (aim %.2f)\n", qPrintable(what), ours, qPrintable(unit),
           qPrintable(reference), theirs, qPrintable(unit), theirs > 0 ? ours / theirs : 0, aim);
    fflush(stdout);
}

double bench::cpuSeconds()
{
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    return seconds(use);
}

double bench::threadCpuSeconds()
{
    rusage use{};
    getrusage(RUSAGE_THREAD, &use);
    return seconds(use);
}

double bench::run(const QString &program, const QStringList &arguments, const QString &folder)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setWorkingDirectory(folder);
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0) {
        printf("%s can't be run\n", qPrintable(program));
        return -1;
    }
    return double(clock.nsecsElapsed()) / 1e9;
}

QString bench::makeFile(const QString &path, qint64 bytes, bool compressible)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return {};
    QByteArray block(1048576, '\0');
    quint64 state = 0x9E3779B97F4A7C15ull;
    for (qint64 done = 0; done < bytes; done += block.size()) {
        for (int i = 0; i < block.size(); i += 8) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            // Vertices of a mesh: neighbouring numbers share their upper bytes.
            quint64 word = compressible ? (quint64(done + i) << 20) | (state & 0xffff) : state;
            memcpy(block.data() + i, &word, 8);
        }
        const qint64 part = qMin<qint64>(block.size(), bytes - done);
        if (file.write(block.constData(), part) != part)
            return {};
    }
    return path;
}

bool bench::waitFor(const std::function<bool()> &event, int ms)
{
    QElapsedTimer clock;
    clock.start();
    while (!event()) {
        if (clock.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
        QThread::usleep(100);
    }
    return true;
}
