#pragma once
// A file that a web page offers: asks, then writes it into the user's download folder under a name that is free there,
// and tells what became of it. The name is the page's as far as it's only a name; a file that isn't whole is removed.
// Main thread, the disk elsewhere; belongs to the reply, which it ends.
#include <memory>
#include <QNetworkReply>
#include <QPointer>

class QWidget;

class WebDownload : public QObject
{
    Q_OBJECT
public:
    static void offer(QNetworkReply *reply, QWidget *over);
    // What a file may be called: "Content-Disposition", else the address; nothing of a path, a device or a hidden file.
    static QString fileName(const QByteArray &disposition, const QUrl &url);
    ~WebDownload() override;

private:
    struct Target;
    WebDownload(QNetworkReply *reply, QWidget *over);
    void start(const QString &folder);
    void take();
    void written(const QString &error);
    void finish();
    void fail(const QString &why);

    QNetworkReply *m_reply;
    QPointer<QWidget> m_over;
    QString m_name;
    std::shared_ptr<Target> m_target; // null until the user has agreed
    bool m_writing = false;
};
