#pragma once
// The embedded browser of the client's web pages: dark while it loads, shows the program's own error page where a load
// fails, its questions in the client's own dialogs; what it can't show is offered as a download. Pages stay among web
// addresses: a mail address that is clicked goes to the system, others nowhere. Main thread.
#include <functional>
#include <QPointer>
#include <QWebPage>
#include <QWebView>

class WebPage : public QWebPage
{
    Q_OBJECT
public:
    explicit WebPage(QWidget *parent);
    static QUrl errorPage(); // "<program directory>/web/loadError.html"
    QUrl failedUrl() const { return m_failed; }
    bool failed() const; // the error page stands
    // Asked before the page goes to an address; false: it doesn't. For windows whose first address decides.
    void setGate(std::function<bool(const QUrl &address)> gate) { m_gate = std::move(gate); }

    bool asking() const { return m_asking; } // a question of its script is open, the script waits below it
    void orphan() { m_orphan = true; }       // the view goes as soon as that has ended; nothing more is asked

    // Saving, printing and inspecting by the browser's own means are left out; loading again leads back to what failed.
    void triggerAction(WebAction action, bool checked = false) override;
    QWebPage *createWindow(WebWindowType type) override;

signals:
    void createWin(QWebView *web); // for a link with a window of its own; without a taker it's gone

protected:
    bool acceptNavigationRequest(QWebFrame *frame, const QNetworkRequest &request, NavigationType type) override;
    bool supportsExtension(Extension extension) const override;
    bool extension(Extension extension, const ExtensionOption *option, ExtensionReturn *output) override;
    void javaScriptAlert(QWebFrame *frame, const QString &text) override;
    bool javaScriptConfirm(QWebFrame *frame, const QString &text) override;
    bool javaScriptPrompt(QWebFrame *, const QString &, const QString &, QString *) override { return false; }

private:
    QWidget *m_over;
    QPointer<QWidget> m_alert;
    QUrl m_failed;
    bool m_asking = false, m_orphan = false;
    std::function<bool(const QUrl &)> m_gate;
};

class WebView : public QWebView
{
    Q_OBJECT
public:
    explicit WebView(QWidget *parent = nullptr);
    ~WebView() override;
    using Allowed = std::function<bool(const QUrl &address)>;
    // The main frame's script sees the invokable methods of object under name, and nothing else of it, in pages whose
    // address is allowed; the program's own error page sees the two that it needs. Decided anew before the first script
    // of each page.
    void expose(const QString &name, QObject *object, Allowed allowed);
    WebPage *webPage() const { return m_page; }
    void end();                          // deletes it, as soon as no script waits for an answer
    void click(const QString &selector); // as the user would, on the first element that the selector finds

signals:
    void createWin(QWebView *web);

public slots:
    void loadStart();
    void loadFinish();
    void reloadFailed(); // the page that the error page stands for

protected:
    QWebView *createWindow(QWebPage::WebWindowType type) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    WebPage *m_page;
};
