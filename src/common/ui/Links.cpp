#include "common/ui/Links.h"
#include <QDebug>
#include <QDesktopServices>
#include <QStringList>

bool Links::allowed(const QUrl &url)
{
    static const QStringList schemes{QStringLiteral("http"), QStringLiteral("https"), QStringLiteral("mailto")};
    return url.isValid() && schemes.contains(url.scheme());
}

bool Links::open(const QUrl &url)
{
    const bool opened = allowed(url) && QDesktopServices::openUrl(url);
    if (!opened)
        qWarning().noquote() << "Links::open" << url.toString(QUrl::RemoveQuery) << "isn't opened";
    return opened;
}
