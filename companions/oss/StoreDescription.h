#pragma once
// The store that a message names: where it is, which bucket, which keys. Facts of the S3 protocol: requests go to
// <endpoint>/<bucket>/<object> (path style, which every S3 server takes), signed with version 4 for region and service.
#include <QByteArray>
#include <QJsonObject>
#include <QString>

struct StoreDescription {
    QString endpoint; // "host[:port]" without a scheme
    QString bucket, region, prefix;
    QByteArray accessKey, secretKey, sessionToken; // the last may be empty
    bool secure = true;

    // {"type": "s3", "endpoint", "bucket", "region", "accessKey", "secretKey", "sessionToken", "prefix", "secure"}.
    // An endpoint with http:// or https:// in front decides secure where that key is absent. Answers an OssError::Code,
    // OssError::Done when it can be used.
    static int read(const QJsonObject &message, StoreDescription *to);
    // "<scheme>://<endpoint>/<bucket>/<prefix><key>", every byte but unreserved ones and "/" percent-encoded.
    QByteArray url(const QString &key) const;
};
