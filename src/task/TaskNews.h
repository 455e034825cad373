#pragma once
// Tasks that are over, as the server's push tells: gathered, so that a note comes at most once a second, whatever the
// burst. Main thread.
#include <QJsonObject>
#include <QObject>
#include <QTimer>

class TaskNews : public QObject
{
    Q_OBJECT
public:
    static constexpr int SpacingMs = 1000;
    explicit TaskNews(int spacingMs = SpacingMs, QObject *parent = nullptr);
    void over(const QJsonObject &task); // the push's body

signals:
    // failed: one of them at least. ids: in their order, each once.
    void note(QString title, QString text, bool failed, QStringList ids);

private:
    struct One {
        QString id, name;
        enum End { Done, Failed, Cancelled } end;
    };
    void tell();
    QList<One> m_waiting;
    QTimer m_timer; // runs while nothing may be told
};
