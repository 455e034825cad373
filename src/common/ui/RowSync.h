#pragma once
// Brings the rows of a list model to a new list without a reset: rows that stay are updated where they stand, so that
// selection, scroll position and open branches survive. The model passes in how to compare, remove, move, insert and
// update; positions are within one parent. Pure but for those calls.
#include <functional>
#include <QList>

struct RowSync {
    std::function<int()> count;
    std::function<bool(int row, int wanted)> same; // does row hold the wanted one (index into the new list)?
    std::function<bool(int row)> wantedAnywhere;   // is row part of the new list?
    std::function<void(int row)> remove;
    std::function<void(int from, int to)> move; // to < from
    std::function<void(int row, int wanted)> insert;
    std::function<void(int row, int wanted)> update;

    void run(int size) const
    {
        for (int row = count() - 1; row >= 0; --row)
            if (!wantedAnywhere(row))
                remove(row);
        for (int i = 0; i < size; ++i) {
            int at = i;
            while (at < count() && !same(at, i))
                ++at;
            if (at >= count()) {
                insert(i, i);
                continue;
            }
            if (at != i)
                move(at, i);
            update(i, i);
        }
    }
};
