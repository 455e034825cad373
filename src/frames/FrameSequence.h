#pragma once
// The frames of one picture series on disk, by the number in their names: "shot.0007.exr". A series is what differs in
// the last run of digits before the ending and nowhere else. Values; of() lists a folder and belongs off the window's
// thread.
#include <QMap>
#include <QString>

struct FrameSequence {
    QString folder, prefix, suffix; // name: prefix + number + suffix
    int digits = 0;                 // as written
    QMap<int, QString> files;       // number -> path

    static FrameSequence of(const QString &file); // with the other frames beside it; alone where it has no number
    int first() const { return files.isEmpty() ? 0 : files.firstKey(); }
    int last() const { return files.isEmpty() ? 0 : files.lastKey(); }
    QList<int> missing() const;                         // between first and last; at most 100,000
    static QString firstPicture(const QString &folder); // by name, in it or below; links aren't followed; empty: none
    static bool isPicture(const QString &name);
};
