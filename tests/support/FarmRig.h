#pragma once
// The living farm in this process with the client's link logged in at it.
#include "common/UserInfo.h"
#include "Farm.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "support/TestMain.h"
#include <QTcpSocket>
#include <QTemporaryDir>

class FarmRig
{
public:
    FarmRig()
    {
        options.dir = folder.path() + "/farm";
        options.businessPort = options.httpPort = options.filePort = 0;
        started = farm.start(options);
        qputenv("no_proxy", "*");
    }
    ~FarmRig() { NetTcp::instance()->setLogin(false); }

    // Link, session, page, confirmation: as Login does it.
    bool login()
    {
        NetTcp::create();
        NetWork::create();
        NetTcp *tcp = NetTcp::instance();
        tcp->setLogin(false);
        tcp->setHost("127.0.0.1", farm.ports().business);
        tcp->resetLink();
        if (!started || !comes([&] { return tcp->socket()->state() == QAbstractSocket::ConnectedState; }))
            return false;
        const QString session = ask(10308, {{"thirdParty", 0}}).value("token").toString();
        UserInfo::setSessionToken(session);
        const QByteArray body = QJsonDocument(QJsonObject{{"sessionId", session}, {"username", "demo"}, {"password", "demo"}}).toJson();
        QTcpSocket page;
        page.connectToHost("127.0.0.1", quint16(farm.ports().http));
        page.write("POST /xclient/login HTTP/1.1\r\nHost: farm\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        QByteArray told;
        QJsonDocument answer;
        for (; answer.isNull(); answer = QJsonDocument::fromJson(told.mid(told.indexOf("\r\n\r\n") + 4))) {
            if (!page.waitForReadyRead(Patience))
                return false;
            told += page.readAll(); // perhaps not all of it yet
        }
        UserInfo::setSessionToken(answer.object().value("token").toString());
        account = ask(10309, {});
        tcp->setLogin(true);
        return !account.isEmpty();
    }
    QJsonObject ask(int cmd, const QJsonObject &body)
    {
        bool over = false;
        QJsonObject reply;
        Ask(cmd, body)
            .any([&](int, const QJsonDocument &doc) { reply = doc.object(), over = true; })
            .lost([&](Ask::Loss) { over = true; })
            .send(QCoreApplication::instance());
        return comes([&] { return over; }) ? reply : QJsonObject();
    }
    // All commands answered with this code, or no longer ("").
    void refuse(int cmd, const QString &code) { farm.faults().set(QString("refuse.%1").arg(cmd), code); }
    int count(int cmd) const { return farm.commandCounts().value(cmd); }

    QTemporaryDir folder;
    FarmOptions options;
    Farm farm;
    QJsonObject account; // the answer of 10309
    bool started = false;
};
