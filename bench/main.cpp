// vnbench [--bytes N] [--rows N] [--seconds N] [--folder DIR] [name...]: runs the named benchmarks, or all of them.
#include "Bench.h"
#include <cstdio>
#include <QCommandLineParser>
#include <QCoreApplication>

namespace
{
struct Entry {
    const char *name;
    bool (*run)(const bench::Options &, const QString &);
};
const Entry entries[] = {
    {"md5", bench::md5},     {"zip", bench::zip}, {"upload", bench::upload}, {"download", bench::download},
    {"order", bench::order}, {"log", bench::log}, {"idle", bench::idleTick},
};
} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qputenv(name, home.path().toUtf8());
    QCoreApplication app(argc, argv);
    app.setApplicationName(QStringLiteral("VandrelQN"));
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type != QtDebugMsg && qEnvironmentVariableIsSet("VN_BENCH_LOG"))
            fprintf(stderr, "%s\n", qPrintable(text));
    });
    QCommandLineParser parser;
    parser.addOptions({{"bytes", "Size of the big file.", "n", "4294967296"},
                       {"rows", "Files of the big order.", "n", "100000"},
                       {"seconds", "How long an order is watched.", "n", "20"},
                       {"folder", "Where the files are made.", "dir", home.path()}});
    parser.addHelpOption();
    parser.process(app);
    bench::Options options;
    options.bytes = parser.value("bytes").toLongLong();
    options.rows = parser.value("rows").toInt();
    options.seconds = parser.value("seconds").toInt();
    int failed = 0;
    for (const Entry &entry : entries) {
        const QStringList wanted = parser.positionalArguments();
        if ((wanted.isEmpty() || wanted.contains(entry.name)) && !entry.run(options, parser.value("folder"))) {
            printf("%s: not measured\n", entry.name);
            ++failed;
        }
    }
    return failed;
}
