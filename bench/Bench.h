#pragma once
// The benchmarks' common ground: a temporary account, the wall clock and the processor time of this process, and the
// one form of a result line. Each benchmark is a function that prints its lines and returns false when it couldn't
// measure.
#include <functional>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace bench
{
struct Options {
    qint64 bytes = 4294967296; // of the file that is hashed, sent, fetched
    int rows = 100000;         // of the order
    int seconds = 20;          // that an order is watched
};

// "upload                     812.3 MB/s   bare 1011.0 MB/s   ratio 0.80 (aim 0.70)"
void line(const QString &what, double ours, const QString &unit, const QString &reference, double theirs, double aim);
double cpuSeconds();       // of this process, all threads
double threadCpuSeconds(); // of the calling thread
// Runs a program, its output thrown away: the wall seconds, or -1.
double run(const QString &program, const QStringList &arguments, const QString &folder = {});
// A file of pseudo-random bytes with stretches that compress, as scenes have; empty text on failure.
QString makeFile(const QString &path, qint64 bytes, bool compressible);
// Repeats until event() is true, at most so long; events run meanwhile.
bool waitFor(const std::function<bool()> &event, int ms);

bool md5(const Options &options, const QString &folder);
bool zip(const Options &options, const QString &folder);
bool upload(const Options &options, const QString &folder);
bool download(const Options &options, const QString &folder);
bool order(const Options &options, const QString &folder);
bool log(const Options &options, const QString &folder);
bool idleTick(const Options &options, const QString &folder);
} // namespace bench
