// Hash and compression against the tools of the system.
#include "Bench.h"
#include "transfer/TransSet.h"
#include "transfer/up/VandrelCompress.h"
#include <algorithm>
#include <cstdio>
#include <QFile>
#include <QFileInfo>

namespace
{
// The best of five of each, in turns: what the code can do, not what else the machine did at the time.
bool compare(const std::function<double()> &ours, const std::function<double()> &theirs, double *best)
{
    for (int i = 0; i < 5; ++i) {
        const double took[] = {ours(), theirs()};
        for (int side : {0, 1}) {
            if (took[side] <= 0)
                return false;
            best[side] = i == 0 ? took[side] : std::min(best[side], took[side]);
        }
    }
    return true;
}

double timed(const std::function<bool()> &work)
{
    QElapsedTimer clock;
    clock.start();
    return work() ? double(clock.nsecsElapsed()) / 1e9 : -1;
}
} // namespace

bool bench::md5(const Options &options, const QString &folder)
{
    const qint64 bytes = std::min<qint64>(options.bytes, 1073741824);
    const QString path = makeFile(folder + "/hash.bin", bytes, false);
    const std::atomic_bool stop{false};
    run("md5sum", {path}); // both read from the page cache
    double best[2];
    const bool good = compare([&] { return timed([&] { return !TransSet::fileHash(path, stop).isEmpty(); }); },
                              [&] { return run("md5sum", {path}); }, best);
    QFile::remove(path);
    if (good)
        line("md5", double(bytes) / best[0] / 1e6, "MB/s", "md5sum", double(bytes) / best[1] / 1e6, 0.9);
    return good;
}

bool bench::zip(const Options &options, const QString &folder)
{
    const qint64 bytes = std::min<qint64>(options.bytes, 134217728);
    const QString path = makeFile(folder + "/scene.max", bytes, true);
    const QString mine = folder + "/ours.zip", other = folder + "/theirs.zip";
    const std::atomic_bool stop{false};
    run("md5sum", {path});
    double best[2];
    const bool good =
        compare([&] { return timed([&] { return VandrelCompress::vandrelCompressOneFile(mine, path, stop); }); },
                [&] {
                    QFile::remove(other);
                    return run("zip", {"-6", "-q", "-j", other, path});
                },
                best);
    const qint64 ourSize = QFileInfo(mine).size(), theirSize = QFileInfo(other).size();
    for (const QString &file : {path, mine, other})
        QFile::remove(file);
    if (!good)
        return false;
    line("zip", double(bytes) / best[0] / 1e6, "MB/s", "zip -6", double(bytes) / best[1] / 1e6, 1.0);
    printf("%-26s %10lld bytes    zip -6 %24lld bytes\n", "zip, size of the copy", ourSize, theirSize);
    return true;
}
