#pragma once
// The account's notices, page by page, (103, 10311). Main thread; deletes itself when closed.
#include "common/ui/BaseWidget.h"
#include <QJsonDocument>

class Pagination;
class QTableWidget;

class MsgCenter : public BaseWidget
{
    Q_OBJECT
public:
    explicit MsgCenter(QWidget *parent);
    void show(const QJsonDocument &reply);
    static QString typeText(int type);

private:
    void ask(int page);
    QTableWidget *m_table;
    Pagination *m_pages;
};
