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
    QList<int> ordered;             // sorted: frames that there will be, where somebody knows; else those between

    static FrameSequence of(const QString &file); // with the other frames beside it; alone where it has no number
    static constexpr int MostFrames = 100000;     // of a series with wild numbers
    int first() const;
    int last() const;
    // What there is and what is missing, sorted, each once.
    QList<int> numbers() const;
    QList<int> missing() const;                     // at most MostFrames
    bool isBeside(const FrameSequence &other) const // of the same series
    {
        return folder == other.folder && prefix == other.prefix && suffix == other.suffix && digits > 0;
    }
    static QString firstPicture(const QString &folder); // by name, in it or below; links aren't followed; empty: none
    static bool isPicture(const QString &name);
};
