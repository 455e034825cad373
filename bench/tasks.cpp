// vntasks [--tasks N] [--refreshes N]: what the window's thread stands still for while N tasks are looked through, 20 a
// page, while a page is asked for again and again with nothing changed and with every third row changed; and the same
// rows in a plain table view that is emptied and filled. The server answers on a thread of its own. Runs offscreen too.
#include "common/ThreadPool.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/Pagination.h"
#include "common/UserInfo.h"
#include "support/BusinessPeer.h"
#include "view/Startup.h"
#include "view/task/Mission.h"
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <QApplication>
#include <QCommandLineParser>
#include <QHeaderView>
#include <QStandardItemModel>
#include <QTableView>
#include <QTemporaryDir>
#include <QThread>
#include <vector>

namespace
{
constexpr int FrameMs = 16, PageRows = 20;
std::atomic<int> round_{0}; // what the server's rows depend on

QJsonObject row(int id, int round)
{
    const int done = 10 + (id % 3 == 0 ? round % 80 : 0);
    return {{"id", id},
            {"name", QStringLiteral("shot_%1_v07.ma").arg(id)},
            {"num", QStringLiteral("20261121%1").arg(id, 6, 10, QLatin1Char('0'))},
            {"project", "valley"},
            {"farmId", 1},
            {"stage", 4},
            {"status", id % 4},
            {"totalFrame", 100},
            {"successFrame", done},
            {"failureFrame", id % 2},
            {"renderingFrame", 2},
            {"untreatedFrame", 98 - done},
            {"frames", "1-100"},
            {"cost", "12.50"},
            {"confirmTime", "2026-11-21 09:58:00"},
            {"submitTime", "2026-11-21 10:00:00"},
            {"succSeconds", done * 61},
            {"totalSeconds", 1300},
            {"memory", "1680M"},
            {"username", "frieda"},
            {"remark", "second try"}};
}

// The farm's place, on its own thread.
class Server : public QThread
{
public:
    explicit Server(int tasks) : m_tasks(tasks) {}
    int port = 0;

protected:
    void run() override
    {
        BusinessPeer peer;
        peer.answerOthers([](const BusinessPeer::Request &request) {
            return BusinessPeer::Reply{request.cmd * 100, {}, false};
        });
        peer.answer(10427, [this](const BusinessPeer::Request &request) {
            const int first = request.body.value("page").toInt() * PageRows;
            QJsonArray rows;
            for (int i = first; i < qMin(first + PageRows, m_tasks); ++i)
                rows.append(row(i + 1, round_));
            return BusinessPeer::Reply{
                1042700, {{"pageSize", (m_tasks + PageRows - 1) / PageRows}, {"pageList", rows}}, false};
        });
        port = peer.port();
        exec();
    }

private:
    int m_tasks;
};

class Turns
{
public:
    // Runs the event loop until it's so, each turn timed.
    template <class Until> void run(Until until)
    {
        QElapsedTimer all, clock;
        all.start();
        while (!until() && !all.hasExpired(10000)) {
            clock.start();
            QCoreApplication::processEvents();
            m_ms.push_back(clock.nsecsElapsed() / 1e6);
            QThread::usleep(200);
        }
    }
    template <class Work> void time(Work work)
    {
        QElapsedTimer clock;
        clock.start();
        work();
        m_ms.push_back(clock.nsecsElapsed() / 1e6);
    }
    void tell(const char *what)
    {
        std::vector<double> busy; // turns in which nothing came say nothing
        std::copy_if(m_ms.begin(), m_ms.end(), std::back_inserter(busy), [](double ms) { return ms > 0.05; });
        std::sort(busy.begin(), busy.end());
        if (busy.empty())
            return void(std::printf("%-46s nothing was done\n", what));
        const auto over = busy.end() - std::upper_bound(busy.begin(), busy.end(), double(FrameMs));
        std::printf("%-46s turns %6zu   median %6.2f ms   p99 %6.2f ms   worst %6.2f ms   over 16 ms: %ld\n", what,
                    busy.size(), busy[busy.size() / 2], busy[busy.size() * 99 / 100], busy.back(), long(over));
        std::fflush(stdout);
        m_ms.clear();
    }

private:
    std::vector<double> m_ms;
};

class Paints : public QObject
{
public:
    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }
};

void ourPage(int pages, int refreshes)
{
    TaskDesk desk;
    Mission page(&desk, nullptr);
    page.resize(1600, 900);
    page.show();
    Turns turns;
    const auto shown = [&] { return page.answered() && page.model()->rowCount() > 0; };
    turns.run(shown);
    turns.tell("opened");
    for (int i = 1; i < pages; ++i) {
        page.table()->pages()->go(i);
        turns.run(shown);
    }
    turns.tell("looked through, page by page");
    Paints paints;
    page.table()->view()->viewport()->installEventFilter(&paints);
    for (int i = 0; i < refreshes; ++i) {
        page.getMission();
        turns.run(shown);
    }
    std::printf("%d refreshes with nothing changed: %d repaints\n", refreshes, paints.count);
    turns.tell("asked again, nothing changed");
    for (int i = 0; i < refreshes; ++i) {
        ++round_;
        page.getMission();
        turns.run(shown);
    }
    turns.tell("asked again, every third row changed");
}

void plainTable(int pages, int refreshes)
{
    QStandardItemModel model;
    QTableView view;
    view.setModel(&model);
    view.resize(1600, 900);
    view.show();
    Turns turns;
    const auto fill = [&](int at, int round) {
        model.clear();
        for (int i = at * PageRows; i < (at + 1) * PageRows; ++i) {
            QList<QStandardItem *> cells;
            const QJsonObject one = row(i + 1, round);
            for (const QJsonValue &value : one)
                cells << new QStandardItem(value.toVariant().toString());
            model.appendRow(cells);
        }
        QCoreApplication::processEvents();
    };
    for (int i = 0; i < pages; ++i)
        turns.time([&] { fill(i, 0); });
    turns.tell("plain table view: pages");
    for (int i = 0; i < refreshes; ++i)
        turns.time([&] { fill(0, i); });
    turns.tell("plain table view: emptied and filled anew");
}
} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qputenv(name, home.path().toUtf8());
    QApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QCommandLineParser parser;
    parser.addOptions(
        {{"tasks", "Tasks on the farm.", "n", "5000"}, {"refreshes", "How often a page is asked again.", "n", "200"}});
    parser.addHelpOption();
    parser.process(app);
    Startup::applyStyle();
    UserInfo::init({QStringLiteral("VandrelQN")});
    UserInfo::initUser({{"userId", 77}, {"username", "frieda"}});
    Server server(parser.value("tasks").toInt());
    server.start();
    while (server.port == 0)
        QThread::msleep(1);
    NetTcp::create();
    NetWork::create();
    NetTcp::instance()->setHost("127.0.0.1", server.port);
    NetTcp::instance()->resetLink();
    if (!QTest::qWaitFor([] { return NetTcp::instance()->socket()->state() == QAbstractSocket::ConnectedState; }))
        return 1;
    NetTcp::instance()->setLogin(true);
    const int pages = (parser.value("tasks").toInt() + PageRows - 1) / PageRows,
              refreshes = parser.value("refreshes").toInt();
    ourPage(pages, refreshes);
    plainTable(pages, refreshes);
    NetTcp::instance()->setLogin(false);
    Background::finish();
    server.quit();
    server.wait();
    return 0;
}
