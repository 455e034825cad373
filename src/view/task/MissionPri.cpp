#include "view/task/MissionPri.h"
#include "common/facts/Command.h"
#include "common/ui/kit/RowDrag.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TablePage.h"
#include "task/Cell.h"
#include "view/task/TaskTint.h"
#include <algorithm>
#include <QComboBox>
#include <QJsonArray>
#include <tuple>

namespace
{
RecordModel<PriRow> *makeModel(QObject *parent)
{
    using C = Column<PriRow>;
    const auto words = [](const char *text) { return MissionPri::tr(text); };
    const auto plain = [](const char *name, const QString &title, int width, int gives,
                          QString (*text)(const PriRow &)) {
        return C(QLatin1String(name), title, width).text(text).unsorted().giving(gives);
    };
    return new RecordModel<PriRow>([](const PriRow &row) { return row.job; },
                                   {plain("name", words(QT_TRANSLATE_NOOP("MissionPri", "任务名")), 200, 0,
                                          [](const PriRow &row) { return row.name; })
                                        .stretch(),
                                    plain("project", words(QT_TRANSLATE_NOOP("MissionPri", "所属项目")), 112, 2,
                                          [](const PriRow &row) { return row.project; }),
                                    plain("state", words(QT_TRANSLATE_NOOP("MissionPri", "任务状态")), 96, 0,
                                          [](const PriRow &row) { return TaskState::text(row.stand); })
                                        .tint([](const PriRow &row) { return taskTint(row.stand); }),
                                    plain("user", words(QT_TRANSLATE_NOOP("MissionPri", "创建人")), 96, 3,
                                          [](const PriRow &row) { return row.user; }),
                                    plain("time", words(QT_TRANSLATE_NOOP("MissionPri", "提交时间")), 148, 1,
                                          [](const PriRow &row) { return row.time; })},
                                   parent);
}
} // namespace

QList<PriRow> PriRow::list(const QJsonObject &reply)
{
    QList<PriRow> out;
    for (const QJsonValue &value : reply.value(QLatin1String("rows")).toArray()) {
        const QJsonObject row = value.toObject();
        PriRow one;
        one.job = Cell::id(row, "jobId");
        one.name = Cell::text(row, "name");
        one.project = Cell::text(row, "projectName");
        one.user = Cell::text(row, "submitNickname");
        one.time = TaskText::time(row.value(QLatin1String("createTime")));
        one.stand = {Cell::integer(row, "stage"), Cell::integer(row, "status"), Cell::integer(row, "result"),
                     Cell::integer(row, "subtype")};
        if (!one.job.isEmpty())
            out << one;
    }
    return out;
}

bool PriRow::operator==(const PriRow &other) const
{
    return std::tie(job, name, project, user, time) ==
               std::tie(other.job, other.name, other.project, other.user, other.time) &&
           stand == other.stand;
}

MissionPri::MissionPri(int farmId, const QString &job, TaskDesk *desk, QWidget *parent)
    : DialogFrame(QStringLiteral("MissionPri"), tr("优先级调度"), parent), m_farm(farmId), m_first(job), m_desk(desk),
      m_model(makeModel(this)), m_farms(new QComboBox(this))
{
    m_model->setSame([](const PriRow &one, const PriRow &two) { return one == two; });
    TablePage::Look look;
    look.accessible = windowTitle();
    look.emptyIcon = QStringLiteral("check");
    look.emptyText = tr("没有等待的任务");
    look.columns = false;
    m_table = new TablePage(look, m_model, this);
    addActs();
    m_farms->setObjectName(QStringLiteral("farm"));
    m_farms->setAccessibleName(tr("农场"));
    m_farms->setMinimumWidth(120);
    m_table->build({m_farms});
    m_table->setMinimumSize(640, 320);
    content()->setContentsMargins(0, 0, 0, 0);
    content()->addWidget(m_table, 1);
    addButton(tr("关闭"), Close);
    connect(m_table, &TablePage::refreshWanted, this, &MissionPri::on_refresh_clicked);
    connect(m_farms, QOverload<int>::of(&QComboBox::activated), this, [this] {
        m_farm = m_farms->currentData().toInt();
        on_refresh_clicked();
    });
    connect(
        new RowDrag(m_table->view()), &RowDrag::dropped, this,
        [this](const QStringList &keys, const QString &before) { send(moveBefore(before, m_model->keys(), keys)); });
    on_refresh_clicked();
}

