#include "common/ui/WebTool.h"
#include "common/ui/Background.h"
#include "common/ui/Links.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include <QClipboard>
#include <QDebug>
#include <QDir>
#include <QGuiApplication>
#include <QUrl>

int WebTool::appLang() { return UserInfo::languageNumber(); }

QString WebTool::accessToken()
{
    qDebug().noquote() << "WebTool::accessToken";
    return UserInfo::token();
}

void WebTool::openLocalDir(QString relativePath)
{
    const QString root = QDir::cleanPath(UserInfo::resultDir());
    const QString path = QDir::cleanPath(root + QLatin1Char('/') + relativePath);
    if (path != root && !path.startsWith(root + QLatin1Char('/'))) {
        qWarning().noquote() << "WebTool::openLocalDir" << relativePath << "leads out of the result folder";
        return;
    }
    Background::post([path] { VFunc::openFolder(path); });
}

void WebTool::clipboard(QString text) { QGuiApplication::clipboard()->setText(text); }
void WebTool::reLogin() { emit reLoginAsked(); }
void WebTool::reloadErrorPage() { emit reloadAsked(); }

void WebTool::openUrl(QString url) { Links::open(QUrl(url)); }
