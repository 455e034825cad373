#include "io/NetDown.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>

NetDown::NetDown(const QString &url, const QString &target, QObject *parent)
    : QObject(parent), m_file(target), m_url(url)
{
}

bool NetDown::start(int silenceMs)
{
    QFile::remove(m_file.fileName());
    QDir().mkpath(QFileInfo(m_file).absolutePath());
    if (!m_file.open(QIODevice::ReadWrite)) {
        qWarning().noquote() << "NetDown::start" << m_file.fileName() << m_file.errorString();
        m_ok = false;
        return false;
    }
    m_reply = m_manager.get(QNetworkRequest(QUrl(m_url)));
    connect(m_reply, &QNetworkReply::readyRead, this, &NetDown::readyRead);
    connect(m_reply, &QNetworkReply::finished, this, &NetDown::replyFinish);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &NetDown::error);
    connect(m_reply, &QNetworkReply::downloadProgress, this, &NetDown::progress);
    connect(m_reply, &QNetworkReply::downloadProgress, &m_silence, qOverload<>(&QTimer::start));
    connect(&m_silence, &QTimer::timeout, m_reply, &QNetworkReply::abort);
    m_silence.start(silenceMs);
    return true;
}

void NetDown::readyRead()
{
    const QByteArray piece = m_reply->readAll();
    if (m_file.write(piece) != piece.size() && m_ok) {
        qWarning().noquote() << "NetDown::readyRead" << m_file.fileName() << m_file.errorString();
        m_ok = false;
        m_reply->abort();
    }
}

void NetDown::replyFinish()
{
    if (m_reply->bytesAvailable() > 0)
        readyRead();
    m_ok = m_file.flush() && m_ok && m_reply->error() == QNetworkReply::NoError;
    m_file.close();
    m_silence.stop();
    m_reply->deleteLater();
    emit netDownFinish();
}

void NetDown::error(QNetworkReply::NetworkError error)
{
    qWarning().noquote() << "NetDown::error" << int(error) << m_reply->errorString() << m_url;
    m_ok = false;
}
