#include "slurm/ClusterText.h"
#include <QDateTime>
#include <QStringList>

namespace farm
{

namespace
{
constexpr int maxPlaces = 4000001; // no array of Slurm is larger

qint64 msOf(const QString &time)
{
    const QDateTime at = QDateTime::fromString(time, Qt::ISODate);
    return at.isValid() ? at.toMSecsSinceEpoch() : 0;
}
} // namespace

const char *const QueueFormat = "%F|%K|%T|%N|%j";

QVector<int> placesOf(const QString &text)
{
    QVector<int> places;
    for (const QString &term : text.section(QLatin1Char('%'), 0, 0).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        bool good = false, goodEnd = true;
        const int first = term.section(QLatin1Char('-'), 0, 0).toInt(&good);
        const QString rest = term.section(QLatin1Char('-'), 1);
        const int last = rest.isEmpty() ? first : rest.section(QLatin1Char(':'), 0, 0).toInt(&goodEnd);
        const int step = qMax(1, rest.section(QLatin1Char(':'), 1).toInt());
        for (int i = first; good && goodEnd && first >= 0 && i <= last && places.size() < maxPlaces; i += step)
            places += i;
    }
    return places;
}

QString placesText(const QVector<int> &places)
{
    QStringList words;
    for (int i = 0; i < places.size();) {
        int end = i;
        while (end + 1 < places.size() && places.at(end + 1) == places.at(end) + 1)
            ++end;
        words +=
            i == end ? QString::number(places.at(i)) : QStringLiteral("%1-%2").arg(places.at(i)).arg(places.at(end));
        i = end + 1;
    }
    return words.join(QLatin1Char(','));
}

QList<QueueLine> queueLines(const QString &text)
{
    QList<QueueLine> lines;
    for (const QString &one : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList words = one.trimmed().split(QLatin1Char('|'));
        if (words.size() != 5 || words.at(0).toLongLong() <= 0)
            continue;
        QueueLine line;
        line.job = words.at(0).toLongLong();
        line.places = placesOf(words.at(1));
        line.state = words.at(2);
        line.node = words.at(3);
        line.name = words.at(4);
        lines += line;
    }
    return lines;
}

bool endLine(const QString &line, EndLine *end)
{
    QHash<QString, QString> by;
    for (const QString &word : line.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const int at = word.indexOf(QLatin1Char('='));
        if (at > 0)
            by.insert(word.left(at), word.mid(at + 1));
    }
    bool job = false, place = false, code = false;
    end->job = by.value(QStringLiteral("ArrayJobId")).toLongLong(&job);
    end->place = by.value(QStringLiteral("ArrayTaskId")).toInt(&place);
    end->exitCode = by.value(QStringLiteral("ExitCode")).section(QLatin1Char(':'), 0, 0).toInt(&code);
    end->name = by.value(QStringLiteral("Name"));
    end->state = by.value(QStringLiteral("JobState"));
    end->node = by.value(QStringLiteral("NodeList"));
    end->startMs = msOf(by.value(QStringLiteral("StartTime")));
    end->endMs = msOf(by.value(QStringLiteral("EndTime")));
    return job && place && code && end->place >= 0 && !end->state.isEmpty();
}

QString configValue(const QString &text, const QString &key)
{
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (line.section(QLatin1Char('='), 0, 0).trimmed() == key)
            return line.section(QLatin1Char('='), 1).trimmed();
    }
    return {};
}

} // namespace farm
