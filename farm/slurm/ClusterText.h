#pragma once
// What Slurm's programs write, as values. Plain functions; lines that don't fit are passed over.
#include <QHash>
#include <QList>
#include <QString>
#include <QVector>

namespace farm
{

// squeue -o "%F|%K|%T|%N|%j": a line a running frame, one for all that wait of an array, as "0-4,6%2".
struct QueueLine {
    qint64 job = 0;
    QVector<int> places;
    QString state, node, name;
};
extern const char *const QueueFormat;
QList<QueueLine> queueLines(const QString &text);

// A line of the accounting of finished jobs.
struct EndLine {
    QString name, state, node;
    qint64 job = 0;
    int place = -1, exitCode = 0;
    qint64 startMs = 0, endMs = 0;
};
bool endLine(const QString &line, EndLine *end);

// "0-4,6%2" as numbers; numbers as "0-4,6".
QVector<int> placesOf(const QString &text);
QString placesText(const QVector<int> &places);

// The value of a line "Key = value" or "Key=value".
QString configValue(const QString &text, const QString &key);

} // namespace farm
