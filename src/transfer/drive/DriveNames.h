#pragma once
// Names between a drive and this machine. Pure but for DriveExclude's settings; any thread.
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <vector>

// Texts by 64 bits of each, so that a folder of a million names takes 16 MB. Two that differ are one with a chance of
// 1 in 30 million there; who asks gives such a name a number it wouldn't have needed.
class NameSet
{
public:
    bool insert(const QString &text); // false: it was in it
    bool contains(const QString &text) const;

private:
    static quint64 markOf(const QString &text);
    std::size_t slotOf(quint64 mark) const;
    void grow();
    std::vector<quint64> m_slots;
    std::size_t m_count = 0;
};

// The names that the entries of one folder of the drive get on this disk, in the order in which they're told. What the
// disk can store stays as it is; a name of more than 255 bytes is shortened, on Windows what can't be stored is made
// safe (as results are, see ResultPath::safeName, but for a leading dot). Two names that fall on one here: the second
// gets " (2)". The temporary files of one (".xtemp", ".vd") meet none of the others; folders have none.
class LocalNames
{
public:
    struct Rules {
        bool windows = false; // what can be stored
        bool fold = false;    // names that differ only in case, or in how they're composed, are one
        static Rules ofSystem();
        static Rules ofFolder(const QString &folder); // which stands
    };
    explicit LocalNames(Rules rules = Rules::ofSystem()) : m_rules(rules) {}
    QString take(const QString &name, bool folder = false);
    static QString numbered(const QString &name, int number); // "a (2).txt", of at most 255 bytes

private:
    QString fold(const QString &name) const;
    bool isFree(const QString &name, bool folder) const;
    const Rules m_rules;
    NameSet m_taken, m_files;
};

// A name of this machine as the drive takes it: without what the drive refuses in names (\ / : * ? " < > |), and
// without bytes that are no text.
QString driveName(const QString &localName);

// What transfers of folders leave out; what was chosen itself always goes.
class DriveExclude
{
public:
    explicit DriveExclude(const QString &patterns); // as in the settings
    static DriveExclude ofSettings();
    bool leavesOut(const QString &name, bool folder) const;

private:
    QList<QPair<QRegularExpression, bool>> m_patterns; // second: folders only
};
