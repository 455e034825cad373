#include "view/driver/TransferD.h"
#include "common/Debounce.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "common/VFunc.h"
#include "transfer/drive/DriveQueue.h"
#include "view/driver/DriveList.h"
#include "view/driver/FileView.h"
#include <functional>
#include <QButtonGroup>
#include <QFileInfo>
#include <QPushButton>
#include <QStackedWidget>
#include <QTimer>
#include <QVector>

namespace
{
constexpr int ReloadMs = 500;
constexpr int FirstType = 2; // of the queues: UploadDDAO's numbers begin with 1, these with 2
constexpr int GatherMs = 100;

// Thousands of words a second, each with a picture of its own, would take the processor from what they tell of: the
// first one counts at once, those behind it together, in the order in which they came. What was asked for isn't kept
// back.
class Gather : public QObject
{
public:
    explicit Gather(QObject *parent) : QObject(parent)
    {
        m_pause.setSingleShot(true);
        connect(&m_pause, &QTimer::timeout, this, [this] {
            if (!m_words.isEmpty())
                m_pause.start(GatherMs);
            flush();
        });
    }
    void take(std::function<void()> word)
    {
        m_words.append(std::move(word));
        if (m_pause.isActive())
            return;
        m_pause.start(GatherMs);
        flush();
    }
    template <class... A> auto to(DriveList *list, void (DriveList::*word)(A...))
    {
        return [this, list, word](const std::decay_t<A> &...told) { take([=] { (list->*word)(told...); }); };
    }
    template <class... A> auto answerTo(DriveList *list, void (DriveList::*word)(A...))
    {
        return [this, list, word](const std::decay_t<A> &...told) {
            flush();
            (list->*word)(told...);
        };
    }

private:
    void flush()
    {
        const auto words = std::exchange(m_words, {});
        for (const auto &word : words)
            word();
    }

    QTimer m_pause;
    QVector<std::function<void()>> m_words;
};

void openFolder(QWidget *page, const DriveRow &row)
{
    const QString path = row.lpath;
    Background::run(
        page,
        [path] {
            const QFileInfo info(path);
            return VFunc::openFolder(info.isDir() ? path : info.path());
        },
        [page, path](bool good) {
            if (!good)
                MsgTool::msgOk(page, TransferD::tr("文件夹打不开：%1").arg(DriveText::clean(path)));
        });
}
} // namespace

TransferD::TransferD(QWidget *parent)
    : BaseWidget(Page, parent), m_group(new QButtonGroup(this)), m_tabs(new QHBoxLayout),
      m_stack(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("TransferD"));
    setAccessibleName(tr("云盘传输"));
    m_tabs->setContentsMargins(Metrics::Margin, 4, Metrics::Margin, 0);
    m_tabs->setSpacing(Metrics::Gap);
    body()->addLayout(m_tabs);
    body()->addWidget(m_stack, 1);
    addTab(UploadDDAO::Up, tr("上传列表"));
    addTab(UploadDDAO::Down, tr("下载列表"));
    addTab(UploadDDAO::Ok, tr("传输完成"));
    m_tabs->addStretch(1);
    for (int which = UploadDDAO::Up; which <= UploadDDAO::Ok; ++which)
        listen(which);
    m_buttons[0]->setChecked(true);
}

