#pragma once
// "路径规则": the folders below the result folder that each task's results get, put together by ticks. Main thread;
// deletes itself when closed.
#include "common/ui/kit/DialogFrame.h"

class QCheckBox;

class ResultRule : public DialogFrame
{
    Q_OBJECT
public:
    ResultRule(const QString &rule, QWidget *parent); // tokens of the rule are ticked, what else it says is lost

signals:
    void resultRule(QString rule); // the chosen tokens; empty: none

private:
    QString chosen() const;
    void follow();
    QVector<QPair<QString, QCheckBox *>> m_boxes; // token, in the order of the folders
    QLabel *m_example;
};
