// vnpages [--rows N] [--seconds N]: what the window's thread stands still for while the two big lists are scrolled and
// their rows change 200 times a second: a store of N analyses, an order of N files opened on the transfer page; while
// the panel before a commit looks at N files; in the parameter dialog of 200 layers with 500 cameras each. Each turn of
// the event loop is timed; a turn over 16 ms is a frame that was missed. Then a task of N frames at a farm of this
// process, looked through page by page, and a log of --log MiB in its window: what it takes to open, and the memory.
// Runs offscreen as well.
#include "common/facts/SceneState.h"
#include "common/ThreadPool.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/Pagination.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "set/FarmRig.h"
#include "Turns.h"
#include "view/CommitPreview.h"
#include "view/frames/LogText.h"
#include "view/frames/LogView.h"
#include "view/render/ParameterDialog.h"
#include "view/Resolve.h"
#include "view/Startup.h"
#include "view/task/MissionSub.h"
#include "view/Transfer.h"
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <QAction>
#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <vector>

namespace
{
constexpr int FrameMs = Turns::FrameMs, ChangesASecond = 200, PageRows = 30;

// The queues' place: reads on a thread of its own, as they do.
class Reader : public QObject, public ResolveCalls
{
public:
    Reader() { Seam<ResolveCalls>::attach(this, this); }
    ~Reader() override { Seam<ResolveCalls>::detach(this); }
    void addFile(QList<db_resolve>) override {}
    void reAddFile(qlonglong) override {}
    void readFile(int page, int size, QString search) override { ResolveDAO::instance()->readPage(search, page, size); }
    void showPage(ScenePage wanted) override { ResolveDAO::instance()->readPage(wanted); }
    void delResolve(qlonglong) override {}
    void delResolveByTask(int) override {}
    void paraSet(qlonglong) override {}
    void changeResolveState(qlonglong, int, QString) override {}
    void saveDataSet(db_resolve) override {}
    void commitResolve(qlonglong, bool, QString) override {}
    void seeError(int, qlonglong) override {}
    void reswait(int) override {}
    void fileOk(QString, qlonglong) override {}
};

// Scrolls to and fro for so long, a step a frame, while change() is called ChangesASecond times a second.
void scroll(RecordView *view, int seconds, Turns *turns, const std::function<void(int)> &change)
{
    QElapsedTimer all, frame;
    all.start();
    int changes = 0, step = 40;
    while (!all.hasExpired(seconds * 1000)) {
        frame.start();
        turns->time([&] {
            while (changes < all.elapsed() * ChangesASecond / 1000)
                change(changes++);
            QScrollBar *bar = view->verticalScrollBar();
            if (bar->value() + step > bar->maximum() || bar->value() + step < 0)
                step = -step;
            bar->setValue(bar->value() + step);
            QCoreApplication::processEvents();
            view->viewport()->repaint();
        });
        if (frame.elapsed() < FrameMs)
            QThread::msleep(ulong(FrameMs - frame.elapsed()));
    }
}

void analyses(int rows, int seconds)
{
    QList<db_resolve> list;
    for (int i = 0; i < rows; ++i) {
        db_resolve one;
        one.rkey = one.pri = i + 1;
        one.state = SceneState::Clean;
        one.lpath = QStringLiteral("/projects/valley/scenes/shot_%1.tgd").arg(i);
        one.project = QStringLiteral("8_valley");
        one.rtime = 1700000000000LL + i;
        list << one;
    }
    if (!ResolveDAO::instance()->insertBatch(&list))
        return void(std::printf("analyses: the store can't be filled\n"));
    Resolve page;
    page.resize(1240, 760);
    page.show();
    Turns turns;
    QElapsedTimer clock;
    clock.start();
    while (page.model()->rowCount() == 0 && !clock.hasExpired(60000)) {
        QCoreApplication::processEvents();
        QThread::msleep(1);
    }
    if (page.model()->rowCount() == 0)
        return void(std::printf("analyses: no page came\n"));
    std::printf("first page of %d analyses after %lld ms\n", rows, clock.elapsed());
    const QStringList keys = page.model()->keys();
    scroll(page.table()->view(), seconds, &turns, [&](int number) {
        db_resolve one = *page.model()->record(keys.at(number % keys.size()));
        one.state = number % 2 ? SceneState::Clean : SceneState::Warned;
        emit ResolveDAO::instance()->stateChanged(one);
        if (number % ChangesASecond == 0)
            emit ResolveDAO::instance()->refreshAll();
    });
    turns.tell("analysis page");
}

void order(int files, int seconds)
{
    Transfer page;
    page.resize(1240, 760);
    page.show();
    Background::finish();
    QCoreApplication::processEvents();
    db_resolve res;
    res.rkey = 1;
    res.ordernum = QStringLiteral("BENCH");
    res.state = SceneState::Uploading;
    res.fsum = files;
    TransferList *list = page.model(true);
    list->setGroups({TransferList::upload(res)});
    page.table(true)->view()->expandAll();
    Turns turns;
    for (int at = 0; at < files; at += PageRows) { // as they come while somebody scrolls
        QList<db_upfile> part;
        for (int i = at; i < qMin(files, at + PageRows); ++i) {
            db_upfile one;
            one.ordernum = res.ordernum;
            one.pri = i + 1;
            one.lpath = QStringLiteral("/projects/valley/textures/rock_%1.tif").arg(i);
            one.size = 4096;
            one.state = 10;
            part << one;
        }
        turns.time([&] {
            page.allFile(part, at == 0);
            QCoreApplication::processEvents();
        });
    }
    turns.tell("files come in, 30 a page");
    scroll(page.table(true)->view(), seconds, &turns, [&](int number) {
        UploadDAO::instance()->tellSpeed(1 + qlonglong(number) * 7919 % files, number % 4096, 4096, 512);
    });
    turns.tell("order opened, files change");
}

// A task that renders nothing, page by page and asked for anew meanwhile.
void subTasks(int rows, int seconds)
{
    FarmRig rig;
    rig.farm.faults().set(QStringLiteral("hold-render"), QStringLiteral("1"));
    if (!rig.login())
        return void(std::printf("sub-tasks: no link to the farm\n"));
    const QJsonObject number = rig.ask(
        10421, {{"name", "a.tgd"}, {"clientFlag", 1}, {"projectId", 1}, {"softwareType", 8}, {"machineModel", "m"}});
    const QJsonObject camera{
        {"name", "Cam"}, {"width", 64}, {"height", 36}, {"frames", QStringLiteral("1-%1").arg(rows)}, {"selected", 1}};
    rig.ask(10400, {{"scene", "d/a.tgd"},
                    {"analysisTime", 1.0},
                    {"missionId", number["id"]},
                    {"ordernum", number["num"]},
                    {"files", QJsonArray()},
                    {"fileCount", 0},
                    {"softwareType", 8},
                    {"clientFlag", 1},
                    {"modelParameters", QJsonObject{{"cameras", QJsonArray{camera}}}}});
    rig.ask(10704, {{"missionId", number["id"]}});
    QWidget page;
    page.resize(1240, 760);
    page.show();
    MissionSub view(&page);
    TaskRecord task;
    task.id = QString::number(number["id"].toInt());
    task.name = QStringLiteral("a.tgd");
    task.software = 8;
    QElapsedTimer clock;
    clock.start();
    view.openTask(task);
    while (view.model()->rowCount() == 0 && !clock.hasExpired(60000))
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    std::printf("%d rows of %d sub-tasks after %lld ms\n", view.model()->rowCount(), rows, clock.elapsed());
    Turns turns;
    scroll(view.table()->view(), seconds, &turns, [&](int number) {
        if (number % 20 == 0)
            view.table()->pages()->go(number * 7919 / 20 % qMax(1, rows / PageRows));
        else if (number % 20 == 10)
            view.getSubMission();
    });
    turns.tell("sub-tasks, ten pages a second");
}

// Every file is missing, in 1000 folders: nothing is larger to show.
void preview(int files, qlonglong key)
{
    db_resolve one;
    one.rkey = one.pri = key;
    one.state = SceneState::Clean;
    one.lpath = QStringLiteral("/projects/valley/scenes/big.tgd");
    one.rset = QStringLiteral("{\"softwareType\":8,\"farmId\":1}");
    QStringList list;
    for (int i = 0; i < files; ++i)
        list << QStringLiteral("\"/projects/valley/textures/set_%1/rock_%2.tif\"").arg(i % 1000).arg(i);
    one.rfile = QStringLiteral("\"files\":[%1]").arg(list.join(QLatin1Char(',')));
    QList<db_resolve> rows{one};
    if (!ResolveDAO::instance()->insertBatch(&rows))
        return void(std::printf("preview: the store can't be filled\n"));
    QWidget over;
    over.resize(1240, 760);
    over.show();
    CommitPreview::Wish wish;
    wish.rkeys = {rows.first().rkey};
    Turns turns;
    CommitPreview *panel = nullptr;
    bool ended = false;
    turns.time([&] {
        panel = new CommitPreview(wish, &over);
        panel->open();
    });
    QObject::connect(panel->preflight(), &Preflight::changed, panel,
                     [&ended](const PreflightFigures &now) { ended = now.over; });
    QElapsedTimer clock;
    clock.start();
    while (!ended && !clock.hasExpired(60000)) {
        turns.time([] { QCoreApplication::processEvents(); });
        QThread::msleep(1);
    }
    std::printf("%d files looked at after %lld ms\n", files, clock.elapsed());
    turns.tell("panel before a commit");
    panel->close();
}

void dialog(int layers, int cameras)
{
    QJsonArray names, all;
    for (int i = 0; i < cameras; ++i)
        names.append(QStringLiteral("camera_%1").arg(i));
    for (int i = 0; i < layers; ++i)
        all.append(QJsonObject{{"layer", QStringLiteral("rs_%1").arg(i)},
                               {"width", 1920},
                               {"height", 1080},
                               {"frames", "1-250"},
                               {"cameras", names},
                               {"cameras_overide", names}});
    db_resolve one;
    one.state = SceneState::Clean;
    one.lpath = QStringLiteral("/p/a.ma");
    one.rset = QStringLiteral("{\"softwareType\":1}");
    one.rdata = QString::fromUtf8(
        QJsonDocument(QJsonObject{{"modelParameters", QJsonObject{{"layers", all}}}}).toJson(QJsonDocument::Compact));
    QWidget over;
    over.resize(1240, 760);
    over.show();
    Turns turns;
    ParameterDialog *open = nullptr;
    const ParameterDialog::Scene scene =
        ParameterDialog::read(one, CommonConfig::get()); // the page does it on another thread
    turns.time([&] {
        open = ParameterDialog::make(scene, &over);
        open->open();
        QCoreApplication::processEvents();
    });
    turns.tell("parameters: opened");
    const auto settle = [&turns] { // typing comes to rest, then sums are made
        for (int i = 0; i < 40; ++i) {
            turns.time([] { QCoreApplication::processEvents(); });
            QThread::msleep(10);
        }
    };
    auto *layersList = open->findChild<TablePage *>(QStringLiteral("outputs"));
    auto *camerasList = open->findChild<TablePage *>(QStringLiteral("cameras"));
    const QStringList keys = layersList->view()->records()->keys();
    for (int i = 0; i < 40; ++i)
        turns.time([&] {
            layersList->view()->select({keys.at(i * 5 % keys.size())});
            QCoreApplication::processEvents();
        });
    settle();
    turns.tell("parameters: another layer");
    for (const char *act : {"none", "all"}) {
        turns.time([&] {
            camerasList->acts()->action(QLatin1String(act))->trigger();
            QCoreApplication::processEvents();
        });
        turns.time([&] {
            layersList->acts()->action(QLatin1String(act))->trigger();
            QCoreApplication::processEvents();
        });
    }
    settle();
    turns.tell("parameters: all and none");
    layersList->view()->select(keys);
    auto *frames = open->findChild<QLineEdit *>(QStringLiteral("frames"));
    for (int i = 1; i < 40; ++i)
        turns.time([&] {
            frames->setText(QStringLiteral("1-%1").arg(i));
            QCoreApplication::processEvents();
        });
    settle();
    turns.tell("parameters: frames of all layers");
    open->close();
}
qint64 memoryKiB(const char *what)
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(what))
            return line.mid(int(qstrlen(what)) + 1).trimmed().split(' ').first().toLongLong();
    return 0;
}

