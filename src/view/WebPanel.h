#pragma once
// A page of the main window that shows a web page of the servers: user centre, recharging, guide. A failed load shows
// the program's own error page, from which it's loaded again. Main thread.
#include "common/ui/BaseWidget.h"
#include <QUrl>

class QNetworkReply;
class WebTool;
class WebView;

class WebPanel : public BaseWidget
{
    Q_OBJECT
public:
    explicit WebPanel(QWidget *parent = nullptr);
    ~WebPanel() override;
    void open(const QString &title, const QUrl &url);
    // Address of a row: the server's, with the session behind it.
    static QUrl rowUrl(const QString &url, const QString &token, bool english);
    static bool failed(int status, bool networkError); // of a reply on the row's own address

signals:
    void reLogin(int reason);
    void paid(); // a page of paying was seen: the balance may have changed

private:
    void webReply(QNetworkReply *reply);
    void urlChanged(const QUrl &url);
    void makeView();
    WebView *m_view = nullptr;
    WebTool *m_tool = nullptr;
    QString m_title;
    QUrl m_url;
};
