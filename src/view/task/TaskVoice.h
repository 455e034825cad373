#pragma once
// Says what became of tasks: of operations that nobody waits for any more (a note, or a message where one failed), and,
// where the account wants it, of tasks that are over, gathered so that a note comes at most once a second; in the
// window while it's in front, else as a note of the system. Main thread; owned by the page of live tasks.
#include "task/TaskDesk.h"
#include "task/TaskNews.h"
#include <QWidget>

class TaskVoice : public QObject
{
    Q_OBJECT
public:
    static constexpr int NoteMs = 2000, NewsMs = 8000;
    TaskVoice(TaskDesk *desk, QWidget *page);
    TaskNews *news() { return &m_news; }
    static bool wanted(); // notes of tasks that are over
    static void setWanted(bool on);

signals:
    void looked(QString id); // the user wants to see this task
    void somethingNew();

private:
    void told(const TaskOutcome &outcome);
    void over(const QString &title, const QString &text, const QStringList &ids);
    bool inFront() const;
    QWidget *m_page;
    TaskNews m_news;
};
