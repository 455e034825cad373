#pragma once
// The folders of this machine that results may be written below: the user's result folder, what an order of this
// machine carried, what the user confirmed in a box. A server only wishes for a place; without one of these it gets
// none. Kept in a file of the account's folder, resultRoots.json, written before add() returns. Any thread.
#include <QString>

class ResultRoots
{
public:
    static bool knows(const QString &root);
    static bool add(const QString &root); // full path of a folder; false: not kept for the next start (logged)
    // The longest known folder that target lies below; empty when there is none.
    static QString of(const QString &target);

    static constexpr int Most = 5000; // beyond it the oldest go
};
