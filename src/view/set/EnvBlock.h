#pragma once
// The environments of one project for one software, a row each, and what can be done with them. It shows and asks; the
// owner does. Main thread.
#include "common/ui/kit/RecordModel.h"
#include <QJsonArray>
#include <QJsonObject>
#include <QWidget>

class TablePage;

class EnvBlock : public QWidget
{
    Q_OBJECT
public:
    explicit EnvBlock(QWidget *parent);
    void setRows(const QJsonArray &combos);
    TablePage *table() const { return m_table; }

signals:
    void add();
    void edit(QJsonObject env);
    void makeDefault(QJsonObject env);
    void remove(QJsonObject env);
    void refresh();

private:
    RecordModel<QJsonObject> *m_model;
    TablePage *m_table;
};
