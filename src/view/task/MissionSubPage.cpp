#include "view/task/MissionSubPage.h"
#include "common/facts/Command.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Pagination.h"
#include "io/local/CmdHand.h"
#include "task/TaskHands.h"
#include "view/frames/LogView.h"
#include "view/task/LogItem.h"
#include "view/task/Preview.h"
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>

namespace
{
Tint tintOf(const SubTask &sub)
{
    switch (sub.status) {
    case SubTask::Rendering:
        return Tint::Running;
    case SubTask::Paused:
        return Tint::Warning;
    case SubTask::Done:
        return Tint::Done;
    case SubTask::Failed:
        return Tint::Failed;
    case SubTask::Cancelled:
        return Tint::Quiet;
    default:
        return Tint::Plain;
    }
}

bool mayPreview(const SubTask &sub) { return sub.status == SubTask::Done || sub.status == SubTask::Rendering; }

QString downloadText(const SubTask &sub)
{
    return sub.status != SubTask::Done ? QString()
           : sub.downloadState > 0     ? MissionSubPage::tr("已下载")
                                       : MissionSubPage::tr("未下载");
}

SubModel *makeModel(bool blocks, std::function<int()> software)
{
    using C = Column<SubTask>;
    QVector<C> columns{
        C::tick(),
        C(QStringLiteral("frame"), blocks ? MissionSubPage::tr("块") : MissionSubPage::tr("帧"), 112)
            .text(
                [](const SubTask &s) { return s.block > 0 ? MissionSubPage::tr("第 %1 块").arg(s.block) : s.frames(); })
            .tip([](const SubTask &s) { return QStringLiteral("%1  %2").arg(s.frames(), s.id); })
            .icon([](const SubTask &s) { return s.timeout ? QStringLiteral("timeout") : QString(); })
            .sort([](const SubTask &s) { return qlonglong(s.first) * 1000 + s.block; })
            .stretch()
            .atLeast(80),
        C(QStringLiteral("preview"), MissionSubPage::tr("图片"), 80)
            .text([](const SubTask &s) { return mayPreview(s) ? MissionSubPage::tr("预览") : QString(); })
            .tint([](const SubTask &) { return Tint::Running; })
            .link()
            .unsorted()
            .atLeast(80)
            .giving(2),
        C(QStringLiteral("split"), QString(), 120)
            .text([software](const SubTask &s) { return s.split(software()); })
            .atLeast(88)
            .giving(6),
        C(QStringLiteral("state"), MissionSubPage::tr("状态"), 96)
            .text([](const SubTask &s) { return s.stateText(); })
            .tint(tintOf)
            .sort([](const SubTask &s) { return s.status; })
            .atLeast(88),
        C(QStringLiteral("note"), MissionSubPage::tr("说明"), 112)
            .text([](const SubTask &s) { return s.note(); })
            .icon([](const SubTask &s) { return s.marked() ? QStringLiteral("retry") : QString(); })
            .atLeast(80)
            .giving(5),
        C(QStringLiteral("blocks"), MissionSubPage::tr("分块"), 72)
            .text([](const SubTask &s) { return s.blocks > 0 ? QString::number(s.blocks) : QString(); })
            .sort([](const SubTask &s) { return s.blocks; })
            .tint([](const SubTask &) { return Tint::Running; })
            .link()
            .right()
            .atLeast(72)
            .giving(11),
        C(QStringLiteral("start"), MissionSubPage::tr("开始时间"), 156)
            .text([](const SubTask &s) { return s.startTime; })
            .atLeast(152)
            .giving(8),
        C(QStringLiteral("end"), MissionSubPage::tr("结束时间"), 156)
            .text([](const SubTask &s) { return s.endTime; })
            .atLeast(152)
            .giving(9),
        C(QStringLiteral("seconds"), MissionSubPage::tr("渲染时长"), 96)
            .text([](const SubTask &s) { return TaskText::duration(s.seconds); })
            .sort([](const SubTask &s) { return s.seconds; })
            .right()
            .atLeast(96)
            .giving(3),
        C(QStringLiteral("memory"), MissionSubPage::tr("内存峰值"), 112)
            .text([](const SubTask &s) { return s.memory; })
            .right()
            .atLeast(112)
            .giving(10),
        C(QStringLiteral("stage"), MissionSubPage::tr("阶段"), 72)
            .text([](const SubTask &s) { return s.stageText(); })
            .atLeast(72)
            .giving(12)
            .hiddenAtFirst(),
        C(QStringLiteral("speed"), MissionSubPage::tr("速度"), 80)
            .text([](const SubTask &s) { return s.speed == QLatin1String("0") ? QString() : s.speed; })
            .right()
            .atLeast(80)
            .giving(13)
            .hiddenAtFirst(),
        C(QStringLiteral("down"), MissionSubPage::tr("下载状态"), 128).text(downloadText).atLeast(120).giving(7),
        LogItem::column()};
    if (blocks)
        columns.remove(6);
    auto *model = new SubModel([](const SubTask &s) { return s.id; }, columns);
    model->setSame([](const SubTask &a, const SubTask &b) { return a == b; });
    return model;
}

TablePage::Look lookOf(const QString &name, bool blocks)
{
    TablePage::Look look;
    look.name = name;
    look.accessible = blocks ? MissionSubPage::tr("分块列表") : MissionSubPage::tr("子任务列表");
    look.emptyIcon = QStringLiteral("image");
    look.emptyText = blocks ? MissionSubPage::tr("没有分块") : MissionSubPage::tr("没有子任务");
    look.emptyHint = MissionSubPage::tr("换一个状态，或稍后刷新");
    return look;
}

QPushButton *headButton(const QString &text, const QString &icon = {})
{
    auto *one = new QPushButton(icon.isEmpty() ? QIcon() : IconTool::icon(icon), text);
    one->setAutoDefault(false);
    return one;
}
} // namespace

