// vntour [--check] [--out FOLDER] [--scales 1,1.5,2] [--only NAME,NAME]: the walk. It starts itself once for every
// language and scale, for both are settled with the program's start; each of those walks writes pictures and a list of
// faults, from which the index page is made. With --check there is one scale; the result is 1 where a window has a
// fault.
#include "common/ui/Background.h"
#include "Faults.h"
#include "TourTable.h"
#include "view/Login.h"
#include "view/MainWindow.h"
#include <cstdio>
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QTextStream>

namespace
{
const QStringList Languages{QStringLiteral("zh_cn"), QStringLiteral("en_us")};
constexpr int MostEscapes = 4, RestMs = 80, MostRests = 40, LongestWalkMs = 280000;

struct Walk {
    QString folder, language, scale;
    QStringList only; // names of the table; empty: all of it
    bool looks(const TourStop &stop) const { return only.isEmpty() || only.contains(QLatin1String(stop.name)); }
    QString prefix() const { return QStringLiteral("%1-%2").arg(language, scale); }
};

// Until it no longer changes: answers of the farm come when they come.
QPixmap stillPicture(QWidget *window)
{
    QPixmap last;
    QImage before;
    for (int i = 0, same = 0; i < MostRests && same < 3; ++i) {
        Stage::settle(RestMs);
        Background::finish();
        last = window->grab();
        const QImage now = last.toImage();
        same = now == before ? same + 1 : 0;
        before = now;
    }
    return last;
}

void escape(QWidget *window)
{
    QWidget *at = window->focusWidget() ? window->focusWidget() : window;
    QKeyEvent down(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier),
        up(QEvent::KeyRelease, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(at, &down);
    QApplication::sendEvent(at, &up);
    Stage::settle(1);
}

QStringList look(const Walk &walk, const QString &name, QWidget *window)
{
    const QPixmap picture = stillPicture(window);
    QStringList faults;
    if (!picture.save(QStringLiteral("%1/%2-%3.png").arg(walk.folder, walk.prefix(), name)))
        faults << QStringLiteral("the picture can't be written");
    faults << Faults::of(window, walk.language != QLatin1String("zh_cn"), Stage::farmWords());
    for (QString &fault : faults)
        fault = QStringLiteral("%1 %2: %3").arg(walk.prefix(), name, fault);
    return faults;
}

QStringList walkThrough(const Walk &walk, Stage &stage)
{
    QStringList faults;
    const bool full = stage.filled() == Stage::Full;
    for (const TourStop &stop : tourTable()) {
        if (!walk.looks(stop))
            continue;
        if (stop.when == (full ? TourStop::EmptyOnly : TourStop::FullOnly))
            continue;
        const QString name =
            QString::fromLatin1(stop.name) + (full ? QStringLiteral("-full") : QStringLiteral("-empty"));
        QWidget *window = stop.bring(stage);
        if (!window) {
            faults << QStringLiteral("%1 %2: doesn't come up").arg(walk.prefix(), name);
            continue;
        }
        faults << look(walk, name, window);
        const QPointer<QWidget> left = stop.page ? nullptr : window;
        for (int i = 0; i < MostEscapes && left && left->isVisible(); ++i) // a search or ticks may go first
            escape(left);
        if (left && left->isVisible() && !stop.firm)
            faults << QStringLiteral("%1 %2: Escape doesn't close it").arg(walk.prefix(), name);
        if (left)
            left->close();
        Stage::settle(1);
    }
    return faults;
}

int walkOnce(const Walk &walk)
{
    Stage stage;
    QStringList faults;
    if (!stage.open(walk.language)) {
        std::fprintf(stderr, "vntour: %s\n", qPrintable(stage.error()));
        return 2;
    }
    faults << look(walk, QStringLiteral("Login"), stage.loginWindow());
    if (!stage.login()) {
        std::fprintf(stderr, "vntour: %s\n", qPrintable(stage.error()));
        return 2;
    }
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    stage.window()->resize(QSize(1240, 760).boundedTo(room.size()));
    faults << walkThrough(walk, stage);
    stage.fill();
    faults << walkThrough(walk, stage);
    stage.window()->resize(QSize(960, 540).boundedTo(room.size()));
    for (const TourStop &stop : tourTable())
        if (stop.page && stop.when != TourStop::EmptyOnly && walk.looks(stop))
            faults << look(walk, QString::fromLatin1(stop.name) + QStringLiteral("-small"), stop.bring(stage));
    QFile list(QStringLiteral("%1/%2.txt").arg(walk.folder, walk.prefix()));
    if (!list.open(QIODevice::WriteOnly) || list.write(faults.join(QLatin1Char('\n')).toUtf8()) < 0)
        return 2;
    return faults.isEmpty() ? 0 : 1;
}

void writeIndex(const QString &folder, const QStringList &faults)
{
    QFile page(folder + QStringLiteral("/index.html"));
    if (!page.open(QIODevice::WriteOnly))
        return;
    QTextStream out(&page);
    out.setCodec("UTF-8");
    out << "<!doctype html><meta charset=utf-8><title>Tour</title><style>body{background:#1e1e1e;color:#ccc;font:13px "
           "sans-serif;margin:24px}img{max-width:560px;border:1px solid #3a3a3a}figure{display:inline-block;margin:8px;"
           "vertical-align:top}figcaption{padding:4px 0}li{margin:4px 0}</style>\n<h1>Tour</h1>\n<p>"
        << faults.size() << " faults</p>\n<ul>\n";
    for (const QString &fault : faults)
        out << "<li>" << fault.toHtmlEscaped() << "</li>\n";
    out << "</ul>\n";
    const QStringList pictures = QDir(folder).entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
    QMap<QString, QStringList> stops; // what is shown -> its pictures in every language and scale
    for (const QString &picture : pictures)
        stops[picture.section(QLatin1Char('-'), 2)] << picture;
    for (auto it = stops.cbegin(); it != stops.cend(); ++it) {
        out << "<h2>" << QString(it.key()).chopped(4) << "</h2>\n";
        for (const QString &picture : it.value())
            out << "<figure><a href=\"" << picture << "\"><img loading=lazy src=\"" << picture << "\"></a><figcaption>"
                << picture.section(QLatin1Char('-'), 0, 1) << "</figcaption></figure>\n";
    }
}

int walkAll(const QString &folder, const QStringList &scales, const QString &only)
{
    QDir(folder).removeRecursively();
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "vntour: can't make %s\n", qPrintable(folder));
        return 2;
    }
    QStringList faults;
    int worst = 0;
    for (const QString &scale : scales)
        for (const QString &language : Languages) {
            const Walk walk{folder, language, QString::number(qRound(scale.toDouble() * 100)), {}};
            QProcess one;
            QProcessEnvironment around = QProcessEnvironment::systemEnvironment();
            around.insert(QStringLiteral("QT_SCALE_FACTOR"), scale);
            one.setProcessEnvironment(around);
            one.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            one.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--walk"), language, QStringLiteral("--scales"), walk.scale,
                       QStringLiteral("--out"), folder, QStringLiteral("--only"), only});
            const bool ended = one.waitForFinished(LongestWalkMs) && one.exitStatus() == QProcess::NormalExit;
            worst = qMax(worst, ended ? one.exitCode() : 3);
            if (!ended)
                std::fprintf(stderr, "vntour: the walk %s did not end well\n", qPrintable(walk.prefix()));
            QFile list(QStringLiteral("%1/%2.txt").arg(folder, walk.prefix()));
            if (list.open(QIODevice::ReadOnly))
                faults << QString::fromUtf8(list.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        }
    writeIndex(folder, faults);
    std::printf("%s%s%d faults, pictures in %s/index.html\n", qPrintable(faults.join(QLatin1Char('\n'))),
                faults.isEmpty() ? "" : "\n", int(faults.size()), qPrintable(folder));
    return worst;
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QGuiApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    app.setApplicationName(QStringLiteral("VandrelQN"));
    app.setApplicationVersion(QStringLiteral(VN_VERSION));
    app.setQuitOnLastWindowClosed(false);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({QStringLiteral("check"), QStringLiteral("One scale only, for the test.")});
    parser.addOption({QStringLiteral("out"), QStringLiteral("Where the pictures go."), QStringLiteral("FOLDER"),
                      QStringLiteral("build/tour")});
    parser.addOption({QStringLiteral("scales"), QStringLiteral("Scales to walk at."), QStringLiteral("LIST"),
                      QStringLiteral("1,1.5,2")});
    parser.addOption(
        {QStringLiteral("only"), QStringLiteral("Windows to look at."), QStringLiteral("NAMES"), QString()});
    parser.addOption(
        {QStringLiteral("walk"), QStringLiteral("One walk in this language."), QStringLiteral("LANGUAGE")});
    parser.process(app);
    const QString folder = QDir(parser.value(QStringLiteral("out"))).absolutePath();
    if (parser.isSet(QStringLiteral("walk")))
        return walkOnce({folder, parser.value(QStringLiteral("walk")), parser.value(QStringLiteral("scales")),
                         parser.value(QStringLiteral("only")).split(QLatin1Char(','), Qt::SkipEmptyParts)});
    const QStringList scales = parser.isSet(QStringLiteral("check"))
                                   ? QStringList{QStringLiteral("1")}
                                   : parser.value(QStringLiteral("scales")).split(QLatin1Char(','), Qt::SkipEmptyParts);
    return walkAll(folder, scales, parser.value(QStringLiteral("only")));
}
