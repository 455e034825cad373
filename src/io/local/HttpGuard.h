#pragma once
// Who may drive the client over its local port. Free of sockets, so that each rule can be tested with a row.
//
// Refused: a page of a foreign site (its Origin isn't this machine), a name that a foreign site made point here (the
// Host isn't this machine's address or name), and, where a token is set, callers from other machines without it.
#include "io/local/HttpRequest.h"
#include <QHostAddress>
#include <QString>

class HttpGuard
{
public:
    // peer, local: the two ends of the connection. token: UserInfo::apiToken(), empty for none.
    static bool allows(const HttpRequest &request, const QHostAddress &peer, const QHostAddress &local,
                       const QString &token);
    static bool isThisMachine(const QHostAddress &address);
    // host: as in a Host header or a URL: name or address, in brackets or not, with or without a port.
    static bool isThisMachine(const QString &host, const QHostAddress &local);
};
