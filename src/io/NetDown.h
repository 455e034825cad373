#pragma once
// Fetches one file over HTTP into a target path; removes an old one first, and leaves a partial one on failure, which
// the next run removes. One use per object, on the thread that made it. Life: start() -> netDownFinish(), once.
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QTimer>

class NetDown : public QObject
{
    Q_OBJECT
public:
    static constexpr int SilenceMs = 30000;
    NetDown(const QString &url, const QString &target, QObject *parent = nullptr);
    // False: the target can't be written; nothing was sent. Without a byte for silenceMs it is given up.
    bool start(int silenceMs = SilenceMs);
    bool ok() const { return m_ok; } // after netDownFinish(): the file is whole

signals:
    void netDownFinish();
    void progress(qint64 got, qint64 size);

private slots:
    void readyRead();
    void replyFinish();
    void error(QNetworkReply::NetworkError error);

private:
    QNetworkAccessManager m_manager;
    QNetworkReply *m_reply = nullptr;
    QTimer m_silence;
    QFile m_file;
    QString m_url;
    bool m_ok = true;
};
