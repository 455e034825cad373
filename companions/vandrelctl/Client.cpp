#include "Client.h"
#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSettings>
#include <QStandardPaths>

QString Client::dataFolder()
{
#ifdef Q_OS_WIN
    const QString told = qEnvironmentVariable("APPDATA");
    if (!told.isEmpty())
        return told + QStringLiteral("/VandrelQN");
#endif
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/VandrelQN");
}

QUrl Client::localUrl()
{
    const QSettings config(dataFolder() + QStringLiteral("/AllUser/config.ini"), QSettings::IniFormat);
    QUrl url(QStringLiteral("http://127.0.0.1"));
    url.setPort(config.value(QStringLiteral("Server/clientPort"), 46160).toInt());
    return url;
}

QNetworkReply *Client::send(const QString &target, const QByteArray &body, int waitMs)
{
    QNetworkRequest request(QUrl(m_base.toString(QUrl::StripTrailingSlash) + target));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setTransferTimeout(waitMs);
    if (!m_token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + m_token);
    m_net.setProxy(QNetworkProxy::NoProxy);
    return m_net.post(request, body);
}

Client::Reply Client::read(QNetworkReply *reply, const QByteArray &text) const
{
    Reply out;
    const QJsonDocument doc = QJsonDocument::fromJson(text);
    out.there = doc.isObject();
    out.whole = doc.object();
    if (!out.there)
        out.trouble = reply->error() != QNetworkReply::NoError
                          ? reply->errorString()
                          : QStringLiteral("%1 is no VandrelQN client").arg(m_base.toString());
    return out;
}

Client::Reply Client::post(const QString &target, const QByteArray &body)
{
    QNetworkReply *reply = send(target, body, WaitMs);
    QEventLoop wait;
    QObject::connect(reply, &QNetworkReply::finished, &wait, &QEventLoop::quit);
    if (!reply->isFinished())
        wait.exec();
    const Reply out = read(reply, reply->readAll());
    delete reply;
    return out;
}

Client::Reply Client::stream(const QString &target, const std::function<bool(const QByteArray &)> &take)
{
    QNetworkReply *reply = send(target, {}, 0);
    reply->setReadBufferSize(1 << 20);
    QEventLoop wait;
    QByteArray text;
    bool streams = false;
    const auto arrived = [&] {
        streams = reply->rawHeader("Content-Type").startsWith("text/plain");
        const QByteArray piece = reply->readAll();
        if (!streams)
            text += piece;
        else if (!piece.isEmpty() && !take(piece))
            wait.quit();
    };
    QObject::connect(reply, &QNetworkReply::readyRead, &wait, arrived);
    QObject::connect(reply, &QNetworkReply::finished, &wait, &QEventLoop::quit);
    if (!reply->isFinished())
        wait.exec();
    arrived();
    Reply out = read(reply, text);
    if (streams) {
        out.there = reply->error() == QNetworkReply::NoError || !reply->isFinished();
        out.whole = {{"result", 1}};
    }
    delete reply;
    return out;
}
