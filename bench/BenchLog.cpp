// The log of an analysis with many dependencies, read as the client reads it, against Python's json on the same bytes.
#include "Bench.h"
#include "resolve/LogParser.h"
#include <algorithm>
#include <cstdio>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>

namespace
{
// Its own clock, so that the interpreter's start doesn't count.
const char script[] = "import json, sys, time\n"
                      "best = 1e9\n"
                      "for turn in range(5):\n"
                      "    start = time.perf_counter()\n"
                      "    text = open(sys.argv[1], encoding='utf-8').read()\n"
                      "    at = text.index('Vandrel Info:') + 13\n"
                      "    json.loads(text[at:text.index('Vandrel Debug:', at)])\n"
                      "    best = min(best, time.perf_counter() - start)\n"
                      "print(best)\n";

double python(const QString &log)
{
    QProcess process;
    process.start(QStringLiteral("python3"), {QStringLiteral("-c"), QString::fromLatin1(script), log});
    return process.waitForFinished(120000) ? process.readAllStandardOutput().trimmed().toDouble() : -1;
}
} // namespace

bool bench::log(const Options &options, const QString &folder)
{
    const QString path = folder + QStringLiteral("/resolve.txt");
    QJsonArray files;
    for (int i = 0; i < options.rows; ++i)
        files.append(QStringLiteral("/project/textures/library/material_%1/colour_%1.1001.tif").arg(i));
    const QJsonObject content{{QStringLiteral("files"), files}, {QStringLiteral("modelParameters"), QJsonObject()}};
    if (!LogParser::write(path, {{QStringLiteral("status"), 0}, {QStringLiteral("content"), content}}, false))
        return false;
    double best = 1e9;
    for (int turn = 0; turn < 5; ++turn) {
        QElapsedTimer clock;
        clock.start();
        if (LogParser::read(path, 1, QStringLiteral("/project/scene.mb")).files.size() < options.rows)
            return false;
        best = std::min(best, double(clock.nsecsElapsed()) / 1e9);
    }
    const double theirs = python(path);
    if (theirs <= 0)
        return false;
    line(QStringLiteral("log of %1 files").arg(options.rows), options.rows / best / 1000, QStringLiteral("k/s"),
         QStringLiteral("python json"), options.rows / theirs / 1000, 1.0);
    return true;
}
