#pragma once
// A GET whose answer is read while it arrives, by libcurl on the asking thread (which needs an event loop). That
// thread's connections stay open for what it asks next; no other thread touches the bytes. Proxy and trusted
// certificates are as with the program's other requests, and a redirect is an answer like any other. There is no
// deadline: who waits too long deletes it, which breaks the question off, at any time but from within head().
//
//   made -> readyRead (bytes() has grown)... -> finished, once
//
// Signals come from the event loop, never from a call to this object. What isn't taken stays at the other end, but for
// Window bytes.
#include <QByteArray>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>

class WebRead : public QObject
{
    Q_OBJECT
public:
    explicit WebRead(const QNetworkRequest &request, QObject *parent = nullptr);
    ~WebRead() override;

    int status() const; // of HTTP; 0: no answer yet
    QByteArray head(const char *name) const;
    const QByteArray &bytes() const { return m_bytes; } // that arrived and weren't taken
    void take(QByteArray *to);                          // all of them; what `to` held before is thrown away
    bool isFinished() const { return m_finished; }
    // Once it has finished: why no whole answer came, or what a status from 400 on means.
    QNetworkReply::NetworkError error() const { return m_error; }
    QString errorString() const { return m_errorString; }

    static constexpr int Window = 1048576;

signals:
    void readyRead();
    void finished();

private:
    friend class WebLink;
    void end(int result);

    void *m_easy = nullptr;    // the question
    void *m_headers = nullptr; // its own lines
    QByteArray m_bytes;
    bool m_paused = false, m_finished = false, m_grown = false;
    QNetworkReply::NetworkError m_error = QNetworkReply::NoError;
    QString m_errorString;
};
