#pragma once
// "任务详情" and "操作记录" of a task: a text that is asked for when the dialog opens, to be read and copied. Main
// thread; they delete themselves.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/ServerCall.h"

class QPlainTextEdit;

class MissionText : public DialogFrame
{
    Q_OBJECT
public:
    static MissionText *detail(QWidget *over, const QString &task, const QString &name);
    static MissionText *operations(QWidget *over, const QString &task, const QString &name);
    QString text() const;

private:
    using Read = std::function<QString(const QJsonObject &reply)>; // empty: there is nothing
    MissionText(QWidget *over, const QString &title, const QString &name, int cmd, const QString &task, Read read);
    void ask();

    int m_cmd;
    QString m_task;
    Read m_read;
    QPlainTextEdit *m_text;
};
