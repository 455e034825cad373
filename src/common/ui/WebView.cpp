#include "common/ui/WebView.h"
#include "common/ui/Palette.h"
#include "common/UserInfo.h"
#include <QDebug>
#include <QFile>
#include <QMetaMethod>
#include <QWebFrame>

QUrl WebPage::errorPage()
{
    return QUrl::fromLocalFile(UserInfo::programDir() + QStringLiteral("/web/loadError.html"));
}

bool WebPage::supportsExtension(Extension extension) const { return extension == ErrorPageExtension; }

bool WebPage::extension(Extension extension, const ExtensionOption *option, ExtensionReturn *output)
{
    if (extension != ErrorPageExtension)
        return false;
    const auto *error = static_cast<const ErrorPageExtensionOption *>(option);
    if (error->frame && error->frame != mainFrame())
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

int portOf(const QUrl &url) { return url.port(url.scheme() == QLatin1String("https") ? 443 : 80); }
} // namespace

void WebView::expose(const QString &name, QObject *object, Allowed allowed)
{
    QWebFrame *frame = m_page->mainFrame();
    connect(frame, &QWebFrame::javaScriptWindowObjectCleared, object, [frame, name, object, allowed] {
        const bool error = frame->requestedUrl() == WebPage::errorPage();
        if (!error && !allowed(frame->url()))
            return;
        frame->addToJavaScriptWindowObject(QStringLiteral("handOver"), object);
        frame->evaluateJavaScript(facade(name, object->metaObject(), error));
    });
}

bool WebView::sameOrigin(const QUrl &a, const QUrl &b)
{
    return a.scheme() == b.scheme() && !a.host().isEmpty() && a.host() == b.host() && portOf(a) == portOf(b);
}

void WebView::reloadFailed()
{
    if (m_page->failedUrl().isValid())
        load(m_page->failedUrl());
}

QWebView *WebView::createWindow(QWebPage::WebWindowType)
{
    auto *web = new WebView;
    web->setAttribute(Qt::WA_DeleteOnClose);
    emit createWin(web);
    return web;
}