void SubModel::setSoftware(int software)
{
    m_software = software;
    emit headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
}

QVariant SubModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role == Qt::DisplayRole && section == columnOf(QStringLiteral("split")))
        return SubTask::splitTitle(m_software);
    return RecordModel::headerData(section, orientation, role);
}

MissionSubPage::MissionSubPage(const QString &name, bool blocks, QWidget *parent)
    : QWidget(parent), m_blocks(blocks), m_model(makeModel(blocks, [this] { return m_task.software; })),
      m_table(new TablePage(lookOf(name, blocks), m_model, this)), m_state(new QComboBox)
{
    m_model->setParent(this);
    setObjectName(name);
    m_state->addItems(SubTask::stateChoices());
    m_state->setAccessibleName(tr("子任务状态"));
    m_state->setToolTip(tr("子任务状态"));
    m_timer.setTimerType(Qt::CoarseTimer);
    m_timer.setInterval(RefreshMs);
    m_soon.setSingleShot(true);
    m_soon.setInterval(SoonMs);
    connect(&m_timer, &QTimer::timeout, this, &MissionSubPage::refresh);
    connect(&m_soon, &QTimer::timeout, this, &MissionSubPage::refresh);
    connect(m_state, QOverload<int>::of(&QComboBox::activated), this, &MissionSubPage::stateChanged);
    connect(m_table, &TablePage::refreshWanted, this, &MissionSubPage::refresh);
    connect(m_table, &TablePage::pageWanted, this, &MissionSubPage::refresh);
    connect(m_table->view(), &RecordView::linkClicked, this, [this](const QString &key, const QString &column) {
        const SubTask *sub = m_model->record(key);
        if (sub && column == QLatin1String("log"))
            logHand(key);
        else if (sub && column == QLatin1String("preview"))
            previewClick(key);
        else if (sub && column == QLatin1String("blocks"))
            openBlocks(*sub);
    });
    connect(m_table->view(), &RecordView::opened, this, &MissionSubPage::previewClick);
    parent->installEventFilter(this);
    hide();
}

