#include "common/facts/SceneState.h"
#include <QCoreApplication>
#include <QStringList>

namespace SceneState
{
namespace
{
struct Rule {
    Act act;
    Set from, to;
};

const Rule rules[] = {
    {Act::Commit, Ended, {Committed}},
    {Act::Recommit, {SubmitFailed}, {Committed}},
    {Act::Delete, All, {}},
    {Act::Again, BeforeCommit, {}},
    {Act::PauseAnalysis, {Waiting, Analysing}, {AnalysisPaused}},
    {Act::ResumeAnalysis, {AnalysisPaused}, {Waiting}},
    {Act::PauseUpload, ForUpload, {UploadPaused}},
    {Act::ResumeUpload, {UploadPaused, UploadFailed}, {UploadWaiting}},
    {Act::EditParameters, BeforeCommit, {Committed}},
    {Act::SeeWarnings, {Warned}, {}},
    {Act::SeeErrors, {Failed, SubmitFailed, OrderRefused}, {}},
    {Act::Prioritise, {Waiting, UploadWaiting, Uploading}, {}},

    {Act::Start, {Waiting}, {Analysing}},
    {Act::Finish, {Analysing}, Ended},
    {Act::Overrun, {Analysing}, {AnalysisPaused}},
    {Act::CannotStart, {Waiting}, {Failed}},
    {Act::Abandon, {Analysing}, {Waiting, Failed}},
    {Act::GrantOrder, {OrderRefused}, {Waiting}},
    {Act::RefuseOrder, {Waiting, OrderRefused}, {OrderRefused}},
    {Act::CommitClone, BeforeCommit | Set{OrderRefused}, {Committed}},
    {Act::BlockCommit, Ended | Set{SubmitFailed}, {Warned}},
    {Act::Submit, {Committed}, {Submitting}},
    {Act::Refuse, {Committed, Submitting, SubmitFailed}, {SubmitFailed}},
    {Act::SubmitAgain, {Submitting}, {Committed}},
    // Also behind a time-out, and when the user had asked for a second try already: the server has the order.
    {Act::Accept, {Committed, Submitting, SubmitFailed}, {UploadWaiting}},
    {Act::TakeUp, {UploadWaiting}, {Uploading}},
    {Act::Interrupt, {Uploading}, {UploadWaiting}},
    {Act::FailUpload, ForUpload, {UploadFailed}},
    {Act::LoseFiles, ForUpload, {Committed}},
    {Act::KeepForSeat, InUpload, {DoneForSeat}},
    {Act::HandOver, {Submitting}, {ApprovalWaiting}},
    {Act::Approve, {ApprovalWaiting}, {Approved}},
    {Act::Reject, {ApprovalWaiting, Approved}, {Rejected}},
    {Act::EndAtMaster, {ApprovalWaiting, Approved}, {DoneAtMaster}},
};

const Rule *find(Act act)
{
    for (const Rule &rule : rules)
        if (rule.act == act)
            return &rule;
    return nullptr;
}

constexpr Act changes[] = {Act::PauseAnalysis, Act::ResumeAnalysis, Act::PauseUpload, Act::ResumeUpload};

const struct {
    int state;
    const char *text;
} texts[] = {
    {Waiting, QT_TRANSLATE_NOOP("SceneState", "待解析")},
    {Analysing, QT_TRANSLATE_NOOP("SceneState", "解析中")},
    {AnalysisPaused, QT_TRANSLATE_NOOP("SceneState", "解析暂停")},
    {Warned, QT_TRANSLATE_NOOP("SceneState", "解析警告")},
    {Failed, QT_TRANSLATE_NOOP("SceneState", "解析错误")},
    {Incomplete, QT_TRANSLATE_NOOP("SceneState", "参数缺失")},
    {Clean, QT_TRANSLATE_NOOP("SceneState", "解析完成，请提交渲染")},
    {Committed, QT_TRANSLATE_NOOP("SceneState", "待提交")},
    {Submitting, QT_TRANSLATE_NOOP("SceneState", "提交中")},
    {SubmitFailed, QT_TRANSLATE_NOOP("SceneState", "提交错误")},
    {UploadWaiting, QT_TRANSLATE_NOOP("SceneState", "待上传")},
    {Uploading, QT_TRANSLATE_NOOP("SceneState", "上传中")},
    {UploadPaused, QT_TRANSLATE_NOOP("SceneState", "上传暂停")},
    {UploadFailed, QT_TRANSLATE_NOOP("SceneState", "上传异常")},
    {OrderRefused, QT_TRANSLATE_NOOP("SceneState", "申请失败")},
    {ApprovalWaiting, QT_TRANSLATE_NOOP("SceneState", "等待审核")},
    {Approved, QT_TRANSLATE_NOOP("SceneState", "申请通过")},
    {Rejected, QT_TRANSLATE_NOOP("SceneState", "申请驳回")},
    {DoneAtMaster, QT_TRANSLATE_NOOP("SceneState", "申请通过")},
    {Submitted, QT_TRANSLATE_NOOP("SceneState", "提交成功")},
};
} // namespace

QList<int> Set::list() const
{
    QList<int> states;
    for (int state = First; state <= Last; ++state)
        if (contains(state))
            states << state;
    return states;
}

int Set::only() const
{
    const QList<int> states = list();
    return states.size() == 1 ? states.first() : int(None);
}

QString Set::sql() const
{
    QStringList numbers;
    for (int state : list())
        numbers << QString::number(state);
    return numbers.join(QLatin1Char(','));
}

Set from(Act act)
{
    const Rule *rule = find(act);
    return rule ? rule->from : Set();
}

Set to(Act act)
{
    const Rule *rule = find(act);
    return rule ? rule->to : Set();
}

bool possible(Act act, int state) { return from(act).contains(state); }

Act link(int state)
{
    for (Act act : {Act::SeeWarnings, Act::SeeErrors})
        if (possible(act, state))
            return act;
    return state == Clean ? Act::EditParameters : Act::None;
}

Act mainButton(int state)
{
    if (state == Waiting || state == UploadWaiting) // its place in the queue has a button of its own
        return Act::None;
    for (Act act : changes)
        if (possible(act, state))
            return act;
    return Act::None;
}

int changeType(Act act)
{
    for (int type = 0; type < 4; ++type)
        if (changes[type] == act)
            return type;
    return -1;
}

Act ofChangeType(int type) { return type >= 0 && type < 4 ? changes[type] : Act::None; }

int priorityType(int state) { return !possible(Act::Prioritise, state) ? -1 : state == Waiting ? 0 : 1; }

bool isAnalysis(int state) { return state == Analysing || state == AnalysisPaused; }

bool isUpload(int state) { return state >= Uploading && state <= UploadFailed; }

QString text(int state)
{
    for (const auto &row : texts)
        if (row.state == state)
            return QCoreApplication::translate("SceneState", row.text);
    return {};
}

QString buttonText(Act act)
{
    switch (act) {
    case Act::ResumeAnalysis:
    case Act::ResumeUpload:
        return QCoreApplication::translate("SceneState", "继续");
    case Act::PauseAnalysis:
    case Act::PauseUpload:
        return QCoreApplication::translate("SceneState", "暂停");
    case Act::Delete:
        return QCoreApplication::translate("SceneState", "取消");
    case Act::Prioritise:
        return QCoreApplication::translate("SceneState", "优先级");
    default:
        return {};
    }
}

Tint tint(int state)
{
    switch (state) {
    case Warned:
        return Tint::Warning;
    case Failed:
    case SubmitFailed:
    case UploadFailed:
    case OrderRefused:
        return Tint::Failed;
    case Clean:
        return Tint::Done;
    case Analysing:
    case Submitting:
    case Uploading:
        return Tint::Running;
    default:
        return Tint::Plain;
    }
}
} // namespace SceneState
