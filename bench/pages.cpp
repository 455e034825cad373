// vnpages [--rows N] [--seconds N]: what the window's thread stands still for while the two big lists are scrolled and
// their rows change 200 times a second: a store of N analyses, an order of N files opened on the transfer page. Each
// turn of the event loop is timed; a turn over 16 ms is a frame that was missed. Runs offscreen as well.
#include "common/facts/SceneState.h"
#include "common/ThreadPool.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "view/Resolve.h"
#include "view/Startup.h"
#include "view/Transfer.h"
#include <algorithm>
#include <cstdio>
#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <vector>

namespace
{
constexpr int FrameMs = 16, ChangesASecond = 200, PageRows = 30;

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

// Turns of the event loop in ms, without the time that it waited.
class Turns
{
public:
    template <class Work> void time(Work work)
    {
        QElapsedTimer clock;
        clock.start();
        work();
        m_ms.push_back(clock.nsecsElapsed() / 1e6);
    }
    void tell(const char *what)
    {
        std::sort(m_ms.begin(), m_ms.end());
        const auto over = m_ms.end() - std::upper_bound(m_ms.begin(), m_ms.end(), double(FrameMs));
        std::printf("%-34s turns %7zu   median %6.2f ms   p99 %6.2f ms   worst %6.2f ms   over 16 ms: %ld\n", what,
                    m_ms.size(), m_ms[m_ms.size() / 2], m_ms[m_ms.size() * 99 / 100], m_ms.back(), long(over));
        std::fflush(stdout);
        m_ms.clear();
    }

private:
    std::vector<double> m_ms;
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
                       {"seconds", "How long each list is scrolled.", "n", "10"}});
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
    analyses(rows, seconds);
    order(rows, seconds);
    thread.quit();
    thread.wait();
    Background::finish();
    ThreadPool::instance()->stop();
    return 0;
}
