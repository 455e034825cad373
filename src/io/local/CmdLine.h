#pragma once
// The command of a local request, taken apart. Two forms, as values:
//
//   from the socket   /path?key=value&key=value        with the body beside it
//   from within       word word -key=value&key=value -post=BODY   the words make the path: /word/word
//
// "//" in the path counts as "/"; a leading "/readable" asks for indented JSON. Names and values of the socket's form
// are percent-encoded UTF-8.
#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

struct CmdLine {
    static constexpr int MaxList = 1000; // entries of a list argument, ranges counted out

    QString path;
    QList<QPair<QString, QString>> args;
    QByteArray body;
    bool readable = false;

    static CmdLine fromTarget(const QString &target, const QByteArray &body);
    static CmdLine fromWords(const QString &words);

    QString arg(const QString &key, const QString &fallback = {}) const;
    bool has(const QString &key) const;
    // "one" or "many": the entries of one=A and many=A,B,C together; an entry "x=A" counts as "A".
    QStringList list(const QString &one, const QString &many) const;
    // The same for numbers, where "3-6" counts as 3,4,5,6. What isn't a number from 0 on is left out; more than MaxList
    // entries make the list empty and set *tooLong.
    QList<qlonglong> numbers(const QString &one, const QString &many, bool *tooLong) const;
};
