#pragma once
// A page of the main window that shows a web page of the servers: user centre, recharging, guide. A failed load shows
// the program's own error page, from which it's loaded again. Pages of listed origins see "WebTool" (WebOrigins); what
// they open in a window of its own comes in one of the client's where it's listed too, else in the system's browser.
// Main thread.
#include "common/ui/BaseWidget.h"
#include <QJsonObject>
#include <QPointer>
#include <QUrl>

class QNetworkReply;
class QWebView;
class WebTool;
class WebView;

class WebPanel : public BaseWidget
{
    Q_OBJECT
public:
    static constexpr int MostWindows = 8;
    explicit WebPanel(QWidget *parent = nullptr);
    ~WebPanel() override;
    void open(const QString &title, const QUrl &url);
    WebView *view() const { return m_view; } // null before the first open()
    // Address of a row: the server's, with the session behind it.
    static QUrl rowUrl(const QString &url, const QString &token, bool english);
    static bool failed(int status, bool networkError); // of a reply on the row's own address

    // What a page asks for by numbers, in the windows of frames and logs.
    static void showFrame(QWidget *over, const QJsonObject &frame);
    static void showLog(QWidget *over, int missionId, qlonglong subjobId);

signals:
    void reLogin(int reason);
    void paid(); // a page of paying was seen: the balance may have changed

private:
    void webReply(QNetworkReply *reply);
    void urlChanged(const QUrl &url);
    void makeView();
    WebTool *equip(WebView *view); // with the bridge, and with windows for what it opens
    void adopt(WebView *view);
    bool settle(WebView *view, const QUrl &url); // by its first address; false: it doesn't go there
    WebView *m_view = nullptr;
    QString m_title;
    QUrl m_url;
    QList<QPointer<WebView>> m_opened; // by pages: those whose first address isn't known yet, and those in windows
};
