#pragma once
// The faults that the farm commits on demand. A fault is a name with a value; "VALUE@COUNT" lets it happen COUNT times
// and then clears it, otherwise it happens until it is cleared. Safe to use from any thread.
// Names that go with a command take it as a suffix: "refuse.10400=1040006@1" answers the next 10400 with that code.
#include <QMap>
#include <QMutex>
#include <QString>
#include <QStringList>

class FarmFaults
{
public:
    // False for a name that isn't known. An empty value clears the fault.
    bool set(const QString &name, const QString &value);
    bool set(const QString &nameIsValue); // "NAME=VALUE"
    void clear();

    // The value if the fault is set, counting one happening; a null string otherwise.
    QString take(const QString &name);
    QString peek(const QString &name) const; // without counting
    bool happens(const QString &name) { return !take(name).isNull(); }
    qint64 number(const QString &name, qint64 fallback = -1); // take() as a number
    int happened(const QString &name) const;                  // how often it did

    static QStringList help(); // "NAME=VALUE  what it does", one line a fault

private:
    struct Fault {
        QString value;
        int left = -1;
    };
    mutable QMutex m_mutex;
    QMap<QString, Fault> m_faults;
    QMap<QString, int> m_happened;
};
