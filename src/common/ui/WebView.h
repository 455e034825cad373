#pragma once
// The embedded browser of the client's web pages: dark while it loads, opens new-window links in a view of its own, and
// shows the program's own error page where a load fails. Main thread.
#include <functional>
#include <QWebPage>
#include <QWebView>

class WebPage : public QWebPage
{
    Q_OBJECT
public:
    using QWebPage::QWebPage;
    static QUrl errorPage(); // "<program directory>/web/loadError.html"
    QUrl failedUrl() const { return m_failed; }

protected:
    bool supportsExtension(Extension extension) const override;
    bool extension(Extension extension, const ExtensionOption *option, ExtensionReturn *output) override;

private:
    QUrl m_failed;
};

class WebView : public QWebView
{
    Q_OBJECT
public:
    explicit WebView(QWidget *parent = nullptr);
    using Allowed = std::function<bool(const QUrl &address)>;
    // The main frame's script sees the invokable methods of object under name, and nothing else of it, in pages whose
    // address is allowed; the program's own error page sees the two that it needs. Decided anew before the first script
    // of each page.
    void expose(const QString &name, QObject *object, Allowed allowed);
    static bool sameOrigin(const QUrl &a, const QUrl &b); // scheme, host and port
    WebPage *webPage() const { return m_page; }

signals:
    void createWin(QWebView *web);

public slots:
    void reloadFailed(); // the page that the error page stands for

protected:
    QWebView *createWindow(QWebPage::WebWindowType type) override;

private:
    WebPage *m_page;
};
