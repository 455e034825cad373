#pragma once
// What the client's own web pages see under the name "WebTool". Main thread; owned by the page that shows them.
#include <QObject>
#include <QString>

class WebTool : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    Q_INVOKABLE int appLang(); // 0 Chinese, 1 English
    Q_INVOKABLE QString accessToken();
    Q_INVOKABLE void openLocalDir(QString relativePath); // below the result folder; paths that leave it are refused
    Q_INVOKABLE void clipboard(QString text);
    Q_INVOKABLE void reLogin();
    Q_INVOKABLE void reloadErrorPage();
    Q_INVOKABLE void openUrl(QString url); // web and mail addresses only, in the system's browser

signals:
    void reLoginAsked();
    void reloadAsked();
};
