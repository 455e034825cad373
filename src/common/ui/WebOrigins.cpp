#include "common/ui/WebOrigins.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include <QRegularExpression>
#include <QStringList>

namespace
{
bool isWeb(const QUrl &url)
{
    return url.isValid() && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https")) &&
           !url.host().isEmpty();
}

int portOf(const QUrl &url) { return url.port(url.scheme() == QLatin1String("https") ? 443 : 80); }

QStringList addresses()
{
    QStringList all;
    for (const char *key : {"qnbs", "bs", "login", "update", "logs", "share", "chat", "cms"})
        all << Session::address(QLatin1String(key));
    // A comma makes a list of it where the file is read.
    const QString further =
        UserInfo::serviceValue(QStringLiteral("server"), QStringLiteral("webOrigins")).toStringList().join(' ');
    return all + further.split(QRegularExpression(QStringLiteral("[,;\\s]+")), Qt::SkipEmptyParts);
}
} // namespace

bool WebOrigins::same(const QUrl &a, const QUrl &b)
{
    return isWeb(a) && isWeb(b) && a.scheme() == b.scheme() && a.host() == b.host() && portOf(a) == portOf(b);
}

bool WebOrigins::listed(const QUrl &address)
{
    if (!isWeb(address))
        return false;
    for (const QString &known : addresses())
        if (same(QUrl(known), address))
            return true;
    return false;
}
