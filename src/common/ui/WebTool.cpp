#include "common/ui/WebTool.h"
#include "common/Session.h"
#include "common/ui/Background.h"
#include "common/ui/Links.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "io/WebAsk.h"
#include <limits>
#include <QClipboard>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QUrl>

namespace
{
bool tooLong(const char *method, const QString &text, int most = WebTool::MaxText)
{
    if (text.size() <= most)
        return false;
    qWarning().noquote() << method << "refused," << text.size() << "characters";
    return true;
}

QJsonDocument parsed(const char *method, const QString &text)
{
    if (tooLong(method, text))
        return {};
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError)
        qWarning().noquote() << method << "isn't JSON:" << error.errorString();
    return doc;
}

// Numbers come as numbers or as texts; what isn't a whole one above 0 is 0.
qlonglong number(const QJsonValue &value)
{
    const double real = value.toDouble();
    const qlonglong one = value.isDouble() && real < 9e15 && real == double(qlonglong(real))
                              ? qlonglong(real)
                              : value.toString().toLongLong();
    return qMax(one, 0LL);
}

int missionOf(const QJsonValue &value)
{
    const qlonglong id = number(value.isObject() ? value.toObject().value(QLatin1String("missionId")) : value);
    return id <= std::numeric_limits<int>::max() ? int(id) : 0;
}

QString encoded(const QJsonValue &value) { return QString::fromLatin1(QUrl::toPercentEncoding(value.toString())); }

QString service(const char *key)
{
    return UserInfo::serviceValue(QStringLiteral("server"), QLatin1String(key)).toString().trimmed();
}

// The folder that path names below root, the folder of a file; empty where a piece of it leads out of root.
QString folderBelow(const QString &root, const QString &path)
{
    const QString real = QFileInfo(root).canonicalFilePath();
    const QFileInfo asked(path);
    const QString target = (asked.exists() && !asked.isDir() ? QFileInfo(asked.path()) : asked).canonicalFilePath();
    return !real.isEmpty() && (target == real || target.startsWith(real + QLatin1Char('/'))) ? target : QString();
}
} // namespace

WebTool::WebTool(QObject *parent, std::function<QString()> loginData)
    : QObject(parent), m_loginData(std::move(loginData))
{
}

int WebTool::appLang() { return UserInfo::languageNumber(); }

QString WebTool::accessToken()
{
    qDebug().noquote() << "WebTool::accessToken";
    return UserInfo::token();
}

// A file isn't opened but its folder: what a result is called must not make it run.
void WebTool::openLocalDir(QString relativePath)
{
    if (tooLong("WebTool::openLocalDir", relativePath, MaxUrl))
        return;
    const QString root = QDir::cleanPath(UserInfo::resultDir());
    const QString path = QDir::cleanPath(root + QLatin1Char('/') + relativePath);
    if (path != root && !path.startsWith(root + QLatin1Char('/'))) {
        qWarning().noquote() << "WebTool::openLocalDir" << relativePath << "leads out of the result folder";
        return;
    }
    Background::post([root, path] {
        const QString folder = folderBelow(root, path);
        if (folder.isEmpty() || !VFunc::openFolder(folder))
            qWarning().noquote() << "WebTool::openLocalDir" << path << "isn't there, or leads out";
    });
}

void WebTool::preview(QString json)
{
    const QJsonObject frame = parsed("WebTool::preview", json).object();
    if (missionOf(frame) > 0 && number(frame.value(QLatin1String("subjobId"))) > 0)
        emit previewAsked(frame);
    else
        qWarning().noquote() << "WebTool::preview: no frame is named";
}

void WebTool::clipboard(QString text)
{
    if (!tooLong("WebTool::clipboard", text))
        QGuiApplication::clipboard()->setText(text);
}

// Put together from its pieces: a mark that a page put into a value stays a value.
QString WebTool::shareQuery(const QJsonObject &share)
{
    const QString title = encoded(share.value(QLatin1String("title")));
    return QStringLiteral("url=%1&title=%2&summary=%3&pics=%4&site=%2&style=201&width=32&height=32")
        .arg(encoded(share.value(QLatin1String("url"))), title, encoded(share.value(QLatin1String("desc"))),
             encoded(share.value(QLatin1String("pics"))));
}

