#pragma once
// The servers that a master forwards to: those that service.ini names, and those that a server's reply has named since
// the start. Static, any thread.
#include <QJsonObject>
#include <QString>

class KnownHosts
{
public:
    static void learn(const QJsonObject &farm); // a reply that tells where a farm is: addr, addr-internal, domain
    static bool contains(const QString &host);
    static void clear(); // what was learnt
};
