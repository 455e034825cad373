#include "db/ResolveDAO.h"

QString ResolveDAO::stateText(int state)
{
    switch (state) {
    case 100: return tr("待解析");
    case 101: return tr("解析中");
    case 102: return tr("解析暂停");
    case 103: return tr("解析警告");
    case 104: return tr("解析错误");
    case 105: return tr("参数缺失");
    case 106: return tr("解析完成，请提交渲染");
    case 107: return tr("待提交");
    case 108: return tr("提交中");
    case 109: return tr("提交错误");
    case 110: return tr("待上传");
    case 111: return tr("上传中");
    case 112: return tr("上传暂停");
    case 113: return tr("上传异常");
    case 114: return tr("申请失败");
    case 115: return tr("等待审核");
    case 116: return tr("申请通过");
    case 117: return tr("申请驳回");
    case 119: return tr("申请通过");
    case 120: return tr("提交成功");
    default: return {};
    }
}

QString ResolveDAO::errorText(int error)
{
    switch (error) {
    case 10000: return tr("FailedToStart");
    case 10001: return tr("Crashed");
    case 10002: return tr("Timedout");
    case 10003: return tr("ReadError");
    case 10004: return tr("WriteError");
    case 10005: return tr("UnknownError");
    case 10010: return tr("软件类型不支持");
    case 10011: return tr("软件未找到");
    case 10012: return tr("解析数据格式错误");
    case 10013: return tr("模型文件不存在");
    case 10014: return tr("admin操作未许可");
    case 10030: return tr("渲染软件暂不支持");
    case 10031: return tr("文件格式错误");
    case 10032: return tr("场景文件无法打开");
    case 10033: return tr("软件版本与模型制作版本不同");
    default: return {};
    }
}

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
