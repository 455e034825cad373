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

Client::Reply Client::post(const QString &target, const QByteArray &body)
{
    QNetworkRequest request(QUrl(m_base.toString(QUrl::StripTrailingSlash) + target));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setTransferTimeout(WaitMs);
    if (!m_token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + m_token);
    m_net.setProxy(QNetworkProxy::NoProxy);
    QNetworkReply *reply = m_net.post(request, body);
    QEventLoop wait;
    QObject::connect(reply, &QNetworkReply::finished, &wait, &QEventLoop::quit);
    if (!reply->isFinished())
        wait.exec();
    Reply out;
    const QByteArray text = reply->readAll();
    const QJsonDocument doc = QJsonDocument::fromJson(text);
    out.there = doc.isObject();
    out.whole = doc.object();
    if (!out.there)
        out.trouble = reply->error() != QNetworkReply::NoError
                          ? reply->errorString()
                          : QStringLiteral("%1 is no VandrelQN client").arg(m_base.toString());
    delete reply;
    return out;
}