void TransferD::addTab(int which, const QString &text)
{
    const int at = which - 1;
    m_lists[at] = new DriveList(which, this);
    m_reload[at] = new Debounce(this);
    TablePage::Look look;
    look.name = QStringLiteral("TransferD%1").arg(which);
    look.accessible = text;
    look.emptyIcon = which == UploadDDAO::Up ? QStringLiteral("upload") : QStringLiteral("download");
    look.emptyText = tr("暂时没有传输记录呢");
    look.emptyHint = which == UploadDDAO::Up     ? tr("把文件或文件夹拖到云盘里即可上传")
                     : which == UploadDDAO::Down ? tr("在云盘里选择文件，点击“下载”")
                                                 : tr("完成的传输会记录在这里");
    auto *table = new TablePage(look, m_lists[at], this);
    m_tables[at] = table;
    table->view()->setRootIsDecorated(true);
    table->view()->setIndentation(20);
    table->view()->keepPlace();
    m_sums[at] = new QLabel(table);
    m_sums[at]->setObjectName(QStringLiteral("quiet"));
    m_sums[at]->setTextFormat(Qt::PlainText);
    table->foot()->insertWidget(0, m_sums[at]);
    setSums(which, 0, 0);
    addActs(which);
    table->build();
    m_stack->addWidget(table);
    auto *button = new QPushButton(text, this);
    m_buttons[at] = button;
    button->setObjectName(QStringLiteral("tab"));
    button->setCheckable(true);
    button->setAutoExclusive(true);
    m_group->addButton(button);
    button->setFocusPolicy(Qt::ClickFocus);
    connect(button, &QPushButton::toggled, this, [this, button, at](bool on) {
        button->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus);
        if (!on)
            return;
        m_stack->setCurrentIndex(at);
        setFocusProxy(m_tables[at]);
        DriveQueue::readFarms(at + 1);
    });
    m_tabs->addWidget(button);
    connect(table, &TablePage::refreshWanted, this, [which] { DriveQueue::readFarms(which); });
    connect(m_reload[at], &Debounce::debout, this, [which] { DriveQueue::readFarms(which); });
    connect(m_lists[at], &DriveList::filesWanted, this,
            [which](qlonglong farmPri, int page) { DriveQueue::readFiles(which, farmPri, page); });
    connect(m_lists[at], &DriveList::neighboursWanted, this,
            [which](qlonglong farmPri, qlonglong filePri, bool before) {
                DriveQueue::readFilesNear(which, farmPri, filePri, before);
            });
    connect(table->view(), &RecordView::opened, this, [table](const QString &key) {
        const QModelIndex index = table->view()->records()->indexOf(key);
        table->view()->setExpanded(index, !table->view()->isExpanded(index));
    });
}

void TransferD::addActs(int which)
{
    DriveList *list = m_lists[which - 1];
    const auto act = [list, which, this](const char *id, const QString &text, const char *icon,
                                         std::function<bool(const DriveRow &)> possible,
                                         std::function<void(const DriveRow &)> run) {
        ActSpec spec;
        spec.id = QLatin1String(id);
        spec.text = text;
        spec.icon = QLatin1String(icon);
        spec.places = ActSpec::Bar | ActSpec::Row | ActSpec::Menu;
        spec.possible = list->when(std::move(possible));
        spec.run = list->each(std::move(run));
        return spec;
    };
    const auto stopped = [list](const DriveRow &r) { return list->paused(r) || list->failed(r); };
    ActSpec remove = act(
        "delete", tr("删除"), "trash", [which](const DriveRow &r) { return which != UploadDDAO::Ok || !r.file; },
        [which](const DriveRow &r) {
            r.file ? DriveQueue::removeFile(which, r.farmPri, r.pri) : DriveQueue::remove(which, r.farmPri);
        });
    remove.keys = QKeySequence::Delete;
    remove.danger = which != UploadDDAO::Ok;
    remove.question = [list, which](const QStringList &keys) {
        const QString name = keys.isEmpty() ? QString() : DriveText::clean(list->record(keys.first())->name);
        const QString what = keys.size() == 1 ? QStringLiteral("“%1”").arg(name) : tr("选中的 %1 项").arg(keys.size());
        return which == UploadDDAO::Ok ? tr("确定删除%1的记录吗？文件不受影响。").arg(what)
                                       : tr("确定删除%1吗？已经传输的文件会保留。").arg(what);
    };
    ActSpec folder = act(
        "folder", tr("目录"), "folder", [](const DriveRow &r) { return !r.lpath.isEmpty(); },
        [this](const DriveRow &r) { openFolder(this, r); });
    folder.single = true;
    folder.places = ActSpec::Row | ActSpec::Menu;
    if (which != UploadDDAO::Ok) {
        m_tables[which - 1]->acts()->add(act("start", tr("继续"), "play", stopped, [which](const DriveRow &r) {
            r.file ? DriveQueue::resumeFile(which, r.farmPri, r.pri) : DriveQueue::resume(which, r.farmPri);
        }));
        m_tables[which - 1]->acts()->add(act(
            "pause", tr("暂停"), "pause", [list](const DriveRow &r) { return !list->paused(r); },
            [which](const DriveRow &r) {
                r.file ? DriveQueue::pauseFile(which, r.farmPri, r.pri) : DriveQueue::pause(which, r.farmPri);
            }));
    }
    m_tables[which - 1]->acts()->add(remove);
    m_tables[which - 1]->acts()->add(folder);
}