void MissionSubPage::build()
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    m_head = new QHBoxLayout;
    m_head->setContentsMargins(Metrics::Margin, Metrics::Gap, Metrics::Margin, 0);
    m_head->setSpacing(Metrics::Gap);
    auto *leave = headButton(tr("返回"), QStringLiteral("chevron-left"));
    connect(leave, &QPushButton::clicked, this, &MissionSubPage::back);
    m_title = new QLabel;
    m_title->setTextFormat(Qt::PlainText);
    m_title->setMinimumWidth(80);
    m_title->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_title->setObjectName(QStringLiteral("heading"));
    m_copy = headButton(tr("复制订单号"));
    connect(m_copy, &QPushButton::clicked, this, &MissionSubPage::copyNumber);
    m_head->addWidget(leave);
    m_head->addWidget(m_title, 1);
    m_head->addWidget(m_copy);
    addMore(m_head);
    column->addLayout(m_head);
    m_counts = new QLabel;
    m_counts->setTextFormat(Qt::PlainText);
    m_counts->setContentsMargins(Metrics::Margin, Metrics::Gap, Metrics::Margin, 0);
    column->addWidget(m_counts);
    column->addWidget(m_table, 1);
    addActs();
    m_table->build({m_state});
}

void MissionSubPage::addActs()
{
    const auto act = [this](const char *id, const QString &text, const QString &icon, int places) {
        ActSpec spec;
        spec.id = QLatin1String(id);
        spec.text = text;
        spec.icon = icon;
        spec.places = places;
        return spec;
    };
    const auto all = [this](void (MissionSubPage::*run)(const QList<SubTask> &)) {
        return [this, run](const QStringList &keys) { (this->*run)(m_model->records(keys)); };
    };
    ActSpec preview = act("preview", tr("预览"), QStringLiteral("image"), ActSpec::Bar | ActSpec::Menu);
    preview.single = true;
    preview.every = true;
    preview.possible = m_model->when(mayPreview);
    preview.run = [this](const QStringList &keys) { previewClick(keys.value(0)); };
    m_table->acts()->add(preview);
    ActSpec log = act("log", tr("查看日志"), QStringLiteral("file"), ActSpec::Bar | ActSpec::Menu);
    log.single = true;
    log.every = true;
    log.possible = m_model->when(LogItem::possible);
    log.run = [this](const QStringList &keys) { logHand(keys.value(0)); };
    m_table->acts()->add(log);
    ActSpec down = act("download", tr("下载"), QStringLiteral("download"), ActSpec::Bar | ActSpec::Menu);
    down.every = true;
    down.possible = m_model->when([](const SubTask &s) { return s.mayDownload(); });
    down.run = all(&MissionSubPage::download);
    m_table->acts()->add(down);
    ActSpec again = act("rerender", tr("重渲当前帧"), QStringLiteral("retry"), ActSpec::Bar | ActSpec::Menu);
    again.every = true;
    again.possible = m_model->when([](const SubTask &s) { return s.mayRerender(); });
    again.question = [](const QStringList &) { return tr("重渲当前帧，子任务将重渲生成新的渲染记录并有新的费用产生"); };
    again.run = all(&MissionSubPage::rerender);
    m_table->acts()->add(again);
    if (!m_blocks) {
        ActSpec cancel = act("cancel", tr("取消渲染"), QStringLiteral("close"), ActSpec::Bar | ActSpec::Menu);
        cancel.danger = true;
        cancel.every = true;
        cancel.possible = m_model->when([](const SubTask &s) { return s.mayCancel(); });
        cancel.question = [](const QStringList &) { return tr("确定取消渲染吗？"); };
        cancel.run = all(&MissionSubPage::cancel);
        m_table->acts()->add(cancel);
        ActSpec blocks = act("blocks", tr("分块详情"), QStringLiteral("columns"), ActSpec::Menu);
        blocks.single = true;
        blocks.possible = m_model->when([](const SubTask &s) { return s.blocks > 0; });
        blocks.run = m_model->each([this](const SubTask &s) { openBlocks(s); });
        m_table->acts()->add(blocks);
    }
    ActSpec compare = act("compare", tr("对比两帧"), QStringLiteral("image"), ActSpec::More | ActSpec::Menu);
    compare.possible = preview.possible;
    compare.run = [this](const QStringList &keys) { compareTwo(keys); };
    m_table->acts()->add(compare);
    ActSpec sheet = act("sheet", tr("全部帧"), QStringLiteral("image"), ActSpec::More);
    sheet.free = true;
    sheet.run = [this](const QStringList &) { showSheet(); };
    m_table->acts()->add(sheet);
    ActSpec folder = act("folder", tr("打开本地目录"), QStringLiteral("folder"), ActSpec::More);
    folder.free = true;
    folder.run = [this](const QStringList &) { openFolder(); };
    m_table->acts()->add(folder);
}

