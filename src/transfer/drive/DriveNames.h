#pragma once
// Names between a drive and this machine. Pure but for DriveExclude's settings; any thread.
#include <QHash>
#include <QList>
#include <QRegularExpression>
#include <QSet>
#include <QString>

// The names that the entries of one folder of the drive get on this disk. What this system can store stays as it is;
// on Windows what it can't is made safe (as results are, see ResultPath::safeName, but for a leading dot). Two names
// that fall on one here: the second gets " (2)".
class LocalNames
{
public:
    explicit LocalNames(const QStringList &all); // of the folder: temporary files mustn't meet one of them
    QString take(const QString &name);
    static QString numbered(const QString &name, int number); // "a (2).txt"
    static QString fold(const QString &name);                 // alike for names that are one to this system's disks

private:
    QSet<QString> m_taken, m_all;
};

// A name of this machine as the drive takes it: without what the drive refuses in names (\ / : * ? " < > | and control
// characters).
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
