#pragma once
// The bucket of an S3 store that the farm's clients upload to, seen from the farm: what clients are told of it, whether
// an object is there, and the bytes of one. Requests are signed with version 4, written from the format. Lives on the
// farm's thread; every answer comes there, once, within AnswerMs of silence at the latest.
//
// The keys come from the environment (AWS_ACCESS_KEY_ID, AWS_SECRET_ACCESS_KEY, AWS_SESSION_TOKEN), never from the
// command line, where others could read them.
#include <functional>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QUrl>

class QNetworkReply;

namespace farm
{

class Core;

class ObjectStore : public QObject
{
    Q_OBJECT
public:
    static constexpr int AnswerMs = 10000;
    explicit ObjectStore(Core &core);

    // "http://HOST[:PORT]/BUCKET[/PREFIX][?region=NAME]". False with a text when it can't be used.
    bool open(const QString &url, QString *error);
    bool used() const { return !m_bucket.isEmpty(); }
    QJsonObject description() const; // for the client's companion; empty where none is used

    // size: of the object under the upload's key, -1 where there is none or the store doesn't answer.
    void look(const QString &key, std::function<void(qint64 size)> answer);
    // Brings the object's bytes into target, under a name of its own until they are whole.
    void fetch(const QString &key, const QString &target, std::function<void(bool good)> answer);

private:
    // The Authorization head of a request without body; given the time as "yyyyMMddTHHmmssZ".
    struct Keys {
        QByteArray access, secret, session;
    };
    static QByteArray sign(const QByteArray &verb, const QByteArray &host, const QByteArray &path,
                           const QByteArray &time, const QByteArray &region, const Keys &keys);
    QNetworkReply *ask(const QByteArray &verb, const QString &key);

    Core &m_core;
    QNetworkAccessManager m_net;
    QUrl m_endpoint; // scheme, host, port
    QString m_bucket, m_prefix, m_region;
    Keys m_keys;
};

} // namespace farm
