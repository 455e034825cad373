#pragma once
// Brings one file from the update server to this disk, going on where an earlier try was cut. Blocks, in an event loop
// of its own; bounded by silence and, since lines differ, generously by time.
#include <functional>
#include <QString>
#include <QUrl>

class Fetch
{
public:
    static constexpr qint64 MostBytes = qint64(4) * 1024 * 1024 * 1024;
    static constexpr int SilentMs = 30000, Tries = 3, WholeMs = 4 * 60 * 60 * 1000;
    // The master seat's forward to the server: asked instead of the address's own host, which stays in the request.
    void setForward(const QString &host, int port) { m_host = host, m_port = port; }
    bool file(const QUrl &from, const QString &to); // false: why(); what came so far stays beside as "<to>.part"
    QString why() const { return m_why; }
    // A ceiling below MostBytes, and who is told how far it is.
    void setMost(qint64 bytes) { m_most = bytes; }
    void setProgress(std::function<void(qint64 got, qint64 size)> told) { m_told = std::move(told); }

private:
    enum Result { Done, Again, Never };
    Result once(const QUrl &from, const QString &part);
    QString m_host, m_why;
    int m_port = 0;
    qint64 m_most = MostBytes;
    std::function<void(qint64, qint64)> m_told;
};