void MissionPri::addActs()
{
    const auto add = [this](const char *id, const QString &text, const char *icon, const QKeySequence &keys, Way way) {
        ActSpec spec;
        spec.id = QLatin1String(id);
        spec.text = text;
        spec.icon = QLatin1String(icon);
        spec.places = ActSpec::Bar | ActSpec::Menu;
        spec.keys = keys;
        spec.run = [this, way](const QStringList &rows) { send(moveOf(way, m_model->keys(), rows)); };
        m_table->acts()->add(spec);
    };
    add("up", tr("上移"), "chevron-up", QKeySequence(Qt::CTRL | Qt::Key_Up), Up);
    add("down", tr("下移"), "chevron-down", QKeySequence(Qt::CTRL | Qt::Key_Down), Down);
    add("top", tr("置顶"), "top", QKeySequence(Qt::CTRL | Qt::Key_Home), Top);
    add("bottom", tr("置底"), "arrow-down", QKeySequence(Qt::CTRL | Qt::Key_End), Bottom);
}

MissionPri::Move MissionPri::moveOf(Way way, const QStringList &order, const QStringList &jobs)
{
    if (order.isEmpty() || jobs.isEmpty())
        return {};
    const int first = order.indexOf(jobs.first()), last = order.indexOf(jobs.last());
    switch (way) {
    case Up:
        return first > 0 ? Move{jobs, order.at(first - 1), false} : Move();
    case Down:
        return last >= 0 && last + 1 < order.size() ? Move{jobs, order.at(last + 1), true} : Move();
    case Top:
        return {jobs, order.first(), false};
    case Bottom:
        return {jobs, order.last(), true};
    }
    return {};
}

// Dropped on one of their own they close up behind what stands before it.
MissionPri::Move MissionPri::moveBefore(const QString &before, const QStringList &order, const QStringList &jobs)
{
    int at = before.isEmpty() ? order.size() : order.indexOf(before);
    while (at >= 0 && at < order.size() && jobs.contains(order.at(at)))
        ++at;
    if (at < 0 || jobs.isEmpty())
        return {};
    Move move{jobs, at < order.size() ? order.at(at) : QString(), false};
    for (int last = order.size() - 1; move.anchor.isEmpty() && last >= 0; --last)
        if (!jobs.contains(order.at(last)))
            move = {jobs, order.at(last), true};
    QStringList now = order;
    for (const QString &job : jobs)
        now.removeAll(job);
    const int place = now.indexOf(move.anchor) + (move.behind ? 1 : 0);
    return now.mid(0, place) + jobs + now.mid(place) == order ? Move() : move;
}

void MissionPri::send(const Move &move)
{
    if (move.anchor.isEmpty() || m_moving)
        return;
    QHash<QString, QString> names;
    for (const PriRow &row : m_model->records(move.jobs))
        names.insert(row.job, row.name);
    m_moving = true;
    setError({});
    m_desk->send(TaskAct::Priority, {TaskRequest::move(m_farm, move.jobs, move.anchor, move.behind)}, names, this,
                 [this](const TaskOutcome &outcome) {
                     m_moving = false;
                     setError(outcome.good() ? QString() : outcome.text());
                     on_refresh_clicked();
                 });
}

void MissionPri::on_refresh_clicked()
{
    m_table->setBusy(m_model->rowCount() == 0);
    ServerCall::ask(this, Command::PriorityList, {{QStringLiteral("farmId"), m_farm}},
                    [this, round = ++m_round](const ServerCall::Answer &answer) {
                        if (round != m_round)
                            return;
                        m_table->setBusy(false);
                        m_table->setError(answer.text());
                        if (!answer.good())
                            return;
                        showFarms(answer.object().value(QLatin1String("farms")).toArray());
                        m_model->setRows(PriRow::list(answer.object()));
                        if (!m_first.isEmpty())
                            m_table->view()->select({std::exchange(m_first, QString())});
                    });
}

void MissionPri::showFarms(const QJsonArray &farms)
{
    const QSignalBlocker quiet(m_farms);
    m_farms->clear();
    for (const QJsonValue &farm : farms)
        m_farms->addItem(Cell::text(farm.toObject(), "name"), Cell::integer(farm.toObject(), "id"));
    if (m_farms->findData(m_farm) < 0)
        m_farms->insertItem(0, tr("农场 %1").arg(m_farm), m_farm);
    m_farms->setCurrentIndex(m_farms->findData(m_farm));
}
