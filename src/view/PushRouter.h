#pragma once
// The way of the server's pushes to those who handle them: a page subscribes to a command while it lives. Results of
// the farm (10413) go to the download queue, in their order, and wait here until it stands. Main thread; owned by
// Shell.
#include <functional>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QTimer>

class PushRouter : public QObject
{
    Q_OBJECT
public:
    using Take = std::function<void(int val, const QJsonObject &obj)>;
    explicit PushRouter(QObject *parent = nullptr);
    // take() gets every push of cmd while guard lives; an empty object where its body isn't one.
    void on(int cmd, QObject *guard, Take take);

public slots:
    void bsPush(int val, QJsonDocument doc, int cmd);
    void sendResults(); // what waits; again by itself until the download queue takes it

private:
    struct Ear {
        QPointer<QObject> guard;
        Take take;
    };
    QMultiHash<int, Ear> m_ears;
    QList<QJsonObject> m_results;
    QTimer m_again;
};
