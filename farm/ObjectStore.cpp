#include "ObjectStore.h"
#include "Core.h"
#include <memory>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QMessageAuthenticationCode>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QUrlQuery>

namespace farm
{

namespace
{
QByteArray hmac(const QByteArray &key, const QByteArray &text)
{
    return QMessageAuthenticationCode::hash(text, key, QCryptographicHash::Sha256);
}

QByteArray encoded(const QString &text) { return QUrl::toPercentEncoding(text, "/"); }
} // namespace

ObjectStore::ObjectStore(Core &core) : m_core(core)
{
    m_net.setProxy(QNetworkProxy::NoProxy);
    m_net.setTransferTimeout(AnswerMs);
}

bool ObjectStore::open(const QString &url, QString *error)
{
    const QUrl given(url);
    const QStringList pieces = given.path().split(QLatin1Char('/'), Qt::SkipEmptyParts);
    m_keys = {qgetenv("AWS_ACCESS_KEY_ID"), qgetenv("AWS_SECRET_ACCESS_KEY"), qgetenv("AWS_SESSION_TOKEN")};
    const bool web = given.scheme() == QLatin1String("http") || given.scheme() == QLatin1String("https");
    if (!given.isValid() || !web || given.host().isEmpty() || pieces.isEmpty()) {
        *error = QStringLiteral("not the address of a bucket, as in http://127.0.0.1:4568/farm");
        return false;
    }
    if (!given.userInfo().isEmpty()) {
        *error =
            QStringLiteral("keys don't belong into the address of the object store; it takes AWS_ACCESS_KEY_ID and "
                           "AWS_SECRET_ACCESS_KEY from the environment");
        return false;
    }
    if (m_keys.access.isEmpty() || m_keys.secret.isEmpty()) {
        *error =
            QStringLiteral("the object store needs AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY in the environment");
        return false;
    }
    m_endpoint = QUrl();
    m_endpoint.setScheme(given.scheme());
    m_endpoint.setHost(given.host());
    m_endpoint.setPort(given.port());
    m_bucket = pieces.first();
    m_prefix = pieces.size() > 1 ? pieces.mid(1).join(QLatin1Char('/')) + QLatin1Char('/') : QString();
    m_region = QUrlQuery(given).queryItemValue(QStringLiteral("region"));
    if (m_region.isEmpty())
        m_region = QStringLiteral("us-east-1");
    return true;
}

QJsonObject ObjectStore::description() const
{
    if (!used())
        return {};
    return {{"type", "s3"},
            {"endpoint", m_endpoint.authority()},
            {"bucket", m_bucket},
            {"region", m_region},
            {"accessKey", QString::fromLatin1(m_keys.access)},
            {"secretKey", QString::fromLatin1(m_keys.secret)},
            {"sessionToken", QString::fromLatin1(m_keys.session)},
            {"prefix", m_prefix},
            {"secure", m_endpoint.scheme() == QLatin1String("https")}};
}

QByteArray ObjectStore::sign(const QByteArray &verb, const QByteArray &host, const QByteArray &path,
                             const QByteArray &time, const QByteArray &region, const Keys &keys)
{
    const QByteArray payload = "UNSIGNED-PAYLOAD";
    QByteArray heads = "host:" + host + "\nx-amz-content-sha256:" + payload + "\nx-amz-date:" + time + '\n';
    QByteArray names = "host;x-amz-content-sha256;x-amz-date";
    if (!keys.session.isEmpty()) {
        heads += "x-amz-security-token:" + keys.session + '\n';
        names += ";x-amz-security-token";
    }
    const QByteArray request = verb + '\n' + path + "\n\n" + heads + '\n' + names + '\n' + payload;
    const QByteArray scope = time.left(8) + '/' + region + "/s3/aws4_request";
    const QByteArray text = "AWS4-HMAC-SHA256\n" + time + '\n' + scope + '\n' +
                            QCryptographicHash::hash(request, QCryptographicHash::Sha256).toHex();
    const QByteArray key = hmac(hmac(hmac(hmac("AWS4" + keys.secret, time.left(8)), region), "s3"), "aws4_request");
    return "AWS4-HMAC-SHA256 Credential=" + keys.access + '/' + scope + ",SignedHeaders=" + names +
           ",Signature=" + hmac(key, text).toHex();
}

QNetworkReply *ObjectStore::ask(const QByteArray &verb, const QString &key)
{
    const QByteArray path = '/' + encoded(m_bucket) + '/' + encoded(m_prefix + key);
    const QByteArray time = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'")).toLatin1();
    const QByteArray host = m_endpoint.authority(QUrl::FullyEncoded).toLatin1();
    QNetworkRequest request(QUrl::fromEncoded(m_endpoint.toEncoded() + path));
    request.setRawHeader("Host", host);
    request.setRawHeader("x-amz-content-sha256", "UNSIGNED-PAYLOAD");
    request.setRawHeader("x-amz-date", time);
    if (!m_keys.session.isEmpty())
        request.setRawHeader("x-amz-security-token", m_keys.session);
    request.setRawHeader("Authorization", sign(verb, host, path, time, m_region.toLatin1(), m_keys));
    return verb == "HEAD" ? m_net.head(request) : m_net.get(request);
}

void ObjectStore::look(const QString &key, std::function<void(qint64)> answer)
{
    QNetworkReply *reply = ask("HEAD", key);
    connect(reply, &QNetworkReply::finished, this, [reply, answer] {
        const bool good = reply->error() == QNetworkReply::NoError;
        answer(good ? reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() : -1);
        reply->deleteLater();
    });
}

void ObjectStore::fetch(const QString &key, const QString &target, std::function<void(bool)> answer)
{
    QNetworkReply *reply = ask("GET", key);
    auto file = std::make_shared<QFile>(target + QStringLiteral(".half"));
    auto good = std::make_shared<bool>(file->open(QIODevice::WriteOnly));
    connect(reply, &QNetworkReply::readyRead, this, [reply, file, good] {
        const QByteArray bytes = reply->readAll();
        *good = *good && file->write(bytes) == bytes.size();
    });
    connect(reply, &QNetworkReply::finished, this, [reply, file, good, target, key, answer] {
        const qint64 told = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        bool whole = *good && reply->error() == QNetworkReply::NoError && file->flush() && file->size() == told;
        file->close();
        if (whole) {
            QFile::remove(target);
            whole = file->rename(target);
        } else {
            qWarning().noquote() << "farm::ObjectStore::fetch" << key << reply->errorString();
            file->remove();
        }
        reply->deleteLater();
        answer(whole);
    });
}

} // namespace farm
