// Uploads: one big file against a bare copy over a loopback socket, an order of many small files that the server knows,
// and a scan that finds nothing. The servers here are as plain as they can be, so that the client is what is measured.
#include "Bench.h"
#include "BenchRig.h"
#include "Sockets.h"
#include "transfer/TransScan.h"
#include "transfer/up/UpHandler.h"
#include <cstdio>
#include <QFile>
#include <thread>
#include <vector>

using namespace bench;

namespace
{
// A file server that keeps nothing: says where to go on, takes the bytes, acknowledges.
void sink(const Listener &listener, qint64 bytes)
{
    const int link = listener.take();
    std::vector<char> block(Block);
    qint64 got = 0;
    char head[40];
    while (readAll(link, head, sizeof head)) {
        const quint32 phase = qFromBigEndian<quint32>(head + 4), command = qFromBigEndian<quint32>(head + 16);
        qint64 length = qFromBigEndian<qint32>(head + 36);
        if (command == 70002)
            got += length;
        while (length > 0 && readAll(link, block.data(), size_t(qMin<qint64>(length, Block))))
            length -= qMin<qint64>(length, Block);
        QByteArray reply(32, '\0');
        qToBigEndian(phase, reply.data() + 4);
        qToBigEndian(command, reply.data() + 12);
        const int code = phase == 1 ? 7000201 : phase == 2 ? 7000404 : got < bytes ? 7000000 : 7000001;
        qToBigEndian(code, reply.data() + 24);
        if (code == 7000000)
            reply += "{\"startPoint\":" + QByteArray::number(got) + "}";
        if (!writeAll(link, reply.constData(), size_t(reply.size())))
            break;
    }
    close(link);
}

// Through the whole queue: MB/s, -1 on failure.
double sendFile(const QString &path, qint64 bytes)
{
    Listener listener;
    std::thread server([&] { sink(listener, bytes); });
    double took = -1;
    {
        Storage storage(101402, listener.port);
        BenchRig rig(storage.url());
        rig.add({path});
        QElapsedTimer clock;
        clock.start();
        TransScan thread(TransScan::Up);
        thread.start();
        if (bench::waitFor([&] { return rig.left() == 0; }, 600000))
            took = double(clock.nsecsElapsed()) / 1e9;
        else
            shutdown(listener.fd, SHUT_RDWR);
    }
    server.join();
    return took > 0 ? double(bytes) / took / 1e6 : -1;
}

QStringList smallFiles(const QString &folder, int count)
{
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString dir = QStringLiteral("%1/many/%2").arg(folder).arg(i / 1000);
        if (i % 1000 == 0)
            QDir().mkpath(dir);
        paths << QStringLiteral("%1/t%2.png").arg(dir).arg(i);
        QFile file(paths.last());
        file.open(QIODevice::WriteOnly);
        file.write("small");
    }
    return paths;
}

// Files a second and processor seconds a file of this process without its server, over the watched time.
bool watchOrder(const QStringList &paths, int seconds, double *rate, double *perFile)
{
    Storage storage(101401, 1);
    BenchRig rig(storage.url());
    rig.add(paths);
    TransScan thread(TransScan::Up);
    thread.start();
    if (!bench::waitFor([&] { return storage.asked > 20; }, 10000))
        return false;
    QElapsedTimer clock;
    clock.start();
    const int before = storage.asked;
    const double used = bench::cpuSeconds() - storage.cpu;
    const int wanted = paths.size() - before;
    bench::waitFor([&] { return storage.asked - before >= wanted; }, seconds * 1000);
    const int done = storage.asked - before;
    *rate = done / (double(clock.nsecsElapsed()) / 1e9);
    *perFile = done > 0 ? (bench::cpuSeconds() - storage.cpu - used) / done : -1;
    return done > 0;
}
} // namespace

bool bench::upload(const Options &options, const QString &folder)
{
    const QString path = makeFile(folder + "/big.bin", options.bytes, false);
    if (path.isEmpty())
        return false;
    bareCopy(path, options.bytes, {}); // both read from the page cache, as far as it goes
    // The best of three of each, in turns.
    double bare = 0, ours = 0;
    for (int i = 0; i < 3; ++i) {
        bare = qMax(bare, bareCopy(path, options.bytes, {}));
        ours = qMax(ours, sendFile(path, options.bytes));
    }
    QFile::remove(path);
    if (ours <= 0 || bare <= 0)
        return false;
    line("upload", ours, "MB/s", "bare loopback copy", bare, 0.7);
    return true;
}

bool bench::order(const Options &options, const QString &folder)
{
    const QStringList paths = smallFiles(folder, options.rows);
    double rate = 0, perFile = 0, fewRate = 0, fewPerFile = 0;
    const bool good = watchOrder(paths.mid(0, 1000), options.seconds, &fewRate, &fewPerFile) &&
                      watchOrder(paths, options.seconds, &rate, &perFile);
    QDir(folder + "/many").removeRecursively();
    if (!good)
        return false;
    line(QStringLiteral("order of %1 known files").arg(options.rows), rate, "files/s", "five a tick", 100, 0.95);
    printf("%-26s %10.2f ms       %-22s %10.2f ms       ratio %.2f\n", "processor time per file", perFile * 1e3,
           "order of 1000 files", fewPerFile * 1e3, perFile / fewPerFile);
    return true;
}

// What a tick costs when there is nothing to do.
bool bench::idleTick(const Options &, const QString &)
{
    Storage storage(101401, 1);
    BenchRig rig(storage.url());
    UpHandler queue;
    constexpr int Ticks = 200000;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < Ticks; ++i)
        queue.scan();
    printf("%-26s %10.2f us\n", "upload tick, idle", double(clock.nsecsElapsed()) / 1e3 / Ticks);
    return true;
}
