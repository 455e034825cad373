#pragma once
// Which version of 3ds Max saved a scene, by the stamp byte at a fixed place of the file, and whether the chosen
// version can open it. Any thread.
//
//   year        offset            highest stamp
//   2010, 2011  0x3000            0x12, 0x13
//   2012        0x3000, 0x5000    0x14
//   2013..2020  0x5000            0x17 0x19 0x20 0x21 0x22 0x23 0x24 0x25
//   0x1F passes for 2010 to 2014 whatever the year.
#include <QString>

class MaxVersion
{
public:
    enum Failure { NotOpened = -1, NotRead = -2, UnknownYear = -3 };

    // The byte at the offset, 0 to 255, or a failure: a stamp that was really read is never taken for one.
    static int getByteInFile(const QString &path, qint64 offset);
    // "matched", or the number of an error as text: 10030 unknown year, 10031 too short, 10032 can't be opened, 10033
    // saved by another version.
    static QString isVersionMatched(const QString &year, const QString &path);
};
