#pragma once
// The rows of one page of the analysis store, as the table shows them. Holds no truth: the store's signals change rows
// in place, a reload brings in and takes out rows without a reset. Main thread; owned by the page.
#include "db/Records.h"
#include <QAbstractTableModel>
#include <QSet>

class ResolveModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Tick, Order, Name, Project, Time, Progress, State, Hand, ColumnCount };
    // Column 0: rkey, missionid. Column State: the state. KeyRole: the rkey in every column.
    enum Role { KeyRole0 = Qt::UserRole, MissionRole0, StateRole = Qt::UserRole, KeyRole = Qt::UserRole + 10 };
    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    void setRows(const QList<db_resolve> &rows);
    void orderChanged(const db_resolve &res);
    void stateChanged(const db_resolve &res);
    void upProgress(qlonglong rkey, int ok, int sum);
    void rightsChanged(); // buttons anew

    db_resolve row(qlonglong rkey) const; // rkey 0: not on this page
    int rowOf(qlonglong rkey) const;      // -1: not on this page
    QList<qlonglong> ticked() const;      // in the order of the rows
    void tickAll(bool on);
    void tick(const QList<qlonglong> &keys, bool on);
    Qt::CheckState tickState() const; // of the head's box

signals:
    void ticksChanged();

private:
    QVariant text(const db_resolve &res, int column) const;
    void changed(int row, int first, int last);

    QList<db_resolve> m_rows;
    QSet<qlonglong> m_ticked;
};
