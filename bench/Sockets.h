#pragma once
// Plain blocking sockets on loopback, for the references and the servers of the benchmarks.
#include "Bench.h"
#include <arpa/inet.h>
#include <atomic>
#include <netinet/tcp.h>
#include <QString>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace bench
{
constexpr size_t Block = 1048576;

struct Listener {
    int fd = -1, port = 0;
    Listener()
    {
        fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof at;
        bind(fd, reinterpret_cast<sockaddr *>(&at), size);
        listen(fd, 64);
        getsockname(fd, reinterpret_cast<sockaddr *>(&at), &size);
        port = ntohs(at.sin_port);
    }
    ~Listener() { close(fd); }
    int take() const
    {
        const int link = accept(fd, nullptr, nullptr);
        const int on = 1;
        setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        return link;
    }
};

inline bool readAll(int fd, char *to, size_t size)
{
    while (size > 0) {
        const ssize_t got = read(fd, to, size);
        if (got <= 0)
            return false;
        to += got;
        size -= size_t(got);
    }
    return true;
}

inline bool writeAll(int fd, const char *from, size_t size)
{
    while (size > 0) {
        const ssize_t put = write(fd, from, size);
        if (put <= 0)
            return false;
        from += put;
        size -= size_t(put);
    }
    return true;
}

inline int dial(int port)
{
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(uint16_t(port));
    const int link = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(link, reinterpret_cast<sockaddr *>(&to), sizeof to) == 0)
        return link;
    close(link);
    return -1;
}

// The plainest sender and receiver there are, through a socket: MB/s, -1 on failure. to: where the receiver writes the
// bytes; empty: nowhere.
double bareCopy(const QString &path, qint64 bytes, const QString &to);
// A storage service on a thread of its own: one code for every file, one token for every farm. Knows what it used of
// the processor and how often it was asked.
class Storage
{
public:
    Storage(int code, int filePort) : m_code(code), m_filePort(filePort)
    {
        m_thread = std::thread([this] { serve(); });
    }
    ~Storage()
    {
        m_stop = true;
        shutdown(m_listener.fd, SHUT_RDWR);
        m_thread.join();
    }
    QString url() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_listener.port); }
    std::atomic<double> cpu{0};
    std::atomic_int asked{0};

private:
    void serve()
    {
        std::vector<std::thread> links;
        while (!m_stop) {
            const int link = m_listener.take();
            if (link < 0)
                break;
            links.emplace_back([this, link] { talk(link); });
        }
        for (std::thread &one : links)
            one.join();
    }
    void talk(int link)
    {
        timeval patience{0, 200000};
        setsockopt(link, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        QByteArray data;
        char block[16384];
        double before = 0;
        while (!m_stop) {
            const ssize_t got = read(link, block, sizeof block);
            if (got == 0)
                break;
            data.append(block, int(qMax<ssize_t>(0, got)));
            for (int end; (end = data.indexOf("\r\n\r\n")) >= 0; data.remove(0, end + 4)) {
                QByteArray body = R"({"result":1,"data":{"token":"00112233-4455-6677-8899-aabbccddeeff"}})";
                if (data.startsWith("GET")) {
                    ++asked;
                    body = QByteArray("{\"code\":") + QByteArray::number(m_code) +
                           ",\"data\":{\"hostWan\":\"127.0.0.1\",\"portWan\":" + QByteArray::number(m_filePort) + "}}";
                }
                const QByteArray reply =
                    "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
                writeAll(link, reply.constData(), size_t(reply.size()));
            }
            const double now = bench::threadCpuSeconds();
            cpu = cpu + (now - before);
            before = now;
        }
        close(link);
    }
    Listener m_listener;
    int m_code, m_filePort;
    std::atomic_bool m_stop{false};
    std::thread m_thread;
};
} // namespace bench
