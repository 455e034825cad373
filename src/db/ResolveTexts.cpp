#include "db/ResolveDAO.h"

namespace
{
struct Text {
    int number;
    const char *text;
};

const Text states[] = {
    {100, QT_TRANSLATE_NOOP("ResolveDAO", "待解析")},
    {101, QT_TRANSLATE_NOOP("ResolveDAO", "解析中")},
    {102, QT_TRANSLATE_NOOP("ResolveDAO", "解析暂停")},
    {103, QT_TRANSLATE_NOOP("ResolveDAO", "解析警告")},
    {104, QT_TRANSLATE_NOOP("ResolveDAO", "解析错误")},
    {105, QT_TRANSLATE_NOOP("ResolveDAO", "参数缺失")},
    {106, QT_TRANSLATE_NOOP("ResolveDAO", "解析完成，请提交渲染")},
    {107, QT_TRANSLATE_NOOP("ResolveDAO", "待提交")},
    {108, QT_TRANSLATE_NOOP("ResolveDAO", "提交中")},
    {109, QT_TRANSLATE_NOOP("ResolveDAO", "提交错误")},
    {110, QT_TRANSLATE_NOOP("ResolveDAO", "待上传")},
    {111, QT_TRANSLATE_NOOP("ResolveDAO", "上传中")},
    {112, QT_TRANSLATE_NOOP("ResolveDAO", "上传暂停")},
    {113, QT_TRANSLATE_NOOP("ResolveDAO", "上传异常")},
    {114, QT_TRANSLATE_NOOP("ResolveDAO", "申请失败")},
    {115, QT_TRANSLATE_NOOP("ResolveDAO", "等待审核")},
    {116, QT_TRANSLATE_NOOP("ResolveDAO", "申请通过")},
    {117, QT_TRANSLATE_NOOP("ResolveDAO", "申请驳回")},
    {119, QT_TRANSLATE_NOOP("ResolveDAO", "申请通过")},
    {120, QT_TRANSLATE_NOOP("ResolveDAO", "提交成功")},
};

const Text errors[] = {
    {10000, QT_TRANSLATE_NOOP("ResolveDAO", "FailedToStart")},
    {10001, QT_TRANSLATE_NOOP("ResolveDAO", "Crashed")},
    {10002, QT_TRANSLATE_NOOP("ResolveDAO", "Timedout")},
    {10003, QT_TRANSLATE_NOOP("ResolveDAO", "ReadError")},
    {10004, QT_TRANSLATE_NOOP("ResolveDAO", "WriteError")},
    {10005, QT_TRANSLATE_NOOP("ResolveDAO", "UnknownError")},
    {10010, QT_TRANSLATE_NOOP("ResolveDAO", "软件类型不支持")},
    {10011, QT_TRANSLATE_NOOP("ResolveDAO", "软件未找到")},
    {10012, QT_TRANSLATE_NOOP("ResolveDAO", "解析数据格式错误")},
    {10013, QT_TRANSLATE_NOOP("ResolveDAO", "模型文件不存在")},
    {10014, QT_TRANSLATE_NOOP("ResolveDAO", "admin操作未许可")},
    {10030, QT_TRANSLATE_NOOP("ResolveDAO", "渲染软件暂不支持")},
    {10031, QT_TRANSLATE_NOOP("ResolveDAO", "文件格式错误")},
    {10032, QT_TRANSLATE_NOOP("ResolveDAO", "场景文件无法打开")},
    {10033, QT_TRANSLATE_NOOP("ResolveDAO", "软件版本与模型制作版本不同")},
};

template <int N> QString find(const Text (&table)[N], int number)
{
    for (const Text &row : table)
        if (row.number == number)
            return ResolveDAO::tr(row.text);
    return {};
}
} // namespace

QString ResolveDAO::stateText(int state) { return find(states, state); }

QString ResolveDAO::errorText(int error) { return find(errors, error); }

QString ResolveDAO::projectColumn(int id, const QString &name)
{
    // Not by arg(): a name may hold "%1" itself.
    return QString::number(id) + '_' + name;
}

void ResolveDAO::splitProject(const QString &column, int *id, QString *name)
{
    const int cut = column.indexOf('_');
    *id = column.left(cut < 0 ? column.size() : cut).toInt();
    *name = cut < 0 ? QString() : column.mid(cut + 1);
}
