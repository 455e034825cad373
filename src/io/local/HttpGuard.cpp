#include "io/local/HttpGuard.h"
#include <algorithm>
#include <QHostInfo>
#include <QNetworkInterface>
#include <QUrl>

namespace
{
bool same(const QHostAddress &a, const QHostAddress &b)
{
    return a.isEqual(b, QHostAddress::ConvertV4MappedToIPv4 | QHostAddress::ConvertLocalHost);
}

// Takes the same time whatever the texts have in common.
bool equalTokens(const QByteArray &a, const QByteArray &b)
{
    int differ = a.size() ^ b.size();
    for (int i = 0; i < a.size(); ++i)
        differ |= a[i] ^ (i < b.size() ? b[i] : 0);
    return differ == 0;
}
} // namespace

bool HttpGuard::allows(const HttpRequest &request, const QHostAddress &peer, const QHostAddress &local,
                       const QString &token)
{
    if (request.hasHeader("origin") && !isThisMachine(QUrl(QString::fromUtf8(request.header("origin"))).host(), local))
        return false;
    if (request.hasHeader("host") && !isThisMachine(QString::fromUtf8(request.header("host")), local))
        return false;
    if (token.isEmpty() || isThisMachine(peer))
        return true;
    const QByteArray sent = request.header("authorization");
    return sent.left(7).toLower() == "bearer " && equalTokens(sent.mid(7).trimmed(), token.toUtf8());
}

bool HttpGuard::isThisMachine(const QHostAddress &address)
{
    if (address.isLoopback())
        return true;
    const QList<QHostAddress> own = QNetworkInterface::allAddresses();
    return std::any_of(own.cbegin(), own.cend(), [&address](const QHostAddress &one) { return same(one, address); });
}

bool HttpGuard::isThisMachine(const QString &host, const QHostAddress &local)
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
        return same(address, local) || isThisMachine(address);
    const QString own = QHostInfo::localHostName().toLower();
    if (name == "localhost" || name == own || name == own + ".local")
        return true;
    const QString domain = QHostInfo::localDomainName().toLower();
    return !domain.isEmpty() && name == own + "." + domain;
}
