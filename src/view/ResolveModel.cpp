#include "view/ResolveModel.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/SceneState.h"
#include "common/Session.h"
#include "common/ui/Delegates.h"
#include "common/ui/Palette.h"
#include "common/ui/RowSync.h"
#include "common/UserInfo.h"
#include "db/ResolveDAO.h"
#include <QCoreApplication>
#include <QDateTime>

namespace
{
using SceneState::Act;

// The states whose change brings new counts of files.
constexpr SceneState::Set Counted{SceneState::UploadWaiting, SceneState::UploadFailed, SceneState::Approved,
                                  SceneState::DoneAtMaster};

QString sceneName(const QString &path) { return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1); }

QString errorText(const db_resolve &res)
{
    if (res.error == 0)
        return {};
    return res.error >= AnalysisError::FirstServerResult ? Session::errorText(res.error)
                                                         : AnalysisError::text(res.error);
}

QColor colour(int state)
{
    switch (SceneState::tint(state)) {
    case SceneState::Tint::Warning:
        return Palette::warning;
    case SceneState::Tint::Failed:
        return Palette::failed;
    case SceneState::Tint::Done:
        return Palette::done;
    case SceneState::Tint::Running:
        return Palette::accent;
    case SceneState::Tint::Plain:
        break;
    }
    return Palette::text;
}

// Three texts, empty where there is no button.
QStringList buttons(int state, bool canAnalyse, bool canUpload)
{
    const bool mine = (!SceneState::isAnalysis(state) || canAnalyse) && (!SceneState::isUpload(state) || canUpload);
    return {SceneState::buttonText(SceneState::mainButton(state)),
            mine ? SceneState::buttonText(Act::Delete) : QString(),
            SceneState::priorityType(state) >= 0 ? SceneState::buttonText(Act::Prioritise) : QString()};
}
} // namespace

int ResolveModel::rowCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : m_rows.size(); }
int ResolveModel::columnCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : ColumnCount; }

Qt::ItemFlags ResolveModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags base = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return index.column() == Tick ? base | Qt::ItemIsUserCheckable : base;
}

QVariant ResolveModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    if (role == Qt::CheckStateRole && section == Tick)
        return tickState();
    if (role != Qt::DisplayRole)
        return {};
    static const char *const titles[ColumnCount] = {"",
                                                    QT_TRANSLATE_NOOP("Resolve", "订单号"),
                                                    QT_TRANSLATE_NOOP("Resolve", "文件名称"),
                                                    QT_TRANSLATE_NOOP("Resolve", "所属项目"),
                                                    QT_TRANSLATE_NOOP("Resolve", "开始解析时间"),
                                                    QT_TRANSLATE_NOOP("Resolve", "上传进度"),
                                                    QT_TRANSLATE_NOOP("Resolve", "状态"),
                                                    QT_TRANSLATE_NOOP("Resolve", "操作")};
    return section == Tick ? QString() : QCoreApplication::translate("Resolve", titles[section]);
}

QVariant ResolveModel::text(const db_resolve &res, int column) const
{
    switch (column) {
    case Order:
        return res.ordernum;
    case Name:
        return sceneName(res.lpath);
    case Project:
        return res.project;
    case Time:
        return res.rtime > 0 ? QDateTime::fromMSecsSinceEpoch(res.rtime).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                             : QString();
    case Progress:
        return res.fsum > 0 ? QStringLiteral("%1/%2").arg(res.fok).arg(res.fsum) : QString();
    case State:
        return SceneState::text(res.state);
    default:
        return {};
    }
}

QVariant ResolveModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const db_resolve &res = m_rows.at(index.row());
    const int column = index.column();
    switch (role) {
    case KeyRole:
        return res.rkey;
    case Qt::UserRole:
        return column == State ? QVariant(res.state) : QVariant(res.rkey);
    case MissionRole0:
        return res.missionid;
    case Qt::DisplayRole:
        return text(res, column);
    case Qt::CheckStateRole:
        return column == Tick ? QVariant(m_ticked.contains(res.rkey) ? Qt::Checked : Qt::Unchecked) : QVariant();
    case Qt::ToolTipRole:
        return column == Name                                 ? res.lpath
               : column == State && !errorText(res).isEmpty() ? errorText(res)
                                                              : text(res, column);
    case Qt::AccessibleTextRole:
        return column == Hand ? buttons(res.state, true, true).join(QLatin1Char(' ')).trimmed() : text(res, column);
    case CellRole::Tint:
        return column == State ? QVariant(colour(res.state)) : QVariant();
    case CellRole::Icon:
        return column == Name && res.error == AnalysisError::Overdue ? QVariant(QStringLiteral("timeout")) : QVariant();
    case CellRole::Part:
        return column == Progress ? QVariant(qlonglong(res.fok)) : QVariant();
    case CellRole::Whole:
        return column == Progress ? QVariant(qlonglong(res.fsum)) : QVariant();
    case CellRole::Buttons:
        return column == Hand ? QVariant(buttons(res.state, UserInfo::canAnalyse(), UserInfo::canUpload()))
                              : QVariant();
    default:
        return {};
    }
}

