// The local farm as a program. localfarm --help tells what it offers.
#include "Farm.h"
#include "slurm/JobFile.h"
#include <csignal>
#include <cstdio>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QTimer>

namespace
{
volatile std::sig_atomic_t told = 0;

void onSignal(int) { told = 1; }

void help(const QCommandLineParser &parser)
{
    QString text = parser.helpText();
    text += QStringLiteral("\nThe farm listens on a loopback address only. Clients reach the business server on port "
                           "29909, the rest is told to "
                           "them.\nThe web port answers the login page (/xclient/loginPage?version=qn), the update "
                           "check and the client's REST "
                           "calls, and for tests\n/farm/state, /farm/fault?name=NAME&value=VALUE (name=clear clears "
                           "all), /farm/kick?reason=N, /farm/drop,\n"
                           "/farm/balance?value=N, /farm/rotate (tokens), /farm/notice?content=TEXT,\n"
                           "/farm/drive?farm=N (see farm/drive/Drive.h).\n"
                           "The folder holds the database farm.db, uploaded files by content in store/, unfinished "
                           "ones in incoming/, frames in "
                           "results/.\n\nFaults; VALUE@COUNT lets one happen COUNT times:\n");
    for (const QString &line : FarmFaults::help())
        text += QStringLiteral("  ") + line + QLatin1Char('\n');
    std::fputs(qPrintable(text), stdout);
}

bool number(const QCommandLineParser &parser, const QString &name, int *value)
{
    bool good = true;
    if (parser.isSet(name))
        *value = parser.value(name).toInt(&good);
    if (!good || *value < 0 || *value > 65535)
        std::fprintf(stderr, "--%s: not a port or count: %s\n", qPrintable(name), qPrintable(parser.value(name)));
    return good && *value >= 0 && *value <= 65535;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && QByteArray(argv[1]) == "--render-frame") { // a node of a cluster
        QCoreApplication node(argc, argv);
        return farm::renderFromJobFile(QString::fromLocal8Bit(argv[2]), QByteArray(argv[3]).toInt());
    }
    QCoreApplication app(argc, argv);
    app.setApplicationName(QStringLiteral("localfarm"));
    app.setApplicationVersion(QStringLiteral(VN_VERSION));
    FarmOptions options;
    options.dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("A render farm on this machine: business server, file server, web pages and a renderer."));
    parser.addVersionOption();
    const auto option = [&parser](const char *name, const QString &text, const char *value = nullptr) {
        parser.addOption(value ? QCommandLineOption(QLatin1String(name), text, QLatin1String(value))
                               : QCommandLineOption(QLatin1String(name), text));
    };
    parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("This text.")});
    option("dir", QStringLiteral("Folder of the farm's state [%1].").arg(options.dir), "FOLDER");
    option("address", QStringLiteral("Loopback address to listen on [127.0.0.1]."), "ADDRESS");
    option("told", QStringLiteral("Address that clients are told for web and file server, where a relay listens."),
           "ADDRESS");
    option("business-port", QStringLiteral("Port of the business server [29909]; 0: any."), "PORT");
    option("http-port", QStringLiteral("Port of the web server [46180]; 0: any."), "PORT");
    option("file-port", QStringLiteral("Port of the file server [0: any]."), "PORT");
    option("user", QStringLiteral("Account [demo]."), "NAME");
    option("password", QStringLiteral("Its password [demo]."), "TEXT");
    option("auto-login", QStringLiteral("The login page logs in by itself."));
    option("auto-submit",
           QStringLiteral("Analysed scenes are submitted without a click, until the account saves its own settings."));
    option("frames-per-second", QStringLiteral("Frames that the farm renders a second [4]; 0: as fast as it can."),
           "N");
    option("render-threads", QStringLiteral("Frames rendered at once [2]."), "N");
    option("frame-seconds", QStringLiteral("A frame takes at least that long, and its log grows meanwhile [0]."),
           "SECONDS");
    option("confirm-hours", QStringLiteral("A task that waits after its priority frames is cancelled then [24]."),
           "HOURS");
    option("second-user", QStringLiteral("Sub-account that tasks can be handed to, with the same password [demo2]."),
           "NAME");
    option("filled", QStringLiteral("An empty folder gets invented tasks in every state."));
    option("max-width", QStringLiteral("Wider frames are scaled down to this [1920]."), "PIXELS");
    option("render-command",
           QStringLiteral(
               "Command that renders a frame of that software (1 Maya, 3 3ds Max, 4 Houdini, 5 Cinema 4D, 7 Clarisse, "
               "8 Terragen), with %scene% %frame% %camera% %out% %width% %height%. May be repeated."),
           "TYPE=COMMAND");
    option("slurm",
           QStringLiteral(
               "Frames are jobs of the Slurm cluster that sbatch reaches (SLURM_CONF tells which); its nodes see "
               "the farm's folder under the same path."));
    option("slurm-program", QStringLiteral("This program as the nodes find it [as it is found here]."), "FILE");
    option("slurm-options", QStringLiteral("Further words for sbatch, as \"--partition=render --mem=8G\"."), "WORDS");
    option("slurm-accounting", QStringLiteral("The accounting that jobcomp/filetxt writes [where the cluster says]."),
           "FILE");
    option(
        "object-store",
        QStringLiteral("Bucket of an S3 store that orders are uploaded to, as http://127.0.0.1:4568/BUCKET[/PREFIX]; "
                       "its keys come from AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY in the environment."),
        "URL");
    option("farms", QStringLiteral("Drives of that many farms [1]; of three or more the last isn't usable."), "N");
    option("drive-size", QStringLiteral("Room of each farm's drive, in G [100]."), "G");
    option("client-version", QStringLiteral("What the update check answers [5.2.6.0]."), "VERSION");
    option("feed",
           QStringLiteral("Folder of update packages (packages/, feed/, and version.txt for the update check), as "
                          "tools/release.sh makes it."),
           "FOLDER");
    option("fault", QStringLiteral("A fault to commit, see below. May be repeated."), "NAME=VALUE");
    option("print-ports",
           QStringLiteral("Print one line {\"business\":N,\"http\":N,\"file\":N} on standard output when ready."));
    if (!parser.parse(app.arguments())) {
        std::fprintf(stderr, "%s\n", qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        std::printf("%s\n", VN_VERSION);
        return 0;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        help(parser);
        return 0;
    }
    const auto text = [&parser](const char *name, QString *value) {
        if (parser.isSet(QLatin1String(name)))
            *value = parser.value(QLatin1String(name));
    };
    text("dir", &options.dir);
    text("address", &options.address);
    text("told", &options.told);
    text("user", &options.user);
    text("password", &options.password);
    text("second-user", &options.secondUser);
    text("client-version", &options.version);
    text("object-store", &options.objectStore);
    text("feed", &options.feedDir);
    if (!number(parser, QStringLiteral("business-port"), &options.businessPort) ||
        !number(parser, QStringLiteral("http-port"), &options.httpPort) ||
        !number(parser, QStringLiteral("file-port"), &options.filePort) ||
        !number(parser, QStringLiteral("render-threads"), &options.renderThreads) ||
        !number(parser, QStringLiteral("farms"), &options.farms) ||
        !number(parser, QStringLiteral("max-width"), &options.maxWidth))
        return 2;
    if (parser.isSet(QStringLiteral("drive-size")))
        options.driveBytes = qint64(parser.value(QStringLiteral("drive-size")).toDouble() * (qint64(1) << 30));
    options.dir = QDir(options.dir).absolutePath();
    options.autoLogin = parser.isSet(QStringLiteral("auto-login"));
    options.autoSubmit = parser.isSet(QStringLiteral("auto-submit"));
    options.slurm = parser.isSet(QStringLiteral("slurm"));
    options.slurmProgram = QCoreApplication::applicationFilePath();
    text("slurm-program", &options.slurmProgram);
    text("slurm-options", &options.slurmOptions);
    text("slurm-accounting", &options.slurmAccounting);
    options.filled = parser.isSet(QStringLiteral("filled"));
    const auto real = [&parser](const char *name, double *value) {
        if (parser.isSet(QLatin1String(name)))
            *value = qMax(0.0, parser.value(QLatin1String(name)).toDouble());
    };
    real("frames-per-second", &options.framesPerSecond);
    real("frame-seconds", &options.frameSeconds);
    real("confirm-hours", &options.confirmHours);
    for (const QString &one : parser.values(QStringLiteral("render-command")))
        options.renderCommands.insert(one.section(QLatin1Char('='), 0, 0).toInt(), one.section(QLatin1Char('='), 1));
    options.faults = parser.values(QStringLiteral("fault"));

    QLoggingCategory::setFilterRules(QStringLiteral("farm.debug=true"));
    Farm farm;
    if (!farm.start(options)) {
        std::fprintf(stderr, "localfarm: %s\n", qPrintable(farm.error()));
        return 1;
    }
    const FarmPorts ports = farm.ports();
    if (parser.isSet(QStringLiteral("print-ports"))) {
        const QJsonObject line{{"business", ports.business}, {"http", ports.http}, {"file", ports.file}};
        std::printf("%s\n", QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
        std::fflush(stdout);
    } else {
        std::printf("business %d, web http://%s:%d/, files %d, account %s, folder %s\n", ports.business,
                    qPrintable(options.address), ports.http, ports.file, qPrintable(options.user),
                    qPrintable(options.dir));
        std::fflush(stdout);
    }
    std::signal(SIGTERM, onSignal);
    std::signal(SIGINT, onSignal);
    // A handler may only set a mark; the loop looks at it.
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &app, [&app] {
        if (told)
            app.quit();
    });
    watch.start(100);
    const int result = app.exec();
    farm.stop();
    return result;
}
