// vndrivepage [--rows N] [--seconds N] [--list | --transfers]: what the window's thread stands still for while a folder
// of N entries of a drive is opened, scrolled, sorted, chosen whole, and scrolled as small pictures, at a farm of this
// process; beside it a plain table view over as many rows that are there already. Each turn of the event loop is timed,
// and the processor time of the thread in it; a turn over 16 ms is a frame that was missed. Runs offscreen as well.
#include "common/facts/FileStates.h"
#include "common/ui/kit/TablePage.h"
#include "db/UploadDDAO.h"
#include "driver/DriverRig.h"
#include "Turns.h"
#include "view/driver/DriveList.h"
#include "view/driver/FolderViews.h"
#include "view/driver/TransferD.h"
#include "view/Startup.h"
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QTableView>
#include <QThread>
#include <vector>

namespace
{
constexpr int FrameMs = Turns::FrameMs, Step = 400;

void until(Turns *turns, const std::function<bool()> &done)
{
    QElapsedTimer clock;
    clock.start();
    while (!done() && !clock.hasExpired(60000)) {
        turns->time([] { QCoreApplication::processEvents(); });
        QThread::usleep(200);
    }
}

void scroll(QAbstractItemView *view, int seconds, const char *what)
{
    Turns turns;
    QElapsedTimer all, frame;
    all.start();
    int step = Step;
    while (!all.hasExpired(seconds * 1000)) {
        frame.start();
        turns.time([&] {
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
    turns.tell(what);
}

// The same texts without a farm, a sort or anything else behind them.
class Plain : public QAbstractTableModel
{
public:
    explicit Plain(const FolderModel &model) : m_model(model) {}
    int rowCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : m_model.rowCount(); }
    int columnCount(const QModelIndex & = {}) const override { return 4; }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        const FileView &row = m_model.at(index.row());
        return index.column() == 0 ? row.name : index.column() == 3 ? QString::number(row.size) : QStringLiteral("-");
    }

private:
    const FolderModel &m_model;
};

FileView made(int number)
{
    FileView row;
    row.id = QString::number(number);
    row.name = QStringLiteral("frame%1.exr").arg(number);
    row.parent = QStringLiteral("7");
    row.hash = QStringLiteral("0123456789abcdef0123456789abcdef");
    row.updatedAt = row.createdAt = number;
    row.size = number % 1000;
    return row;
}

// The list alone, with names in a farm's order (frame1, frame10, frame100), so that each piece falls between the rows
// that are there.
int listOnly(int rows)
{
    std::vector<int> numbers(static_cast<std::size_t>(rows));
    std::iota(numbers.begin(), numbers.end(), 0);
    std::sort(numbers.begin(), numbers.end(), [](int a, int b) { return QString::number(a) < QString::number(b); });
    FolderModel model;
    FolderTable table(&model, nullptr);
    table.resize(900, 600);
    table.show();
    Turns turns;
    QElapsedTimer clock, desk;
    qint64 deskNs = 0;
    clock.start();
    DriveOrder order;
    FolderRows all;
    for (int from = 0; from < rows;) {
        QVector<FileView> piece;
        for (int to = qMin(rows, from + qBound(1000, from / 8, 20000)); from < to; ++from)
            piece << made(numbers[static_cast<std::size_t>(from)]);
        desk.start();
        order.add(piece);
        deskNs += desk.nsecsElapsed();
        all.append(piece);
        turns.time([&] { model.add(piece, order.order(), {}); });
        turns.time([] { QCoreApplication::processEvents(); });
        table.verticalScrollBar()->setValue(table.verticalScrollBar()->maximum() / 2);
    }
    std::printf("%d rows, of it sorting elsewhere %lld ms, all %lld ms\n", rows, deskNs / 1000000, clock.elapsed());
    turns.tell("pieces between");
    const auto one = [&turns](const char *what, const std::function<void()> &work) {
        turns.time(work);
        turns.time([] { QCoreApplication::processEvents(); });
        turns.tell(what);
    };
    one("all chosen", [&] { table.selectAll(); });
    one("none chosen", [&] { table.clearSelection(); });
    one("one removed", [&] { model.remove({model.at(rows / 2).id}); });
    one("1000 removed", [&] {
        QStringList ids;
        for (int i = 0; i < 1000; ++i)
            ids << model.at(i * 7).id;
        model.remove(ids);
    });
    const QVector<int> sorted = order.order();
    one("read again", [&] { model.setRows(all, sorted, {}); });
    return 0;
}

// The list of transfers with one batch of so many files, page by page as they're looked at, while the queue tells 200
// changes of state a second.
int transfers(int rows, int seconds)
{
    TransferD page(nullptr);
    page.resize(1240, 700);
    page.show();
    UploadDDAO *store = UploadDDAO::instance(UploadDDAO::Up);
    db_upfarmD farm;
    farm.pri = farm.id = 1;
    farm.name = QStringLiteral("valley");
    farm.fsum = rows;
    farm.fsize = qlonglong(rows) * 4096;
    farm.state = FileStates::UpRun;
    Turns turns;
    turns.time([&] {
        emit store->allFarm({farm});
        QCoreApplication::processEvents();
    });
    RecordView *view = page.table(UploadDDAO::Up)->view();
    const QString batch = DriveList::batchKey(1);
    for (int from = 0; from < rows; from += UploadDDAO::PageRows) {
        QList<db_upfile> files;
        for (int i = from; i < qMin(rows, from + UploadDDAO::PageRows); ++i) {
            db_upfile file;
            file.pri = i + 1;
            file.lpath = QStringLiteral("/projects/valley/frame%1.exr").arg(i);
            file.size = 4096;
            file.state = FileStates::UpWait;
            files << file;
        }
        emit store->allFile(1, files, false);
        turns.time([] { QCoreApplication::processEvents(); });
        if (from == 0)
            turns.time([&] { view->expand(view->records()->indexOf(batch)); });
    }
    turns.tell("a batch opened, page by page");
    std::printf("%d rows of files\n", page.list(UploadDDAO::Up)->rowCount(page.list(UploadDDAO::Up)->indexOf(batch)));
    int number = 0;
    QTimer changes;
    QObject::connect(&changes, &QTimer::timeout, [&] {
        number = (number + 7919) % rows;
        emit store->fileStateChanged(number + 1, number % 2 ? FileStates::UpRun : FileStates::UpError, 0);
        farm.fok = number;
        emit store->farmCount(1, farm);
    });
    changes.start(5);
    scroll(view, seconds, "scrolled under 200 changes a second");
    for (int type : {3, 4, 2}) {
        turns.time([&] { page.initDAOView(type); });
        turns.time([] { QCoreApplication::processEvents(); });
    }
    turns.tell("tabs changed");
    return 0;
}

int measure(int rows, int seconds)
{
    DriverRig rig;
    if (!rig.started || !rig.farm.fillDrive(1, QStringLiteral("D/big"), 0, rows, 100) || !rig.open() ||
        !rig.enter(QStringLiteral("D")))
        return std::printf("no farm\n"), 1;
    rig.window->resize(1240, 760);
    rig.main->setGeometry(rig.window->rect());
    Turns opening;
    QElapsedTimer clock;
    clock.start();
    rig.page()->driverPathChanged(rig.idOf(QStringLiteral("big")));
    until(&opening, [&] { return rig.model()->rowCount() > 0; });
    const qint64 first = clock.elapsed();
    until(&opening, [&] { return rig.model()->rowCount() == rows; });
    std::printf("%d entries: the first are seen after %lld ms, all after %lld ms\n", rows, first, clock.elapsed());
    opening.tell("opening");
    scroll(rig.page()->view(), seconds, "scrolling the table");
    Turns sorting;
    clock.start();
    rig.model()->sort(FolderModel::Size, Qt::DescendingOrder);
    until(&sorting, [&] { return rig.model()->by().column == FolderModel::Size; });
    std::printf("sorted after %lld ms\n", clock.elapsed());
    sorting.tell("sorting");
    Turns choosing;
    choosing.time([&] {
        rig.page()->view()->selectAll();
        QCoreApplication::processEvents();
    });
    choosing.tell("all chosen");
    const auto currentName = [&] { return rig.page()->view()->currentIndex().data(Qt::EditRole).toString(); };
    choosing.time([&] { rig.page()->view()->keyboardSearch(QStringLiteral("file0999")); });
    until(&choosing, [&] { return currentName().startsWith("file0999"); });
    choosing.tell("a name typed");
    const QString gone = rig.model()->at(rig.model()->rowCount() / 2).id;
    choosing.time([&] { rig.model()->setPending({gone}, QStringLiteral("...")); });
    choosing.time([&] { rig.model()->remove({gone}); });
    choosing.time([&] { rig.model()->entry(gone); });
    choosing.tell("one row marked, removed, looked for");
    clock.start();
    rig.page()->refresh();
    until(&choosing, [&] { return !rig.page()->busy(); });
    std::printf("read again after %lld ms\n", clock.elapsed());
    choosing.tell("reading again");
    rig.page()->setThumbnails(true);
    scroll(rig.page()->view(), seconds, "scrolling small pictures");
    Plain plain(*rig.model());
    QTableView table;
    table.setModel(&plain);
    table.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table.verticalHeader()->setDefaultSectionSize(36);
    table.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    table.resize(900, 600);
    table.show();
    QCoreApplication::processEvents();
    scroll(&table, seconds, "a plain table view");
    return 0;
}
} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/.config").toUtf8());
    qputenv("XDG_DATA_HOME", (home.path() + "/.local/share").toUtf8());
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption({"rows", "Entries of the folder.", "N", "100000"});
    parser.addOption({"seconds", "Of each scrolling.", "N", "5"});
    parser.addOption({"list", "Without a farm: the list alone."});
    parser.addOption({"transfers", "Without a farm: a batch of N files in the list of transfers."});
    parser.addHelpOption();
    parser.process(app);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    Startup::registerTypes();
    Startup::applyStyle();
    const int rows = parser.value("rows").toInt();
    const int seconds = parser.value("seconds").toInt();
    const int result = parser.isSet("list")        ? listOnly(rows)
                       : parser.isSet("transfers") ? transfers(rows, seconds)
                                                   : measure(rows, seconds);
    NetWork::destroy();
    NetTcp::destroy();
    return result;
}
