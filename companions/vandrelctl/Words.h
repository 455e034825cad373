#pragma once
// The words of the command line: what help tells, what completion offers, and what they mean. Values.
#include <QMap>
#include <QString>
#include <QStringList>

// How the program ends.
enum class Exit { Good = 0, Refused = 1, BadWords = 2, NoClient = 3, WorkFailed = 4, TimeOver = 5 };

struct Words {
    QString command;
    QStringList values;             // what isn't an option
    QMap<QString, QString> options; // "--name" and "--name=value" or "--name value"; a flag's value is empty
    QString wrong;                  // not empty: what isn't understood

    bool has(const QString &name) const { return options.contains(name); }
    QString option(const QString &name) const { return options.value(name); }

    static Words of(const QStringList &arguments);
    static QString help();
    static QString completion(); // for bash
};