void MissionSubPage::start(const TaskRecord &task)
{
    const bool other = task.id != m_task.id;
    m_task = task;
    m_model->setSoftware(task.software);
    if (other || m_blocks) {
        m_model->setRows({});
        m_state->setCurrentIndex(0);
        m_table->pages()->first();
        m_list = {};
        m_counts->clear();
    }
    m_copy->setEnabled(!task.num.isEmpty());
    cover();
    show();
    raise();
    m_table->view()->setFocus();
    refresh();
}

void MissionSubPage::cover()
{
    setGeometry(m_place ? m_place() : parentWidget()->rect());
    guardBelow(isVisible());
}

// What lies wholly below this page takes no keys meanwhile: Tab would lead to where nobody sees it.
void MissionSubPage::guardBelow(bool on)
{
    for (const QPointer<QWidget> &one : std::exchange(m_below, {}))
        if (one)
            one->setEnabled(true);
    for (auto *one : parentWidget()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
        if (on && one->isEnabled() && !one->isWindow() && !qobject_cast<MissionSubPage *>(one) &&
            geometry().contains(one->geometry())) {
            one->setEnabled(false);
            m_below << one;
        }
}

void MissionSubPage::setHeading(const QString &name, const QString &more)
{
    m_heading = more.isEmpty() ? name : QStringLiteral("%1    %2").arg(name, more);
    m_title->setToolTip(RecordModelBase::plainTip(m_heading));
    fitHeading();
}

void MissionSubPage::fitHeading()
{
    m_title->setText(m_title->fontMetrics().elidedText(m_heading, Qt::ElideMiddle, m_title->width()));
}

void MissionSubPage::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitHeading();
}

void MissionSubPage::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Palette::window);
    if (x() > 0) // beside the names of the tasks
        painter.fillRect(0, 0, 1, height(), Palette::line);
}

void MissionSubPage::refresh()
{
    // Under an open menu nothing changes; closing it asks.
    if (m_task.id.isEmpty() || !isVisible() || QApplication::activePopupWidget())
        return;
    m_timer.start();
    const int number = ++m_asked;
    m_table->setBusy(m_model->rowCount() == 0);
    ServerCall::ask(this, command(), body(m_state->currentIndex() - 1, m_table->pages()->page()),
                    [this, number](const ServerCall::Answer &answer) {
                        if (number != m_asked)
                            return;
                        m_table->setBusy(false);
                        m_table->setError(answer.text());
                        if (answer.good())
                            take(SubList::from(answer.object(), m_blocks));
                    });
}

