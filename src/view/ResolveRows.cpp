#include "view/ResolveRows.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/SceneState.h"
#include "common/ui/kit/ServerCall.h"
#include <QCoreApplication>
#include <QDateTime>

namespace
{
constexpr int ReasonLines = 4, ReasonLength = 400; // of a text that may be megabytes

QString words(const char *text) { return QCoreApplication::translate("Resolve", text); }

QString timeText(const db_resolve &res)
{
    return res.rtime > 0 ? QDateTime::fromMSecsSinceEpoch(res.rtime).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                         : QString();
}

QString progressText(const db_resolve &res)
{
    return res.fsum > 0 ? QStringLiteral("%1/%2").arg(res.fok).arg(res.fsum) : QString();
}

QString next(int state)
{
    switch (state) {
    case SceneState::Warned:
        return words(QT_TRANSLATE_NOOP("Resolve", "点击状态查看警告，确认后可以提交渲染"));
    case SceneState::Failed:
        return words(QT_TRANSLATE_NOOP("Resolve", "点击状态查看原因，修改场景后重新解析"));
    case SceneState::SubmitFailed:
        return words(QT_TRANSLATE_NOOP("Resolve", "点击状态查看原因，然后重新提交"));
    case SceneState::OrderRefused:
        return words(QT_TRANSLATE_NOOP("Resolve", "服务器没有给出订单号，客户端会自动再次申请"));
    case SceneState::UploadFailed:
        return words(QT_TRANSLATE_NOOP("Resolve", "在传输管理中查看失败的文件，然后继续上传"));
    default:
        return {};
    }
}

QString errorText(int error)
{
    if (error == 0)
        return {};
    if (error >= AnalysisError::FirstServerResult)
        return ServerCall::codeText(error);
    const QString text = AnalysisError::text(error);
    return text.isEmpty() ? QString() : QStringLiteral("%1 (%2)").arg(text).arg(error);
}
} // namespace

QString ResolveRows::key(qlonglong rkey) { return QString::number(rkey); }
qlonglong ResolveRows::rkey(const QString &key) { return key.toLongLong(); }
QString ResolveRows::sceneName(const db_resolve &res)
{
    return res.lpath.mid(res.lpath.lastIndexOf(QLatin1Char('/')) + 1);
}

QString ResolveRows::reason(const db_resolve &res)
{
    const QString advice = next(res.state);
    if (advice.isEmpty())
        return {};
    QStringList lines = res.errstr.left(ReasonLength).split(QLatin1Char('\n'), Qt::SkipEmptyParts).mid(0, ReasonLines);
    for (QString &line : lines)
        line = line.trimmed();
    lines.prepend(errorText(res.error));
    lines.append(advice);
    lines.removeAll(QString());
    lines.removeDuplicates();
    return lines.join(QLatin1Char('\n'));
}

Tint ResolveRows::tint(const db_resolve &res)
{
    switch (SceneState::tint(res.state)) {
    case SceneState::Tint::Warning:
        return Tint::Warning;
    case SceneState::Tint::Failed:
        return Tint::Failed;
    case SceneState::Tint::Done:
        return Tint::Done;
    case SceneState::Tint::Running:
        return Tint::Running;
    case SceneState::Tint::Plain:
        break;
    }
    return Tint::Plain;
}

ResolveRows::Model *ResolveRows::model(QObject *parent)
{
    using C = Column<db_resolve>;
    const auto state = [](const db_resolve &r) { return SceneState::text(r.state); };
    const auto tip = [state](const db_resolve &r) {
        const QString why = reason(r);
        return why.isEmpty() ? state(r) : why;
    };
    const auto late = [](const db_resolve &r) {
        return r.error == AnalysisError::Overdue ? QStringLiteral("timeout") : QString();
    };
    const auto rkey = [](const db_resolve &r) { return QVariant(r.rkey); };
    const auto done = [](const db_resolve &r) { return QPair<qlonglong, qlonglong>(r.fok, r.fsum); };
    auto *model = new Model([](const db_resolve &r) { return key(r.rkey); },
                            {C::tick()
                                 .role(Qt::UserRole, rkey)
                                 .role(Qt::UserRole + 1, [](const db_resolve &r) { return QVariant(r.missionid); }),
                             C(QStringLiteral("order"), words(QT_TRANSLATE_NOOP("Resolve", "订单号")), 128)
                                 .text([](const db_resolve &r) { return r.ordernum; })
                                 .atLeast(96)
                                 .giving(2),
                             C(QStringLiteral("name"), words(QT_TRANSLATE_NOOP("Resolve", "文件名称")), 200)
                                 .text(sceneName)
                                 .tip([](const db_resolve &r) { return r.lpath; })
                                 .icon(late)
                                 .stretch()
                                 .atLeast(180),
                             C(QStringLiteral("project"), words(QT_TRANSLATE_NOOP("Resolve", "所属项目")), 96)
                                 .text([](const db_resolve &r) { return r.project; })
                                 .atLeast(88)
                                 .giving(4),
                             C(QStringLiteral("time"), words(QT_TRANSLATE_NOOP("Resolve", "开始解析时间")), 152)
                                 .text(timeText)
                                 .sort([](const db_resolve &r) { return r.rtime; })
                                 .atLeast(152)
                                 .giving(3),
                             C(QStringLiteral("progress"), words(QT_TRANSLATE_NOOP("Resolve", "上传进度")), 112)
                                 .text(progressText)
                                 .progress(done)
                                 .atLeast(72)
                                 .giving(1),
                             C(QStringLiteral("state"), words(QT_TRANSLATE_NOOP("Resolve", "状态")), 168)
                                 .text(state)
                                 .tint(tint)
                                 .tip(tip)
                                 .role(Qt::UserRole, [](const db_resolve &r) { return QVariant(r.state); })
                                 .link()
                                 .atLeast(120),
                             C::acts(words(QT_TRANSLATE_NOOP("Resolve", "操作")), 168)},
                            parent);
    model->setSortBy(RecordModelBase::SortBy::Source);
    model->setSame([](const db_resolve &a, const db_resolve &b) {
        return a.state == b.state && a.error == b.error && a.rtime == b.rtime && a.fok == b.fok && a.fsum == b.fsum &&
               a.ordernum == b.ordernum && a.missionid == b.missionid && a.lpath == b.lpath && a.project == b.project &&
               a.errstr == b.errstr;
    });
    return model;
}

void ResolveRows::take(db_resolve *mine, const db_resolve &told)
{
    mine->state = told.state;
    mine->error = told.error;
    mine->rtime = told.rtime;
    if (!told.lpath.isEmpty())
        mine->lpath = told.lpath;
    if (!told.errstr.isEmpty())
        mine->errstr = told.errstr;
    using namespace SceneState;
    if (Set{UploadWaiting, UploadFailed, Approved, DoneAtMaster}.contains(told.state)) { // counts belong to these
        mine->fok = told.fok;
        mine->fsum = told.fsum;
    }
}
