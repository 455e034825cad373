#include "StoreDescription.h"
#include "OssErrors.h"
#include <algorithm>
#include <QUrl>

int StoreDescription::read(const QJsonObject &message, StoreDescription *to)
{
    const auto text = [&message](const char *key) { return message.value(QLatin1String(key)).toString(); };
    if (text("type").compare(QLatin1String("s3"), Qt::CaseInsensitive) != 0)
        return OssError::UnknownStore;
    QString endpoint = text("endpoint");
    const bool plain = endpoint.startsWith(QLatin1String("http://"), Qt::CaseInsensitive);
    const int scheme = endpoint.indexOf(QLatin1String("://"));
    if (scheme >= 0)
        endpoint.remove(0, scheme + 3);
    while (endpoint.endsWith(QLatin1Char('/')))
        endpoint.chop(1);
    const QUrl address(QStringLiteral("http://") + endpoint);
    if (endpoint.isEmpty() || !address.isValid() || address.host().isEmpty() || !address.path().isEmpty() ||
        address.hasQuery() || !address.userInfo().isEmpty())
        return OssError::UnknownStore;
    to->endpoint = endpoint;
    to->bucket = text("bucket");
    to->region = text("region").isEmpty() ? QStringLiteral("us-east-1") : text("region");
    to->prefix = text("prefix");
    while (to->prefix.startsWith(QLatin1Char('/')))
        to->prefix.remove(0, 1);
    to->accessKey = text("accessKey").toUtf8();
    to->secretKey = text("secretKey").toUtf8();
    to->sessionToken = text("sessionToken").toUtf8();
    to->secure = message.value(QLatin1String("secure")).toBool(!plain);
    // They go into the heads of requests and into texts that ":" divides.
    const auto clean = [](const QByteArray &value) {
        return std::all_of(value.begin(), value.end(), [](char c) { return c > 0x20 && c < 0x7f; });
    };
    const bool usable = !to->bucket.isEmpty() && !to->bucket.contains(QLatin1Char('/')) && !to->accessKey.isEmpty() &&
                        !to->secretKey.isEmpty() && clean(to->accessKey) && clean(to->secretKey) &&
                        clean(to->sessionToken) && clean(to->region.toUtf8()) && !to->accessKey.contains(':') &&
                        !to->region.contains(QLatin1Char(':'));
    return usable ? OssError::Done : OssError::BadMessage;
}

QByteArray StoreDescription::url(const QString &key) const
{
    QString name = key;
    while (name.startsWith(QLatin1Char('/')))
        name.remove(0, 1);
    return (secure ? QByteArrayLiteral("https://") : QByteArrayLiteral("http://")) + endpoint.toUtf8() + '/' +
           QUrl::toPercentEncoding(bucket) + '/' + QUrl::toPercentEncoding(prefix + name, "/");
}
