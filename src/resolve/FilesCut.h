#pragma once
// Takes the list of files out of a result before it is parsed: scenes name a hundred thousand files, and the list is only
// ever kept as text. One pass over the bytes; what it can't vouch for (anything but a list of plain strings) is left to
// the ordinary parser. Any thread.
#include <QByteArray>

struct FilesCut {
    bool good = false;
    QByteArray rest; // the result with an empty list of files
    QByteArray list; // "a","b","c": without brackets and blanks, escapes as they came

    // content.files of an object. lead: strings put before them; the first file is left out where it is among them.
    static FilesCut from(const QByteArray &json, const QByteArray &lead = {});
};
