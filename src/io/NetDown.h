#pragma once
// Fetches one file over HTTP into a target path; removes an old one first, and leaves a partial one on failure, which
// the next run removes. One use per object, on the thread that made it. Life: start() -> netDownFinish(), once.
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>

class NetDown : public QObject
{
    Q_OBJECT
public:
    NetDown(const QString &url, const QString &target, QObject *parent = nullptr);
    bool start();                    // false: the target can't be written; nothing was sent
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
    QFile m_file;
    QString m_url;
    bool m_ok = true;
};
