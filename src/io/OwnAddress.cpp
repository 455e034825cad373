#include "io/OwnAddress.h"
#include <algorithm>
#include <QHostInfo>
#include <QNetworkInterface>

namespace
{
bool same(const QHostAddress &a, const QHostAddress &b)
{
    return a.isEqual(b, QHostAddress::ConvertV4MappedToIPv4 | QHostAddress::ConvertLocalHost);
}
} // namespace

bool OwnAddress::is(const QHostAddress &address)
{
    if (address.isLoopback())
        return true;
    const QList<QHostAddress> own = QNetworkInterface::allAddresses();
    return std::any_of(own.cbegin(), own.cend(), [&address](const QHostAddress &one) { return same(one, address); });
}

bool OwnAddress::is(const QString &host, const QHostAddress &local)
{
    QString name = host.trimmed().toLower();
    if (name.startsWith('[')) {
        name = name.mid(1, name.indexOf(']') - 1);
    } else if (name.count(':') == 1) {
        name = name.left(name.indexOf(':'));
    }
    if (name.endsWith('.'))
        name.chop(1);
    if (name.isEmpty())
        return false;
    const QHostAddress address(name);
    if (!address.isNull())
        return same(address, local) || is(address);
    const QString own = QHostInfo::localHostName().toLower();
    if (name == "localhost" || name == own || name == own + ".local")
        return true;
    const QString domain = QHostInfo::localDomainName().toLower();
    return !domain.isEmpty() && name == own + "." + domain;
}
