#pragma once
// Who may drive the client over its local port. Free of sockets, so that each rule can be tested with a row.
//
// Refused: what a page of a foreign site may have sent (its Origin or Referer isn't this machine, or the browser says
// that another site asks: a picture sends no Origin), a name that a foreign site made point here (the Host isn't this
// machine's address or name), and, where a token is set, callers from other machines without it. What came through a
// port that this master forwards is from another machine, wherever it seems to come from.
#include "io/local/HttpRequest.h"
#include <QHostAddress>
#include <QString>

class HttpGuard
{
public:
    struct Link {
        QHostAddress peer, local; // the two ends of the connection
        bool forwarded = false;   // by this master
    };
    // token: UserInfo::apiToken(), empty for none.
    static bool allows(const HttpRequest &request, const Link &link, const QString &token);
    // The caller is a program of this machine, or has shown the token.
    static bool isKnown(const HttpRequest &request, const Link &link, const QString &token);
};
