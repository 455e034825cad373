#include "view/DoneTable.h"
#include "common/Debounce.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "frames/FrameSequence.h"
#include "view/frames/FrameView.h"
#include "view/TransferList.h"
#include <QComboBox>
#include <QDateTime>
#include <QShowEvent>

namespace
{
constexpr int ReloadMs = 500;
constexpr int HandlerMs = 200; // until the analysis queue stands

QString keyOf(const db_done &done) { return QString::number(done.id); }
QString kindText(int kind) { return kind == db_done::Mission ? DoneTable::tr("下载") : DoneTable::tr("上传"); }
QString timeText(const db_done &done)
{
    return QDateTime::fromMSecsSinceEpoch(done.ended).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

TablePage::Look look()
{
    TablePage::Look look;
    look.name = QStringLiteral("TransferDone");
    look.accessible = DoneTable::tr("已完成列表");
    look.emptyIcon = QStringLiteral("check");
    look.emptyText = DoneTable::tr("还没有完成的传输");
    look.emptyHint = DoneTable::tr("上传完的订单和下载完的结果会列在这里");
    look.search = DoneTable::tr("搜索文件名称或订单号");
    return look;
}

DoneTable::Model *makeModel()
{
    using C = Column<db_done>;
    auto *model = new DoneTable::Model(
        keyOf, {C::tick(),
                C(QStringLiteral("name"), DoneTable::tr("文件名称"), 240)
                    .text([](const db_done &d) { return d.name; })
                    .tip([](const db_done &d) { return QStringLiteral("%1\n%2").arg(d.name, d.folder); })
                    .icon([](const db_done &d) {
                        return d.kind == db_done::Mission ? QStringLiteral("download") : QStringLiteral("upload");
                    })
                    .stretch()
                    .atLeast(180),
                C(QStringLiteral("kind"), DoneTable::tr("类型"), 80)
                    .text([](const db_done &d) { return kindText(d.kind); })
                    .giving(5),
                C(QStringLiteral("order"), DoneTable::tr("订单号"), 128)
                    .text([](const db_done &d) { return d.ordernum; })
                    .atLeast(96)
                    .giving(3),
                C(QStringLiteral("files"), DoneTable::tr("文件数"), 96)
                    .text([](const db_done &d) {
                        return d.ok == d.sum ? QString::number(d.sum) : QStringLiteral("%1/%2").arg(d.ok).arg(d.sum);
                    })
                    .sort([](const db_done &d) { return d.sum; })
                    .right()
                    .giving(4),
                C(QStringLiteral("size"), DoneTable::tr("文件大小"), 96)
                    .text([](const db_done &d) { return d.size > 0 ? TransferList::sizeText(d.size) : QString(); })
                    .sort([](const db_done &d) { return d.size; })
                    .right()
                    .giving(2),
                C(QStringLiteral("time"), DoneTable::tr("完成时间"), 152)
                    .text(timeText)
                    .sort([](const db_done &d) { return d.ended; })
                    .atLeast(152)
                    .giving(1),
                C::acts(DoneTable::tr("操作"), 224)});
    model->setSame([](const db_done &a, const db_done &b) { // a row of the store never changes but for these
        return a.ended == b.ended && a.ok == b.ok && a.sum == b.sum;
    });
    return model;
}

void showFrames(QWidget *page, const QString &folder)
{
    Background::run(
        page, [folder] { return FrameSequence::firstPicture(folder); },
        [page, folder](const QString &picture) {
            if (picture.isEmpty())
                MsgTool::msgOk(page, DoneTable::tr("文件夹里没有图片：%1").arg(folder));
            else
                FrameView::open(page, picture);
        });
}

void openFolder(QWidget *page, const QString &folder)
{
    Background::run(
        page, [folder] { return VFunc::openFolder(folder); },
        [page, folder](bool good) {
            if (!good)
                MsgTool::msgOk(page, DoneTable::tr("文件夹打不开：%1").arg(folder));
        });
}
} // namespace

DoneTable::DoneTable(QWidget *parent) : DoneTable(makeModel(), parent) {}

DoneTable::DoneTable(Model *model, QWidget *parent)
    : TablePage(look(), model, parent), m_model(model), m_kind(new QComboBox(this)), m_reload(new Debounce(this))
{
    model->setParent(this);
    m_kind->setAccessibleName(tr("类型"));
    m_kind->addItem(tr("全部"), int(db_done::Any));
    m_kind->addItem(kindText(db_done::Order), int(db_done::Order));
    m_kind->addItem(kindText(db_done::Mission), int(db_done::Mission));
    addActs();
    build({m_kind});
    connect(m_kind, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &DoneTable::read);
    connect(this, &TablePage::refreshWanted, this, &DoneTable::read);
    connect(this, &TablePage::searchWanted, this, &DoneTable::read);
    connect(m_reload, &Debounce::debout, this, &DoneTable::read);
    connect(view(), &RecordView::opened, this, [this](const QString &key) {
        if (acts()->fit(QStringLiteral("folder"), {key}).size() == 1)
            acts()->run(QStringLiteral("folder"), {key});
    });
    DoneDAO *dao = DoneDAO::instance();
    connect(
        dao, &DoneDAO::page, this, [this](const QList<db_done> &list, int) { take(list); }, Qt::QueuedConnection);
    connect(
        dao, &DoneDAO::changed, this,
        [this] {
            m_fresh = false;
            if (isVisible())
                m_reload->debounce(ReloadMs);
        },
        Qt::QueuedConnection);
}

void DoneTable::addActs()
{
    ActSpec folder("folder", tr("打开目录"), QStringLiteral("folder"), ActSpec::Bar | ActSpec::Row | ActSpec::Menu);
    folder.single = true;
    folder.possible = m_model->when([](const db_done &d) { return !d.folder.isEmpty(); });
    folder.run = m_model->each([this](const db_done &d) { openFolder(this, d.folder); });
    acts()->add(folder);
    ActSpec frames("frames", tr("查看图片"), QStringLiteral("image"), ActSpec::Bar | ActSpec::Menu);
    frames.single = true;
    frames.possible = m_model->when([](const db_done &d) { return d.kind == db_done::Mission && !d.folder.isEmpty(); });
    frames.run = m_model->each([this](const db_done &d) { showFrames(this, d.folder); });
    acts()->add(frames);
    ActSpec again("again", tr("重新下载"), QStringLiteral("download"), ActSpec::Bar | ActSpec::Row | ActSpec::Menu);
    again.possible = m_model->when([](const db_done &d) { return d.kind == db_done::Mission && d.missid > 0; });
    again.run = [this](const QStringList &keys) {
        const bool several = keys.size() > 1;
        for (const db_done &d : m_model->records(keys))
            Seam<DownCalls>::post([=](DownCalls &down) { down.missionResult(d.missid, false, several); });
    };
    acts()->add(again);
    ActSpec remove("delete", tr("删除记录"), QStringLiteral("trash"), ActSpec::Bar | ActSpec::Menu);
    remove.keys = QKeySequence::Delete;
    remove.later = [](const QString &key) {
        return [ids = QList<qlonglong>{key.toLongLong()}] {
            Seam<ResolveCalls>::post([ids](ResolveCalls &queue) { queue.removeDone(ids); });
        };
    };
    remove.farewell = [](const QStringList &keys) { return tr("已删除 %1 条记录").arg(keys.size()); };
    acts()->add(remove);
}

int DoneTable::kind() const { return m_kind->currentData().toInt(); }

void DoneTable::read()
{
    // All of them at once: a head then sorts all rows, not those of one page.
    if (Seam<ResolveCalls>::post([kind = kind(), search = searched()](ResolveCalls &queue) {
            queue.readDone(kind, search, 0, DoneDAO::Keep);
        }))
        m_fresh = true;
    else
        m_reload->debounce(HandlerMs);
}

void DoneTable::take(const QList<db_done> &list)
{
    m_model->setRows(list);
    if (searched().isEmpty() && kind() == db_done::Any)
        setEmpty(look().emptyText, look().emptyHint);
    else
        setEmpty(tr("没有找到"), tr("换一个词，或清除搜索"));
}

void DoneTable::showEvent(QShowEvent *event)
{
    TablePage::showEvent(event);
    if (!m_fresh)
        read();
}