void WebTool::shareResult(QString json)
{
    const QJsonDocument doc = parsed("WebTool::shareResult", json);
    if (!doc.isObject())
        return;
    const QString base = Session::address(QStringLiteral("share"));
    Links::open(QUrl(base + (base.contains('?') ? '&' : '?') + shareQuery(doc.object()), QUrl::StrictMode));
}

void WebTool::downloadResult(QString jsonArr)
{
    const QJsonArray asked = parsed("WebTool::downloadResult", jsonArr).array();
    QList<int> missions;
    for (const QJsonValue &one : asked)
        if (const int id = missionOf(one); id > 0 && !missions.contains(id) && missions.size() < MaxDownloads)
            missions << id;
    if (missions.size() != asked.size())
        qWarning().noquote() << "WebTool::downloadResult" << asked.size() - missions.size() << "of" << asked.size()
                             << "left out: no tasks, named twice or too many";
    for (int id : qAsConst(missions))
        Seam<DownCalls>::post(
            [id, batch = missions.size() > 1](DownCalls &down) { down.missionResult(id, false, batch); });
}

void WebTool::downloadLog(QString log)
{
    if (tooLong("WebTool::downloadLog", log, MaxUrl))
        return;
    static const QRegularExpression name(QStringLiteral("^\\s*(\\d{1,10})_(\\d{1,18})(\\.log)?\\s*$"));
    const QRegularExpressionMatch told = name.match(log);
    const QJsonObject asked = told.hasMatch()
                                  ? QJsonObject{{"missionId", told.captured(1)}, {"subjobId", told.captured(2)}}
                                  : parsed("WebTool::downloadLog", log).object();
    const int mission = missionOf(asked);
    const qlonglong frame = number(asked.value(QLatin1String("subjobId")));
    if (mission > 0 && frame > 0)
        emit logAsked(mission, frame);
    else
        qWarning().noquote() << "WebTool::downloadLog: no log is named";
}

QUrl WebTool::supportUrl(const QString &chat, const QString &scheme, const QString &number)
{
    const QString who = QString::fromLatin1(QUrl::toPercentEncoding(number));
    if (number.isEmpty())
        return QUrl(chat);
    static const QRegularExpression form(QStringLiteral("^[a-z][a-z0-9+.-]*$"),
                                         QRegularExpression::CaseInsensitiveOption);
    if (form.match(scheme).hasMatch() && scheme.compare(QLatin1String("file"), Qt::CaseInsensitive) != 0)
        return QUrl(QStringLiteral("%1://message/?uin=%2&Site=&Menu=yes").arg(scheme, who));
    return QUrl(QStringLiteral("%1?uin=%2&aty=0&a=0&curl=&ty=1").arg(chat, who));
}

void WebTool::contactCustomer()
{
    const QUrl url = supportUrl(Session::address(QStringLiteral("chat")), service("chatScheme"), service("chatNumber"));
    if (url.scheme().startsWith(QLatin1String("http")))
        Links::open(url);
    else if (!QDesktopServices::openUrl(url)) // no such program here: the page does as well
        Links::open(supportUrl(Session::address(QStringLiteral("chat")), {}, service("chatNumber")));
}

void WebTool::reLogin() { emit reLoginAsked(); }
void WebTool::reloadErrorPage() { emit reloadAsked(); }

void WebTool::adCount(int id)
{
    if (id > 0)
        WebAsk::get(Session::address(QStringLiteral("cms")) +
                    QStringLiteral("/cms/advertisement/record?id=%1&username=%2")
                        .arg(QString::number(id), QString::fromLatin1(QUrl::toPercentEncoding(UserInfo::username()))))
            .send(this);
}

QString WebTool::loadUserInfos() { return m_loginData ? m_loginData() : QString(); }

void WebTool::openUrl(QString url)
{
    if (!tooLong("WebTool::openUrl", url, MaxUrl))
        Links::open(QUrl(url));
}
