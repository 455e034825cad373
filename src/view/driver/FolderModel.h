#pragma once
// What lies in the folder that is open, or what a search found: rows in their order, shown in pieces, so that a folder
// of a hundred thousand entries neither opens nor sorts in one long step. A list that is read again changes in place
// where it's short; what is selected and seen stays. Main thread; owned by the farm's page.
#include "view/driver/FileView.h"
#include <QAbstractTableModel>
#include <QSet>
#include <QTimer>

class FolderModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Name, Time, Kind, Size, Columns }; // Kind: of results the order number
    enum Role { IdRole = Qt::UserRole + 1 };
    static constexpr int Piece = 5000; // rows that come in one step

    explicit FolderModel(QObject *parent = nullptr);
    void open(int fileType); // empties it for another list
    // The whole list anew, sorted by column() already.
    void setRows(const QVector<FileView> &rows);
    const QVector<FileView> &rows() const { return m_rows; } // all, also those that aren't shown yet
    bool filling() const { return m_shown < m_rows.size(); }

    int column() const { return m_column; } // sorted by
    bool down() const { return m_down; }
    void setOrdered(const QVector<FileView> &rows, int column, bool down); // the same rows, sorted elsewhere

    const FileView &at(int row) const { return m_rows.at(row); }
    const FileView *entry(const QString &id) const;
    QModelIndex indexOf(const QString &id, int column = Name) const; // invalid: not there, or not shown yet
    bool taken(const QString &name) const;
    int next(const QString &typed, int from) const; // row whose name begins so, from there on and round; -1: none

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

private:
    void fill();
    bool patch(const QVector<FileView> &rows); // in place; false: too much differs
    void changed(int row);
    int rowOf(const QString &id) const;

    QVector<FileView> m_rows;
    int m_shown = 0, m_fileType = 1, m_column = Name;
    bool m_down = false;
    QTimer m_filling;
};
