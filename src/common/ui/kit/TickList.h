#pragma once
// A list to choose from: ticks, search, all and none (of what the search shows), for hundreds of rows. What a search
// hides keeps its tick. Rows are named by keys. Main thread.
#include "common/ui/kit/RecordModel.h"
#include <QWidget>

class TablePage;

struct TickRow {
    QString key;
    QStringList cells; // beside the tick
    bool operator==(const TickRow &other) const { return key == other.key && cells == other.cells; }
};

class TickList : public QWidget
{
    Q_OBJECT
public:
    struct Head {
        QString title;
        int width = 0; // 0: takes what is left
    };
    TickList(const QString &name, const QString &accessible, const QVector<Head> &heads, QWidget *parent = nullptr);
    void setRows(const QList<TickRow> &rows, const QStringList &ticked); // emits no ticked...()
    void setCells(const QHash<QString, QStringList> &cells);             // of these rows, all in one step
    QStringList ticked() const;                                          // in the order of the rows
    void setTicked(const QStringList &keys);
    bool isTicked(const QString &key) const { return m_on.contains(key); }
    QStringList selected() const;
    void select(const QStringList &keys);
    TablePage *page() const { return m_page; }

signals:
    void ticksChanged(QStringList keys); // whose tick came or went
    void selectionMoved();

private:
    void show(const QString &search);
    void follow();

    RecordModel<TickRow> *m_model;
    TablePage *m_page;
    QList<TickRow> m_rows;
    QSet<QString> m_on;
    bool m_quiet = false;
};
