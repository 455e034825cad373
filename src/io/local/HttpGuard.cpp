#include "io/local/HttpGuard.h"
#include "io/OwnAddress.h"
#include <QUrl>

namespace
{
// Takes the same time whatever the texts have in common.
bool equalTokens(const QByteArray &a, const QByteArray &b)
{
    int differ = a.size() ^ b.size();
    for (int i = 0; i < a.size(); ++i)
        differ |= a[i] ^ (i < b.size() ? b[i] : 0);
    return differ == 0;
}
} // namespace

bool HttpGuard::allows(const HttpRequest &request, const Link &link, const QString &token)
{
    for (const char *page : {"origin", "referer"})
        if (request.hasHeader(page) &&
            !OwnAddress::is(QUrl(QString::fromUtf8(request.header(page))).host(), link.local))
            return false;
    const QByteArray site = request.header("sec-fetch-site").toLower();
    if (request.hasHeader("sec-fetch-site") && site != "none" && site != "same-origin")
        return false;
    if (request.hasHeader("host") && !OwnAddress::is(QString::fromUtf8(request.header("host")), link.local))
        return false;
    return token.isEmpty() || isKnown(request, link, token);
}

bool HttpGuard::isKnown(const HttpRequest &request, const Link &link, const QString &token)
{
    if (!link.forwarded && OwnAddress::is(link.peer))
        return true;
    const QByteArray sent = request.header("authorization");
    return !token.isEmpty() && sent.left(7).toLower() == "bearer " &&
           equalTokens(sent.mid(7).trimmed(), token.toUtf8());
}
