#include "common/facts/TaskState.h"
#include "common/facts/SoftwareType.h"
#include <QCoreApplication>

namespace
{
using namespace TaskState;
constexpr int Any = -1;

// The first row that fits counts.
const struct Row {
    int stage, status, result, subtype;
    const char *text;
    Tint tint;
} rows[] = {
    {Render, Paused, Any, WaitsForConfirmation, QT_TRANSLATE_NOOP("TaskState", "等待确认"), Tint::Warning},
    {Render, Paused, Any, Any, QT_TRANSLATE_NOOP("TaskState", "渲染暂停"), Tint::Warning},
    {Render, Running, Any, PausePending, QT_TRANSLATE_NOOP("TaskState", "即将暂停"), Tint::Warning},
    {Render, Queued, Any, Any, QT_TRANSLATE_NOOP("TaskState", "排队中"), Tint::Plain},
    {Render, Running, Any, Any, QT_TRANSLATE_NOOP("TaskState", "渲染中"), Tint::Running},
    {Render, Ended, Any, Any, QT_TRANSLATE_NOOP("TaskState", "渲染结束"), Tint::Done},
    {Analysis, Ended, Cancelled, Any, QT_TRANSLATE_NOOP("TaskState", "解析取消"), Tint::Quiet},
    {Analysis, Ended, Failed, Any, QT_TRANSLATE_NOOP("TaskState", "解析失败"), Tint::Failed},
    {Upload, Ended, Cancelled, Any, QT_TRANSLATE_NOOP("TaskState", "上传取消"), Tint::Quiet},
    {Upload, Ended, Failed, Any, QT_TRANSLATE_NOOP("TaskState", "上传失败"), Tint::Failed},
    {Download, Ended, Any, Any, QT_TRANSLATE_NOOP("TaskState", "下载结束"), Tint::Done},
    {Preparation, Ended, Failed, Any, QT_TRANSLATE_NOOP("TaskState", "准备失败"), Tint::Failed},
};

const Row *find(const Stand &stand)
{
    const auto fits = [](int wanted, int value) { return wanted == Any || wanted == value; };
    for (const Row &row : rows)
        if (row.stage == stand.stage && row.status == stand.status && fits(row.result, stand.result) &&
            fits(row.subtype, stand.subtype))
            return &row;
    return nullptr;
}
} // namespace

QString TaskState::text(const Stand &stand)
{
    const Row *row = find(stand);
    return row ? QCoreApplication::translate("TaskState", row->text) : QString();
}

// Frames may have failed or been cancelled in a render that has ended.
TaskState::Tint TaskState::tint(const Stand &stand)
{
    const Row *row = find(stand);
    if (!row)
        return Tint::Plain;
    if (row->tint == Tint::Done && stand.result == Failed)
        return Tint::Failed;
    return row->tint == Tint::Done && stand.result == Cancelled ? Tint::Quiet : row->tint;
}

int TaskState::softwareOf(const QString &name, bool words)
{
    int type = SoftwareType::ofPath(name);
    if (type != SoftwareType::Unknown || !words)
        return type;
    static const struct {
        const char *word;
        int type;
    } inside[] = {{"maya", SoftwareType::Maya},         {"max", SoftwareType::Max},
                  {"houdini", SoftwareType::Houdini},   {"cinema", SoftwareType::Cinema4D},
                  {"clarisse", SoftwareType::Clarisse}, {"terragen", SoftwareType::Terragen}};
    for (const auto &one : inside)
        if (name.contains(QLatin1String(one.word), Qt::CaseInsensitive))
            type = one.type;
    return type;
}
