#include "common/ui/WebView.h"
#include "common/ui/Palette.h"
#include "common/UserInfo.h"
#include <QDebug>
#include <QFile>
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

void WebView::expose(const QString &name, QObject *object)
{
    connect(m_page->mainFrame(), &QWebFrame::javaScriptWindowObjectCleared, object,
            [this, name, object] { m_page->mainFrame()->addToJavaScriptWindowObject(name, object); });
    m_page->mainFrame()->addToJavaScriptWindowObject(name, object);
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