void MissionSubPage::take(const SubList &list)
{
    m_list = list;
    if (!m_blocks)
        emit listed(m_task.id, list.rows);
    QSet<QString> here;
    for (const SubTask &sub : list.rows)
        here.insert(sub.id);
    // A row whose parent stands in the list too goes below it; of rings and longer chains the first row stays above.
    QHash<QString, QList<SubTask>> below;
    QList<SubTask> upper;
    for (const SubTask &sub : list.rows)
        if (!sub.parentId.isEmpty() && sub.parentId != sub.id && here.contains(sub.parentId))
            below[sub.parentId] << sub;
        else
            upper << sub;
    QSet<QString> tops;
    for (const SubTask &sub : qAsConst(upper))
        tops.insert(sub.id);
    const QStringList parents = below.keys();
    for (const QString &parent : parents)
        if (!tops.contains(parent)) // a replacement that was replaced itself: all of them below the first
            upper << below.take(parent);
    m_model->setRows(upper);
    for (const SubTask &sub : qAsConst(upper))
        m_model->setRows(below.value(sub.id), sub.id);
    for (auto it = below.cbegin(); it != below.cend(); ++it)
        if (!m_opened.contains(it.key())) { // a frame that renders once more is seen; who closes it keeps it closed
            m_opened.insert(it.key());
            m_table->view()->expand(m_model->indexOf(it.key()));
        }
    m_table->pages()->setPageSum(list.pages);
    const auto words =
        m_blocks ? tr("总块数：%1    渲染中：%2    排队中：%3    已暂停：%4    已完成：%5    已失败：%6    已取消：%7")
                 : tr("总帧数：%1    渲染中：%2    排队中：%3    已暂停：%4    已完成：%5    已失败：%6    已取消：%7");
    m_counts->setText(words.arg(list.total)
                          .arg(list.rendering)
                          .arg(list.waiting)
                          .arg(list.paused)
                          .arg(list.done)
                          .arg(list.failed)
                          .arg(list.cancelled));
}

void MissionSubPage::stateChanged(int)
{
    m_table->pages()->first();
    refresh();
}

void MissionSubPage::cancelAct() { m_table->acts()->run(QStringLiteral("cancel"), m_table->view()->targets()); }
void MissionSubPage::rerenAct() { m_table->acts()->run(QStringLiteral("rerender"), m_table->view()->targets()); }
void MissionSubPage::downAct() { m_table->acts()->run(QStringLiteral("download"), m_table->view()->targets()); }

// Told at once and when it's over, also where this view was left meanwhile; nothing is sent twice.
void MissionSubPage::operate(int cmd, const QList<QJsonObject> &bodies, const QString &good)
{
    QWidget *over = window();
    Toast::show(over, tr("正在处理 ..."));
    struct State {
        int open, failed = 0;
        QString why;
    };
    const auto state = std::make_shared<State>(State{bodies.size(), 0, {}});
    const QList<int> fine = cmd == Command::RerenderSubTask ? QList<int>{Command::success(cmd), 1040608} : QList<int>{};
    for (const QJsonObject &body : bodies)
        ServerCall::ask(
            over, cmd, body,
            [=, page = QPointer<MissionSubPage>(this), all = bodies.size()](const ServerCall::Answer &answer) {
                if (!answer.good()) {
                    ++state->failed;
                    state->why = answer.text();
                }
                if (--state->open > 0)
                    return;
                if (state->failed == 0)
                    Toast::show(over, good);
                else
                    MsgTool::msgOk(
                        over, all == 1 ? state->why
                                       : tr("%1 个中有 %2 个失败：%3").arg(all).arg(state->failed).arg(state->why));
                if (page)
                    page->refreshSoon();
            },
            fine);
}

void MissionSubPage::cancel(const QList<SubTask> &rows)
{
    QList<QJsonObject> bodies;
    for (const SubTask &sub : rows)
        bodies << SubAsk::cancel(m_task.id, sub);
    operate(Command::CancelSubTask, bodies, tr("已取消渲染"));
}