void bigLog(const QString &folder, int mib, int seconds)
{
    const QString path = folder + QStringLiteral("/big.log");
    QFile file(path);
    QByteArray block;
    for (int i = 0; block.size() < 1 << 20; ++i)
        block += "2026-11-21 21:00:00 [render] tile " + QByteArray::number(i) +
                 (i % 97 ? " of shot_010 took 12.5 ms\n" : " Warning: texture is missing\n");
    if (!file.open(QIODevice::WriteOnly))
        return;
    for (int i = 0; i < mib; ++i)
        file.write(block);
    file.close();
    block.clear();
    const qint64 before = memoryKiB("VmRSS:");
    QElapsedTimer clock;
    clock.start();
    LogView *view = LogView::open(nullptr, QStringLiteral("big"), path);
    bool whole = false;
    QObject::connect(view, &LogView::indexed, view, [&] { whole = true; });
    Turns turns;
    qint64 first = -1;
    while (!whole && !clock.hasExpired(120000)) {
        turns.time([] { QCoreApplication::processEvents(); });
        if (first < 0 && view->text()->shows(view->text()->verticalScrollBar()->value()))
            first = clock.elapsed();
        QThread::msleep(1);
    }
    std::printf("log of %d MiB: first lines after %lld ms, %lld lines indexed after %lld ms\n", mib, first,
                view->log()->lines(), clock.elapsed());
    QElapsedTimer all;
    for (all.start(); !all.hasExpired(seconds * 1000); QThread::msleep(8))
        turns.time([&] {
            QScrollBar *bar = view->text()->verticalScrollBar();
            bar->setValue(int(qint64(bar->maximum()) * (all.elapsed() * 7919 % 1000) / 1000));
            QCoreApplication::processEvents();
        });
    turns.tell("log indexed and leapt through");
    std::printf("memory: %lld MiB more than before, %lld MiB at its highest in all\n",
                (memoryKiB("VmRSS:") - before) / 1024, memoryKiB("VmHWM:") / 1024);
    delete view;
}
} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qputenv(name, home.path().toUtf8());
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{"rows", "Analyses, and files of the order.", "n", "100000"},
                       {"seconds", "How long each list is scrolled.", "n", "10"},
                       {"log", "MiB of the log; 0: none.", "n", "1024"},
                       {"only", "lists, dialogs, subtasks or log; all without it.", "which"}});
    parser.addHelpOption();
    parser.process(app);
    const int rows = parser.value("rows").toInt(), seconds = parser.value("seconds").toInt();
    UserInfo::init({"VandrelQN"});
    UserInfo::initUser(QJsonObject{{"userId", 7}});
    Startup::registerTypes();
    Startup::applyStyle();
    if (!ResolveDAO::instance()->open(home.path()) || !UploadDAO::instance()->open(home.path()))
        return 1;
    QThread thread;
    auto *reader = new Reader;
    reader->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, reader, &QObject::deleteLater);
    thread.start();
    const QString only = parser.value("only");
    if (only.isEmpty() || only == "log") // first: what others left in memory would count
        bigLog(home.path(), parser.value("log").toInt(), seconds);
    if (only.isEmpty() || only == "lists") {
        analyses(rows, seconds);
        order(rows, seconds);
    }
    if (only.isEmpty() || only == "subtasks")
        subTasks(rows, seconds);
    if (only.isEmpty() || only == "dialogs") {
        preview(rows, rows + 1);
        dialog(200, 500);
    }
    thread.quit();
    thread.wait();
    Background::finish();
    ThreadPool::instance()->stop();
    return 0;
}