bool ResolveModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole || index.column() != Tick)
        return false;
    tick({m_rows.at(index.row()).rkey}, value.toInt() == Qt::Checked);
    return true;
}

void ResolveModel::tick(const QList<qlonglong> &keys, bool on)
{
    for (qlonglong key : keys) {
        if (on)
            m_ticked.insert(key);
        else
            m_ticked.remove(key);
    }
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, Tick), index(m_rows.size() - 1, Tick));
    emit headerDataChanged(Qt::Horizontal, Tick, Tick);
    emit ticksChanged();
}

void ResolveModel::tickAll(bool on)
{
    QList<qlonglong> keys;
    for (const db_resolve &res : qAsConst(m_rows))
        keys << res.rkey;
    tick(keys, on);
}

Qt::CheckState ResolveModel::tickState() const
{
    const int count = ticked().size();
    return count == 0 ? Qt::Unchecked : count == m_rows.size() ? Qt::Checked : Qt::PartiallyChecked;
}

QList<qlonglong> ResolveModel::ticked() const
{
    QList<qlonglong> keys;
    for (const db_resolve &res : m_rows)
        if (m_ticked.contains(res.rkey))
            keys << res.rkey;
    return keys;
}

void ResolveModel::setRows(const QList<db_resolve> &rows)
{
    QSet<qlonglong> wanted;
    for (const db_resolve &res : rows)
        wanted.insert(res.rkey);
    RowSync sync;
    sync.count = [this] { return m_rows.size(); };
    sync.same = [&](int row, int i) { return m_rows.at(row).rkey == rows.at(i).rkey; };
    sync.wantedAnywhere = [&](int row) { return wanted.contains(m_rows.at(row).rkey); };
    sync.remove = [this](int row) {
        beginRemoveRows({}, row, row);
        m_rows.removeAt(row);
        endRemoveRows();
    };
    sync.move = [this](int from, int to) {
        beginMoveRows({}, from, from, {}, to);
        m_rows.move(from, to);
        endMoveRows();
    };
    sync.insert = [&](int row, int i) {
        beginInsertRows({}, row, row);
        m_rows.insert(row, rows.at(i));
        endInsertRows();
    };
    sync.update = [&](int row, int i) {
        m_rows[row] = rows.at(i);
        changed(row, 0, ColumnCount - 1);
    };
    sync.run(rows.size());
    m_ticked.intersect(wanted);
    emit headerDataChanged(Qt::Horizontal, Tick, Tick);
    emit ticksChanged();
}

void ResolveModel::orderChanged(const db_resolve &res)
{
    const int at = rowOf(res.rkey);
    if (at < 0)
        return;
    m_rows[at].ordernum = res.ordernum;
    m_rows[at].missionid = res.missionid;
    changed(at, Order, Order);
}

void ResolveModel::stateChanged(const db_resolve &res)
{
    const int at = rowOf(res.rkey);
    if (at < 0)
        return;
    db_resolve &mine = m_rows[at];
    mine.state = res.state;
    mine.error = res.error;
    mine.errstr = res.errstr;
    mine.rtime = res.rtime;
    if (!res.lpath.isEmpty())
        mine.lpath = res.lpath;
    if (Counted.contains(res.state)) {
        mine.fok = res.fok;
        mine.fsum = res.fsum;
    }
    changed(at, Name, Hand);
    emit ticksChanged(); // what the menu offers follows the states
}

void ResolveModel::upProgress(qlonglong rkey, int ok, int sum)
{
    const int at = rowOf(rkey);
    if (at < 0)
        return;
    m_rows[at].fok = ok;
    m_rows[at].fsum = sum;
    changed(at, Progress, Progress);
}

void ResolveModel::rightsChanged()
{
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, Hand), index(m_rows.size() - 1, Hand));
}

db_resolve ResolveModel::row(qlonglong rkey) const
{
    const int at = rowOf(rkey);
    return at < 0 ? db_resolve() : m_rows.at(at);
}

int ResolveModel::rowOf(qlonglong rkey) const
{
    for (int i = 0; i < m_rows.size(); ++i)
        if (m_rows.at(i).rkey == rkey)
            return i;
    return -1;
}

void ResolveModel::changed(int row, int first, int last)
{
    if (row < m_rows.size())
        emit dataChanged(index(row, first), index(row, last));
}
