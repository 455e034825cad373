#pragma once
// The account's notices, page by page, (103, 10311): read marks and removals go back by (103, 10313). Main thread;
// deletes itself when closed.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/RecordModel.h"
#include <QJsonDocument>

class QTableWidgetItem;
class TablePage;

struct Notice {
    QString id, type, content, time;
    bool read = false;
};

class MsgCenter : public DialogFrame
{
    Q_OBJECT
public:
    explicit MsgCenter(QWidget *parent);
    void show(const QJsonDocument &reply);
    static QString typeText(int type);
    TablePage *table() const { return m_table; }

public slots:
    void removeMsg(QString ids);
    void ignoreMsg(QList<int> idL);
    void on_del_clicked();
    void on_ignore_clicked();
    void on_prePage_clicked();
    void on_nextPage_clicked();

private:
    enum Change { Read = 1, Removed = 2 };
    void ask();
    void change(const QString &ids, Change what);

    RecordModel<Notice> *m_model;
    TablePage *m_table;
    int m_round = 0; // numbers the questions: a late answer for another page is dropped
};
