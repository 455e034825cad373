#pragma once
// Asks the client's local API and waits for the answer; one request at a time, the calling thread waits.
#include <functional>
#include <QByteArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>
#include <QUrl>

class QNetworkReply;

class Client
{
public:
    static constexpr int WaitMs = 40000; // the client itself gives up earlier
    struct Reply {
        bool there = false; // the client answered with a document
        QString trouble;    // of !there
        QJsonObject whole;
        bool good() const { return whole.value("result").toInt() == 1; }
        QJsonValue data() const { return whole.value("data"); }
        QString msg() const { return whole.value("msg").toString(); }
    };

    Client(const QUrl &base, const QByteArray &token) : m_base(base), m_token(token) {}
    Reply post(const QString &target, const QByteArray &body = {}); // target: path and query, encoded
    // Of a route that streams: take() gets the pieces as they come, for as long as they come; false from it ends all.
    // An answer in place of a stream comes back as post()'s does.
    Reply stream(const QString &target, const std::function<bool(const QByteArray &piece)> &take);

    // Of this user's client on this machine.
    static QString dataFolder();
    static QUrl localUrl();

private:
    QNetworkReply *send(const QString &target, const QByteArray &body, int waitMs);
    Reply read(QNetworkReply *reply, const QByteArray &text) const;

    QNetworkAccessManager m_net;
    QUrl m_base;
    QByteArray m_token;
};
