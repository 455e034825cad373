#pragma once
// What lies in the folder that is open, or what a search found. Rows are kept as they came and shown in an order of
// their numbers, which is worked out elsewhere (DriveOrder): a folder of a million entries opens in pieces, sorts and
// is read again without a long step, and what is selected and seen stays. Main thread; owned by the farm's page.
#include "view/driver/DriveOrder.h"
#include <functional>
#include <QAbstractTableModel>

class FolderModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Name, Time, Kind, Size, Columns }; // Kind: of results the order number
    enum Role { IdRole = Qt::UserRole + 1 };

    explicit FolderModel(QObject *parent = nullptr);
    void open(int fileType); // empties it for another list
    // A piece more; the order is that of all that came since open().
    void add(const QVector<FileView> &rows, const QVector<int> &order, const DriveSort &by);
    // The whole list read again: what is no longer in it goes.
    void setRows(const FolderRows &rows, const QVector<int> &order, const DriveSort &by);
    void setOrder(const QVector<int> &order, const DriveSort &by); // of the same rows
    const FolderRows &stock() const { return m_rows; }             // as they came, with those that were removed

    const DriveSort &by() const { return m_by; }
    const FileView &at(int row) const;
    const FileView *entry(const QString &id) const;
    QModelIndex indexOf(const QString &id, int column = Name) const; // invalid: not there
    bool taken(const QString &name) const;
    // The row whose name begins so, among so many from there on and round; -1: none.
    int next(const QString &typed, int from, int rows) const;

    void setPending(const QStringList &ids, const QString &text);
    void rename(const QString &id, const QString &name);
    void remove(const QStringList &ids);
    QModelIndex addNew(const QString &name, const QString &parent); // the row that is being named, at the top

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override; // tells named()
    void sort(int column, Qt::SortOrder order) override;                              // tells sortWanted()

signals:
    void named(QString id, QString name); // an edit ended
    void sortWanted(int column, bool down);
    void rowsChanged();
    void aboutToMerge(); // rows come or go between those that are seen: who shows them keeps its place
    void merged();

private:
    static constexpr int NewRow = -1, None = -2; // in the order: the row that is being named
    // renumbered: the numbers that old ones have now; none: the same.
    using Renumbered = std::function<QVector<int>(const QVector<int> &numbers)>;
    void arrange(const QVector<int> &order, const Renumbered &renumbered = {});
    QVector<int> kept(const QVector<int> &order) const;   // with the new row, without those that were removed
    QVector<int> numbersOf(const QStringList &ids) const; // of each, None where it isn't there
    int numberOf(const QString &id) const;
    int rowOf(int number) const;
    FileView &row(int number) { return number == NewRow ? m_new : m_rows[number]; }
    void changed(int row);

    FolderRows m_rows;
    QVector<int> m_order;
    QVector<bool> m_gone; // by number; empty: none was removed
    FileView m_new;
    bool m_naming = false;
    int m_shown = 0, m_fileType = 1;
    DriveSort m_by;
};
