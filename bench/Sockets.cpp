#include "Sockets.h"
#include <fcntl.h>

double bench::bareCopy(const QString &path, qint64 bytes, const QString &to)
{
    Listener listener;
    qint64 got = 0;
    QElapsedTimer clock;
    clock.start();
    std::thread receiver([&] {
        const int link = listener.take(),
                  out = to.isEmpty() ? -1 : open(qPrintable(to), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        std::vector<char> block(Block);
        for (ssize_t n; (n = read(link, block.data(), block.size())) > 0; got += n) {
            if (out >= 0 && !writeAll(out, block.data(), size_t(n)))
                break;
        }
        close(link);
        if (out >= 0)
            close(out);
    });
    const int link = dial(listener.port), file = open(qPrintable(path), O_RDONLY);
    std::vector<char> block(Block);
    for (ssize_t n; (n = read(file, block.data(), block.size())) > 0;) {
        if (!writeAll(link, block.data(), size_t(n)))
            break;
    }
    close(file);
    shutdown(link, SHUT_WR);
    receiver.join();
    close(link);
    return got == bytes ? double(bytes) / double(clock.nsecsElapsed()) * 1e3 : -1;
}
