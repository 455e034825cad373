#include "view/WebPanel.h"
#include "common/ui/WebTool.h"
#include "common/ui/WebView.h"
#include <QDebug>
#include <QNetworkAccessManager>
#include <QNetworkReply>

WebPanel::WebPanel(QWidget *parent) : BaseWidget(Page, parent) { setObjectName(QStringLiteral("WebPanel")); }

// The browser aborts what it was loading when it goes; by then nothing of it may reach this object any more.
WebPanel::~WebPanel()
{
    if (!m_view)
        return;
    m_view->page()->networkAccessManager()->disconnect(this);
    m_view->disconnect(this);
    delete m_view;
}

QUrl WebPanel::rowUrl(const QString &url, const QString &token, bool english)
{
    return QUrl(url + QStringLiteral("?sessionid=%1%2").arg(token, english ? QStringLiteral("&en=true") : QString()));
}

bool WebPanel::failed(int status, bool networkError) { return networkError || status < 200 || status >= 400; }

// Made with the first row that is opened: an embedded browser costs memory.
void WebPanel::makeView()
{
    if (m_view)
        return;
    m_view = new WebView(this);
    m_tool = new WebTool(this);
    // The page may lead on within its server; another one's pages get no token.
    m_view->expose(QStringLiteral("WebTool"), m_tool,
                   [this](const QUrl &address) { return WebView::sameOrigin(address, m_url); });
    connect(
        m_tool, &WebTool::reloadAsked, this, [this] { m_view->load(m_url); }, Qt::QueuedConnection);
    connect(
        m_tool, &WebTool::reLoginAsked, this, [this] { emit reLogin(111); }, Qt::QueuedConnection);
    connect(m_view->page()->networkAccessManager(), &QNetworkAccessManager::finished, this, &WebPanel::webReply);
    connect(m_view, &QWebView::urlChanged, this, &WebPanel::urlChanged);
    connect(m_view, &WebView::createWin, this, [this](QWebView *web) {
        connect(web, &QWebView::urlChanged, web, [this, web](const QUrl &url) {
            m_tool->openUrl(url.toString());
            web->deleteLater();
        });
    });
    body()->addWidget(m_view, 1);
}

void WebPanel::open(const QString &title, const QUrl &url)
{
    makeView();
    m_title = title;
    m_url = url;
    setAccessibleName(title);
    qDebug().noquote() << QStringLiteral("左侧菜单加载:%1").arg(title);
    m_view->load(url);
}

void WebPanel::webReply(QNetworkReply *reply)
{
    if (reply->url() != m_url)
        return;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (!failed(status, reply->error() != QNetworkReply::NoError))
        return;
    qWarning().noquote() << QStringLiteral("左侧菜单失败:%1_%2").arg(m_title).arg(status);
    m_view->load(WebPage::errorPage());
}

void WebPanel::urlChanged(const QUrl &url)
{
    qDebug().noquote() << "urlchanged:" << url.toString(QUrl::RemoveQuery);
    const QString text = url.toString();
    if (text.contains(QLatin1String("onlinePayPage")) || text.contains(QLatin1String("becomeVip")))
        emit paid();
}
