// One big result against a bare copy over a loopback socket that writes to the same disk. The client also preallocates,
// keeps the position beside the data and checks the hash.
#include "Bench.h"
#include "BenchRig.h"
#include "db/DownloadDAO.h"
#include "Sockets.h"
#include "transfer/TransScan.h"
#include "transfer/TransSet.h"
#include <fcntl.h>
#include <QFile>

using namespace bench;

namespace
{
// Answers one ask with the whole file.
void stream(const Listener &listener, const QString &path)
{
    const int link = listener.take(), file = open(qPrintable(path), O_RDONLY);
    char head[40];
    if (readAll(link, head, sizeof head)) {
        std::vector<char> block(Block);
        readAll(link, block.data(), size_t(qFromBigEndian<qint32>(head + 36)));
        QByteArray reply(32, '\0');
        qToBigEndian(qFromBigEndian<qint32>(head + 16), reply.data() + 12);
        qToBigEndian<qint32>(7010003, reply.data() + 24);
        writeAll(link, reply.constData(), size_t(reply.size()));
        for (ssize_t n; (n = read(file, block.data(), block.size())) > 0;) {
            if (!writeAll(link, block.data(), size_t(n)))
                break;
        }
        shutdown(link, SHUT_WR);
        readAll(link, block.data(), 1); // until the client has gone
    }
    close(file);
    close(link);
}

// Through the whole queue: MB/s, -1 on failure.
double fetchFile(const QString &path, qint64 bytes, const QString &hash, const QString &target)
{
    Listener listener;
    std::thread server([&] { stream(listener, path); });
    double took = -1;
    {
        Storage storage(101402, listener.port);
        BenchRig rig(storage.url());
        DownloadDAO::instance()->open(rig.folder.path());
        rig.business.answer(10800, 1080000,
                            QJsonObject{{"size", bytes},
                                        {"hash", hash},
                                        {"path", "got.bin"},
                                        {"farmId", 3},
                                        {"downloadPath", "/got.bin"},
                                        {"ipWan", "127.0.0.1"},
                                        {"portWan", listener.port}});
        db_downmiss mission;
        mission.ordernum = BenchRig::number();
        mission.missid = BenchRig::Task;
        mission.lpath = QFileInfo(target).path();
        mission.sum = 1;
        mission.pri = DownloadDAO::instance()->newMissionPri();
        db_downfile file;
        file.id = 1;
        file.ordernum = mission.ordernum;
        file.missid = mission.missid;
        file.lpath = target;
        file.size = bytes;
        file.missPri = mission.pri;
        DownloadDAO::instance()->addMission(mission, {file});
        QElapsedTimer clock;
        clock.start();
        TransScan thread(TransScan::Down);
        thread.start();
        if (waitFor([&] { return QFile::exists(target); }, 600000))
            took = double(clock.nsecsElapsed()) / 1e9;
        else
            shutdown(listener.fd, SHUT_RDWR);
    }
    server.join();
    DownloadDAO::instance()->releaseDown();
    QFile::remove(target);
    return took > 0 ? double(bytes) / took / 1e6 : -1;
}
} // namespace

bool bench::download(const Options &options, const QString &folder)
{
    const QString path = makeFile(folder + "/result.bin", options.bytes, false), target = folder + "/got.bin";
    const std::atomic_bool stop{false};
    const QString hash = TransSet::fileHash(path, stop);
    if (hash.isEmpty())
        return false;
    // The best of two of each, in turns: the disk is what varies.
    double bare = 0, ours = 0;
    for (int i = 0; i < 2; ++i) {
        bare = qMax(bare, bareCopy(path, options.bytes, target));
        QFile::remove(target);
        ours = qMax(ours, fetchFile(path, options.bytes, hash, target));
    }
    QFile::remove(path);
    if (ours <= 0 || bare <= 0)
        return false;
    line("download", ours, "MB/s", "bare copy to disk", bare, 0.7);
    return true;
}
