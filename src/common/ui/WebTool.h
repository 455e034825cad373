#pragma once
// What the client's own web pages see under the name "WebTool": its invokable methods, in this order, and nothing else.
// Whatever a page sends is looked at before it's used; what can't be used is logged and does nothing. Texts beyond
// MaxText are refused. Main thread; owned by the page that shows them.
#include <functional>
#include <QJsonObject>
#include <QObject>
#include <QString>

class WebTool : public QObject
{
    Q_OBJECT
public:
    static constexpr int MaxText = 256 * 1024, MaxDownloads = 1000, MaxUrl = 8192;
    // loginData: what loadUserInfos() gives, empty without a login.
    explicit WebTool(QObject *parent = nullptr, std::function<QString()> loginData = {});

    Q_INVOKABLE int appLang(); // 0 Chinese, 1 English
    Q_INVOKABLE QString accessToken();
    Q_INVOKABLE void openLocalDir(QString relativePath); // below the result folder; paths that leave it are refused
    Q_INVOKABLE void preview(QString json);              // of a frame: "missionId", "subjobId"
    Q_INVOKABLE void clipboard(QString text);
    Q_INVOKABLE void shareResult(QString json);       // "url", "title", "pics", "desc"
    Q_INVOKABLE void downloadResult(QString jsonArr); // task numbers, bare or as "missionId"
    Q_INVOKABLE void downloadLog(QString log);        // "missionId", "subjobId", or both as in 7_700001.log
    Q_INVOKABLE void contactCustomer();
    Q_INVOKABLE void reLogin();
    Q_INVOKABLE void reloadErrorPage();
    Q_INVOKABLE void adCount(int id);
    Q_INVOKABLE QString loadUserInfos();
    Q_INVOKABLE void openUrl(QString url); // web and mail addresses only, in the system's browser

    static QString shareQuery(const QJsonObject &share);
    // Where the support is met: the chat program where the server group knows its scheme and a number, else its page.
    static QUrl supportUrl(const QString &chat, const QString &scheme, const QString &number);

signals:
    void reLoginAsked();
    void reloadAsked();
    void previewAsked(QJsonObject frame);
    void logAsked(int missionId, qlonglong subjobId);

private:
    std::function<QString()> m_loginData;
};
