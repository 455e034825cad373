#pragma once
// The order of a list that may still grow: rows are numbered as they come, order() has the numbers as they're to stand.
// Folders stand before files, numbers in names count as numbers. Holds of a row what it's sorted by, not the row. A
// value, one thread at a time; a long list takes long: off the window's thread.
#include "view/driver/FolderRows.h"
#include <QCollator>
#include <vector>

struct DriveSort {
    enum Column { Name, Time, Kind, Size };
    int column = Name;
    bool down = false;
    bool operator==(const DriveSort &other) const { return column == other.column && down == other.down; }
};

class DriveOrder
{
public:
    explicit DriveOrder(const DriveSort &by = {});
    void add(const QVector<FileView> &rows);
    void add(const FolderRows &rows);
    void resort(const DriveSort &by);
    const DriveSort &by() const { return m_by; }
    const QVector<int> &order() const { return m_order; }
    static QVector<int> of(const FolderRows &rows, const DriveSort &by);

private:
    struct Key {
        QString name, kind; // kind: the ending, or the order number
        qlonglong time, size;
        bool folder;
    };
    template <class Names> bool before(int a, int b, const Names &names) const;
    const Key &key(int row) const { return m_keys[std::size_t(row)]; }
    void hold(const QVector<FileView> &rows);
    void merge(int from); // those from this number on are new

    DriveSort m_by;
    QCollator m_collator;
    std::vector<Key> m_keys;
    QVector<int> m_order;
};
