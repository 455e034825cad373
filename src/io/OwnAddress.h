#pragma once
// Whether an address or a name is this machine's. No name is looked up; any thread.
#include <QHostAddress>
#include <QString>

class OwnAddress
{
public:
    static bool is(const QHostAddress &address);
    // host: as in a Host header or a URL: name or address, in brackets or not, with or without a port. local: an
    // address that counts as this machine's beside its own.
    static bool is(const QString &host, const QHostAddress &local = {});
};
