#pragma once
// The local API as one table: what the dispatcher serves, GET /openapi.json tells, the README lists and vandrelctl
// calls. Values without state, any thread; made of the toolkit's core alone, so that other programs can build it in.
//
// Its texts are for people who write programs, in English only.
#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

struct ApiArg {
    enum Kind { Text, Number, List }; // List: "1,3-5" or "a,b"
    const char *name;
    Kind kind;
    const char *about, *example; // no example: it isn't part of the example request
};

struct ApiRoute {
    const char *path, *method; // of CmdHand, called by this name
    const char *about;
    QList<ApiArg> args;
    const char *body;  // an example of what's sent, JSON; null: nothing
    const char *reply; // an example of "data", JSON; null: none
    bool get = false;  // answered for GET too: asked by other seats, or by a tool that reads the description

    QString exampleTarget() const; // path and query
};

class ApiTable
{
public:
    static const QList<ApiRoute> &routes();
    static const ApiRoute *find(const QString &path); // null: no such route
    static bool open(const QString &path);            // to other machines without the token: what reads, and seats
    static QJsonObject openApi(const QString &server, const QString &version); // OpenAPI 3.0
    static QByteArray readme();                                                // the rows of the README's table
};
