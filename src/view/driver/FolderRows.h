#pragma once
// Rows of a list in the order they came, in blocks, so that it grows without ever being moved as a whole, a copy costs
// nothing, and changing a row of a copy costs one block. A value; copies may be used on other threads.
#include "view/driver/FileView.h"
#include <QVector>
#include <vector>

class FolderRows
{
public:
    static constexpr int Block = 4096;
    int size() const { return int(m_hashes.size()); }
    const FileView &at(int number) const { return m_blocks.at(number / Block).at(number % Block); }
    FileView &operator[](int number) { return m_blocks[number / Block][number % Block]; }
    uint hash(int number) const { return m_hashes[std::size_t(number)]; } // of its id
    const QVector<QVector<FileView>> &blocks() const { return m_blocks; }

    void append(const QVector<FileView> &rows)
    {
        if (m_hashes.capacity() < m_hashes.size() + std::size_t(rows.size()))
            m_hashes.reserve((m_hashes.size() + std::size_t(rows.size())) * 2);
        for (const FileView &row : rows) {
            if (size() % Block == 0) {
                m_blocks.append(QVector<FileView>());
                m_blocks.last().reserve(qMin(Block, qMax(rows.size(), 16)));
            }
            m_blocks.last().append(row);
            m_hashes.push_back(qHash(row.id));
        }
    }

private:
    QVector<QVector<FileView>> m_blocks;
    std::vector<uint> m_hashes;
};
