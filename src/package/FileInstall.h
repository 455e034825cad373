#pragma once
// Brings a software package into a folder that others use too, file by file: all of them are written beside their
// places first, then renamed into them under a journal. What is cut short before the journal says "commit" is taken
// back, what is cut short after it is finished; recover() does either at the next start. One client at a time works in
// a folder, whosever journal it has: the others are told so.
#include "package/Package.h"

class QLockFile;

class FileInstall
{
public:
    // folder: where the files go. journal: a file of this software, in a folder that stays.
    FileInstall(const QString &folder, const QString &journal) : m_folder(folder), m_journal(journal) {}
    bool recover();
    bool install(Package *package);
    QString why() const { return m_why; }
    static QString lockFile(const QString &folder) { return folder + QStringLiteral("/software.update.lock"); }

private:
    bool alone(QLockFile *lock);
    bool mend();
    bool save(const QString &step, const QStringList &paths);
    bool commit(const QStringList &paths);
    bool clear(const QStringList &paths, const QString &suffix);
    bool fail(const QString &words);
    QString m_folder, m_journal, m_why;
};