void MissionSubPage::rerender(const QList<SubTask> &rows)
{
    QStringList ids;
    for (const SubTask &sub : rows)
        ids << sub.id;
    operate(Command::RerenderSubTask, {SubAsk::chosen(m_task.id, ids)}, tr("重渲成功"));
}

void MissionSubPage::download(const QList<SubTask> &rows)
{
    QStringList ids;
    for (const SubTask &sub : rows) {
        if (sub.blocks > 0) {
            MsgTool::msgOk(this, tr("帧%1为优先帧分块渲染，请到分块详情页面下载！").arg(sub.frames()));
            return;
        }
        ids << sub.id;
    }
    QString fault;
    if (TaskHands::downloadSubs(m_task.id, ids, -1, &fault))
        Toast::show(window(), tr("已加入下载队列"));
    else
        MsgTool::msgOk(this, fault);
}

LogView *MissionSubPage::logHand(const QString &key)
{
    const SubTask *sub = m_model->record(key);
    if (!sub)
        return nullptr;
    // As far as this list knows; a row that isn't in it any more is taken for running.
    return LogItem::open(this, m_task.id, *sub, [page = QPointer<MissionSubPage>(this), task = m_task.id, key] {
        const SubTask *now = page && page->m_task.id == task ? page->m_model->record(key) : nullptr;
        return !now || !now->ended();
    });
}

PreviewQN *MissionSubPage::previewClick(const QString &key)
{
    const SubTask *sub = m_model->record(key);
    if (!sub)
        return nullptr;
    const int pictures = qMax(m_list.pictures, sub->pictures);
    const PreviewTask task{m_task.id, m_task.name, m_task.software, SubPicture::modeOf(m_task.software, pictures),
                           pictures,  m_list.rows};
    return PreviewQN::open(this, task, *sub);
}

void MissionSubPage::showSheet()
{
    const SubTask *sub = m_model->record(m_table->view()->targets().value(0, m_model->keys().value(0)));
    if (PreviewQN *view = sub ? previewClick(sub->id) : nullptr)
        view->setSheet(true);
}

void MissionSubPage::compareTwo(const QStringList &keys)
{
    const SubTask *second = m_model->record(keys.value(1));
    if (keys.size() != 2 || !second)
        return void(MsgTool::msgOk(this, tr("请选择两帧进行对比")));
    if (PreviewQN *view = previewClick(keys.value(0)))
        view->compareFrame(*second);
}

// By the same road as other programs' requests.
void MissionSubPage::openFolder()
{
    auto *hand = new CmdHand;
    connect(hand, &CmdHand::cmdOver, this, [this](const QByteArray &body) {
        const QJsonObject reply = QJsonDocument::fromJson(body).object();
        if (reply.value(QLatin1String("result")).toInt() != 1)
            MsgTool::msgOk(this, reply.value(QLatin1String("msg")).toString());
    });
    hand->start(QStringLiteral("/job /dir -mid=%1").arg(m_task.id), QStringLiteral("/localClient"));
}

void MissionSubPage::copyNumber()
{
    QGuiApplication::clipboard()->setText(m_task.num);
    Toast::show(window(), tr("已复制：%1").arg(m_task.num));
}

void MissionSubPage::back()
{
    hide();
    emit left();
}

void MissionSubPage::keyPressEvent(QKeyEvent *event)
{
    const bool alt = event->modifiers() & Qt::AltModifier;
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_Backspace || (alt && event->key() == Qt::Key_Left))
        return back();
    QWidget::keyPressEvent(event);
}

void MissionSubPage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    guardBelow(true);
    m_timer.start();
    if (!event->spontaneous())
        m_soon.start(0);
    m_soon.setInterval(SoonMs);
}

void MissionSubPage::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (isHidden()) // not with its window
        guardBelow(false);
    m_timer.stop();
}

bool MissionSubPage::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parent() && event->type() == QEvent::Resize && isVisible())
        cover();
    return QWidget::eventFilter(watched, event);
}
