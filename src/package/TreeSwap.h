#pragma once
// Puts a new program tree in the place of an old one, so that a program stands there at every moment, whatever ends
// this process or the machine. Beside the tree NAME, in the same folder: NAME.new (being made, or made and complete),
// NAME.old (what stood there before) and NAME.update.json (how far it is; replaced as a whole). One process at a time:
// the caller holds a lock.
//
//   nothing --prepare--> making --all synced--> ready --swap--> trial --passed--> clearing (the old tree goes) -->
//   nothing
//                                           trial --back, or too many starts--> clearing (the new tree goes) -->
//                                           nothing
// Folders of these names are only ever touched while the record says that they're ours.
//
// Where the system can swap two names at once the swap is that; elsewhere it's two renames, and recover() by whoever
// comes first (this program at the next log-on) ends what was begun between them.
#include "package/Package.h"

class TreeSwap
{
public:
    explicit TreeSwap(const QString &tree); // absolute, without a slash at its end
    enum State { Nothing, Making, Ready, Trial, Clearing };

    bool recover(); // first of all, always: finishes or takes back what was cut short
    State state() const { return m_state; }
    QString version() const { return m_version; } // of the tree that is being made or tried
    int starts() const { return m_starts; }
    // Versions that didn't start here; they aren't taken again.
    bool refused(const QString &version) const { return m_refused == version; }

    QString installed() const; // version by the manifest in the tree; empty: none
    // Makes NAME.new from the package and from those files of the tree that the tree's own manifest doesn't name.
    bool prepare(Package *package);
    bool swap();
    // In trial. The program counts its starts before it does anything else; false: it was started MostStarts times and
    // never came up, and there is an earlier one to go back to. elsewhere: a file of this user's that keeps the count
    // where the record beside the tree can't be written; empty for none.
    static constexpr int MostStarts = 3;
    bool countStart(const QString &elsewhere = {});
    bool passed(const QString &elsewhere = {});
    bool back();
    QString why() const { return m_why; }

private:
    bool make(Package *package);
    bool clear();
    int countElsewhere(const QString &file, bool passed); // starts of this version by that file; -1: it has come up
    bool save(State state);
    bool load();
    bool fail(const QString &words);
    bool carryOver(const Manifest &next);
    QString versionIn(const QString &tree) const;
    bool complete() const; // NAME.new holds the whole of m_version

    QString m_tree, m_new, m_old, m_file, m_why;
    State m_state = Nothing;
    QString m_version, m_refused;
    int m_starts = 0;
};
