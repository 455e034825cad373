#pragma once
// Takes the list of files out of a result before it is parsed: scenes name a hundred thousand files, and the list is
// only ever kept as text. One pass over the bytes by a streaming parser, up to the list's end; what it can't vouch for
// (anything but a list of plain strings) is left to the ordinary parser. Any thread.
#include <QByteArray>
#include <QString>

struct FilesCut {
    bool good = false;
    QByteArray rest; // the result with an empty list of files
    QString list;    // lead, then "a","b","c": without brackets and blanks

    // content.files of an object. first: a path that comes before the others, left out where it leads them already.
    static FilesCut from(const QByteArray &json, const QString &lead = {}, const QString &first = {});
};
