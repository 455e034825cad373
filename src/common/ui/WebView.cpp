#include "common/ui/WebView.h"
#include "common/ui/Links.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Palette.h"
#include "common/ui/WebDownload.h"
#include "common/UserInfo.h"
#include <QDebug>
#include <QFile>
#include <QKeyEvent>
#include <QMetaMethod>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <QWebElement>
#include <QWebFrame>

namespace
{
constexpr int LongestText = 2000; // of a message of a page
}

WebPage::WebPage(QWidget *parent) : QWebPage(parent), m_over(parent)
{
    setForwardUnsupportedContent(true);
    connect(this, &QWebPage::unsupportedContent, this,
            [this](QNetworkReply *reply) { WebDownload::offer(reply, m_over); });
    connect(this, &QWebPage::downloadRequested, this, [this](const QNetworkRequest &request) {
        WebDownload::offer(networkAccessManager()->get(request), m_over);
    });
}

QUrl WebPage::errorPage()
{
    return QUrl::fromLocalFile(UserInfo::programDir() + QStringLiteral("/web/loadError.html"));
}

bool WebPage::failed() const { return mainFrame()->requestedUrl() == errorPage(); }

bool WebPage::acceptNavigationRequest(QWebFrame *frame, const QNetworkRequest &request, NavigationType type)
{
    const QUrl url = request.url();
    const QString scheme = url.scheme();
    const bool inside = frame && frame != mainFrame();
    const bool page = scheme == QLatin1String("http") || scheme == QLatin1String("https") ||
                      scheme == QLatin1String("about") || url == errorPage() ||
                      (inside && (scheme == QLatin1String("data") || scheme.isEmpty()));
    if (!page && type == NavigationTypeLinkClicked)
        Links::open(url);
    else if (!page)
        qWarning().noquote() << "WebPage::acceptNavigationRequest refused" << url.toString(QUrl::RemoveQuery).left(200);
    const auto gate = m_gate; // it may take itself away
    return page && (inside || !frame || !gate || gate(url));
}

void WebPage::triggerAction(WebAction action, bool checked)
{
    switch (action) {
    case DownloadLinkToDisk:
    case DownloadImageToDisk:
    case DownloadMediaToDisk:
    case OpenImageInNewWindow:
    case OpenFrameInNewWindow:
    case InspectElement:
        return;
    case Reload:
    case ReloadAndBypassCache:
        if (failed() && m_failed.isValid()) {
            mainFrame()->load(m_failed);
            return;
        }
        break;
    default:
        break;
    }
    QWebPage::triggerAction(action, checked);
}

// Not shown before somebody has taken it: its first address decides what becomes of it.
QWebPage *WebPage::createWindow(WebWindowType)
{
    auto *web = new WebView;
    web->setAttribute(Qt::WA_DeleteOnClose);
    emit createWin(web);
    return web->page();
}

// The script goes on: one that fills the screen with messages shows one at a time.
void WebPage::javaScriptAlert(QWebFrame *, const QString &text)
{
    if (!m_alert && !m_orphan)
        m_alert = MsgTool::msgOk(m_over, text.left(LongestText));
}

bool WebPage::javaScriptConfirm(QWebFrame *, const QString &text)
{
    if (m_asking || m_orphan)
        return false;
    m_asking = true;
    const bool yes = MsgTool::msgChooseLoop(text.left(LongestText), m_over->window());
    m_asking = false;
    if (m_orphan)
        QTimer::singleShot(0, m_over, &QObject::deleteLater);
    return yes && !m_orphan;
}

bool WebPage::supportsExtension(Extension extension) const { return extension == ErrorPageExtension; }

