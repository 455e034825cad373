#include "view/WebPanel.h"
#include "common/ui/Links.h"
#include "common/ui/WebOrigins.h"
#include "common/ui/WebTool.h"
#include "common/ui/WebView.h"
#include "view/Login.h"
#include "view/task/LogItem.h"
#include "view/task/Preview.h"
#include <QDebug>
#include <QNetworkAccessManager>
#include <QNetworkReply>

WebPanel::WebPanel(QWidget *parent) : BaseWidget(Page, parent) { setObjectName(QStringLiteral("WebPanel")); }

// The browser aborts what it was loading when it goes; by then nothing of it may reach this object any more.
WebPanel::~WebPanel()
{
    for (const QPointer<WebView> &view : qAsConst(m_opened)) {
        if (!view)
            continue;
        QWidget *window = view->parentWidget() ? view->window() : nullptr;
        view->end();
        delete window;
    }
    if (m_view)
        m_view->end();
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
    WebTool *tool = equip(m_view);
    connect(
        tool, &WebTool::reloadAsked, this, [this] { m_view->load(m_url); }, Qt::QueuedConnection);
    connect(m_view->page()->networkAccessManager(), &QNetworkAccessManager::finished, this, &WebPanel::webReply);
    connect(m_view, &QWebView::urlChanged, this, &WebPanel::urlChanged);
    body()->addWidget(m_view, 1);
}

WebTool *WebPanel::equip(WebView *view)
{
    auto *tool = new WebTool(view, [] { return Login::instance() ? Login::instance()->userRecord() : QString(); });
    view->expose(QStringLiteral("WebTool"), tool, &WebOrigins::listed);
    connect(
        tool, &WebTool::reLoginAsked, this, [this] { emit reLogin(111); }, Qt::QueuedConnection);
    connect(
        tool, &WebTool::previewAsked, this, [this](const QJsonObject &frame) { showFrame(window(), frame); },
        Qt::QueuedConnection);
    connect(
        tool, &WebTool::logAsked, this, [this](int mission, qlonglong sub) { showLog(window(), mission, sub); },
        Qt::QueuedConnection);
    connect(view, &WebView::createWin, this, [this](QWebView *web) { adopt(static_cast<WebView *>(web)); });
    return tool;
}

void WebPanel::showFrame(QWidget *over, const QJsonObject &frame)
{
    QJsonObject row = frame;
    row[QStringLiteral("id")] = frame.value(QLatin1String("subjobId"));
    const SubTask sub = SubTask::from(row);
    PreviewTask task;
    task.id = frame.value(QLatin1String("missionId")).toVariant().toString();
    task.name = frame.value(QLatin1String("missionName")).toString();
    task.software = frame.value(QLatin1String("softwareType")).toVariant().toInt();
    task.pictures = sub.pictures;
    task.mode = SubPicture::modeOf(task.software, task.pictures);
    task.rows = {sub};
    PreviewQN::open(over, task, sub);
}

void WebPanel::showLog(QWidget *over, int missionId, qlonglong subjobId)
{
    SubTask sub;
    sub.id = QString::number(subjobId);
    LogItem::open(over, QString::number(missionId), sub, [] { return false; });
}

void WebPanel::adopt(WebView *view)
{
    m_opened.removeAll(QPointer<WebView>());
    m_opened << view;
    view->webPage()->setGate([this, view](const QUrl &url) { return settle(view, url); });
}

bool WebPanel::settle(WebView *view, const QUrl &url)
{
    if (url.scheme() == QLatin1String("about"))
        return true; // the real one comes
    view->webPage()->setGate({});
    if (!WebOrigins::listed(url) || m_opened.size() > MostWindows) {
        Links::open(url);
        view->deleteLater();
        return false;
    }
    auto *window = new BaseWidget(Window, this->window());
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setObjectName(QStringLiteral("webWindow"));
    window->setTitle(m_title);
    window->body()->addWidget(view, 1);
    window->resize(960, 640);
    connect(view, &QWebView::titleChanged, window,
            [window](const QString &title) { window->setTitle(title.left(80)); });
    connect(view->page(), &QWebPage::windowCloseRequested, window, &QWidget::close);
    WebTool *tool = equip(view);
    connect(tool, &WebTool::reloadAsked, view, &WebView::reloadFailed, Qt::QueuedConnection);
    window->show();
    return true;
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