void TransferD::listen(int which)
{
    UploadDDAO *dao = UploadDDAO::instance(which);
    DriveList *list = m_lists[which - 1];
    Debounce *reload = m_reload[which - 1];
    auto *gather = new Gather(this);
    const auto queued = Qt::QueuedConnection;
    connect(dao, &UploadDDAO::allFarm, list, gather->answerTo(list, &DriveList::setFarms), queued);
    connect(dao, &UploadDDAO::allFile, list, gather->answerTo(list, &DriveList::setFiles), queued);
    connect(
        dao, &UploadDDAO::farmCount, list,
        [gather, list, reload](qlonglong farmPri, const db_upfarmD &farm) {
            gather->take([=] {
                if (list->contains(DriveList::batchKey(farmPri)))
                    list->setCount(farmPri, farm);
                else
                    reload->debounce(ReloadMs);
            });
        },
        queued);
    connect(dao, &UploadDDAO::farmStateChanged, list, gather->to(list, &DriveList::setState), queued);
    connect(dao, &UploadDDAO::farmDeleted, list, gather->to(list, &DriveList::removeFarm), queued);
    connect(dao, &UploadDDAO::farmSpeed, list, gather->to(list, &DriveList::setSpeed), queued);
    connect(dao, &UploadDDAO::note, list, gather->to(list, &DriveList::setNote), queued);
    connect(dao, &UploadDDAO::fileStateChanged, list, gather->to(list, &DriveList::setFileState), queued);
    connect(dao, &UploadDDAO::fileSpeedChanged, list, gather->to(list, &DriveList::setFileSpeed), queued);
    connect(dao, &UploadDDAO::fileDeleted, list, gather->to(list, &DriveList::removeFile), queued);
    if (which == UploadDDAO::Ok) // keeps no sums: what is over is all there is
        connect(
            dao, &UploadDDAO::allFarm, this,
            [this](const QList<db_upfarmD> &farms) {
                qlonglong done = 0, all = 0;
                for (const db_upfarmD &farm : farms) {
                    done += farm.fok;
                    all += farm.fsum;
                }
                setSums(UploadDDAO::Ok, done, all);
            },
            queued);
    else
        connect(
            dao, &UploadDDAO::farmSumCount, this,
            [this, gather, which](qlonglong fok, qlonglong fsum) { gather->take([=] { setSums(which, fok, fsum); }); },
            queued);
    connect(
        dao, &UploadDDAO::refreshAll, this, [reload] { reload->debounce(ReloadMs); }, queued);
}

void TransferD::setSums(int which, qlonglong done, qlonglong all)
{
    const QString verb = which == UploadDDAO::Up ? tr("上传") : which == UploadDDAO::Down ? tr("下载") : tr("传输");
    m_sums[which - 1]->setText(tr("总计：已%1文件数%2，待%1文件数%3，总文件数%4")
                                   .arg(verb)
                                   .arg(done)
                                   .arg(qMax<qlonglong>(0, all - done))
                                   .arg(all));
}

QString TransferD::sums(int which) const { return m_sums[which - 1]->text(); }

void TransferD::connectDAOView(int type)
{
    const int which = type == 4 ? UploadDDAO::Ok : type - FirstType + 1;
    if (which >= UploadDDAO::Up && which <= UploadDDAO::Ok)
        DriveQueue::readFarms(which);
}

void TransferD::initDAOView(int type)
{
    const int at = type - FirstType;
    if (at >= 0 && at < 3)
        m_buttons[at]->setChecked(true);
    connectDAOView(type);
}

void TransferD::refresh()
{
    for (int which = UploadDDAO::Up; which <= UploadDDAO::Ok; ++which)
        DriveQueue::readFarms(which);
}

void TransferD::showEvent(QShowEvent *event)
{
    BaseWidget::showEvent(event);
    refresh();
}