bool WebPage::extension(Extension extension, const ExtensionOption *option, ExtensionReturn *output)
{
    if (extension != ErrorPageExtension)
        return false;
    const auto *error = static_cast<const ErrorPageExtensionOption *>(option);
    constexpr int BecameDownload = 102;
    if ((error->frame && error->frame != mainFrame()) || (error->domain == WebKit && error->error == BecameDownload))
        return false;
    m_failed = error->url;
    qWarning().noquote() << "WebPage::extension" << error->url.toString() << error->errorString << error->error;
    QFile file(errorPage().toLocalFile());
    auto *page = static_cast<ErrorPageExtensionReturn *>(output);
    page->baseUrl = errorPage();
    page->contentType = QStringLiteral("text/html");
    page->encoding = QStringLiteral("utf-8");
    page->content =
        file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<body style='background:#282828'></body>");
    return true;
}

WebView::WebView(QWidget *parent) : QWebView(parent), m_page(new WebPage(this))
{
    setPage(m_page);
    connect(m_page, &WebPage::createWin, this, [this](QWebView *web) {
        if (receivers(SIGNAL(createWin(QWebView *))) == 0)
            web->deleteLater();
        emit createWin(web);
    });
    connect(this, &QWebView::loadStarted, this, &WebView::loadStart);
    connect(this, &QWebView::loadFinished, this, &WebView::loadFinish);
    setStyleSheet(QStringLiteral("background-color:%1;").arg(Palette::window.name()));
    QPalette dark = palette();
    dark.setBrush(QPalette::Base, Palette::window);
    m_page->setPalette(dark);
    setContextMenuPolicy(Qt::NoContextMenu);
    setAccessibleName(tr("网页"));
}

namespace
{
// The browser shows all of an object that it's given, slots and children too. So the page gets functions that call it.
QString facade(const QString &name, const QMetaObject *meta, bool errorPage)
{
    QString functions;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        const QString called = QString::fromLatin1(method.name());
        if (method.methodType() != QMetaMethod::Method ||
            (errorPage && called != QLatin1String("appLang") && called != QLatin1String("reloadErrorPage")))
            continue;
        const QString words = QStringLiteral("a,b,c,d").left(qMax(0, method.parameterCount() * 2 - 1));
        functions += QStringLiteral("%1:function(%2){return object.%1(%2);},").arg(called, words);
    }
    return QStringLiteral("(function(object){Object.defineProperty(window,'%1',{value:Object.freeze({%2})});})"
                          "(window.handOver);delete window.handOver;")
        .arg(name, functions);
}
} // namespace

void WebView::expose(const QString &name, QObject *object, Allowed allowed)
{
    QWebFrame *frame = m_page->mainFrame();
    connect(frame, &QWebFrame::javaScriptWindowObjectCleared, object, [this, frame, name, object, allowed] {
        const bool error = m_page->failed();
        if (!error && !allowed(frame->url()))
            return;
        frame->addToJavaScriptWindowObject(QStringLiteral("handOver"), object);
        frame->evaluateJavaScript(facade(name, object->metaObject(), error));
    });
}

void WebView::reloadFailed()
{
    if (m_page->failedUrl().isValid())
        load(m_page->failedUrl());
}

QWebView *WebView::createWindow(QWebPage::WebWindowType type)
{
    QWebPage *page = m_page->createWindow(type);
    return page ? static_cast<QWebView *>(page->view()) : nullptr;
}

// What was loading is aborted as it goes, and nobody is told of that any more.
WebView::~WebView()
{
    m_page->disconnect(this);
    disconnect();
}

void WebView::end()
{
    page()->networkAccessManager()->disconnect();
    disconnect();
    if (!m_page->asking()) {
        delete this;
        return;
    }
    m_page->orphan();
    hide();
    setParent(nullptr);
}

void WebView::loadStart() { setCursor(Qt::BusyCursor); }
void WebView::loadFinish() { unsetCursor(); }

void WebView::click(const QString &selector)
{
    page()->mainFrame()->findFirstElement(selector).evaluateJavaScript(
        QStringLiteral("var e = document.createEvent(\"MouseEvents\");e.initEvent(\"click\", true, true);"
                       "this.dispatchEvent(e);"));
}

void WebView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F5)
        m_page->triggerAction(QWebPage::Reload);
    else if (event->key() == Qt::Key_Return && m_page->failed())
        click(QStringLiteral("#again"));
    else
        QWebView::keyPressEvent(event);
}
