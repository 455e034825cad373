#include "common/facts/Command.h"
#include <algorithm>
#include <iterator>
#include <QCoreApplication>

namespace
{
// Sorted by number.
const struct Name {
    int command;
    const char *text;
} names[] = {
    {Command::HeartBeat, QT_TRANSLATE_NOOP("Session", "心跳")},
    {Command::OldLogin, QT_TRANSLATE_NOOP("Session", "登录")},
    {Command::Balance, QT_TRANSLATE_NOOP("Session", "余额查询")},
    {Command::SaveConfig, QT_TRANSLATE_NOOP("Session", "保存设置信息")},
    {Command::AllowPush, QT_TRANSLATE_NOOP("Session", "允许推送")},
    {Command::Accounts, QT_TRANSLATE_NOOP("Session", "任务交接")},
    {Command::LoginInfo, QT_TRANSLATE_NOOP("Session", "登录信息")},
    {Command::Login, QT_TRANSLATE_NOOP("Session", "登录")},
    {Command::MachineReport, QT_TRANSLATE_NOOP("Session", "机器信息")},
    {Command::Rights, QT_TRANSLATE_NOOP("Session", "获取权限")},
    {Command::Order, QT_TRANSLATE_NOOP("Session", "生成订单")},
    {Command::CancelTask, QT_TRANSLATE_NOOP("Session", "取消订单")},
    {Command::SubTasks, QT_TRANSLATE_NOOP("Session", "子任务列表")},
    {Command::CancelSubTask, QT_TRANSLATE_NOOP("Session", "取消子任务")},
    {Command::RerenderTask, QT_TRANSLATE_NOOP("Session", "重渲订单")},
    {Command::Preview, QT_TRANSLATE_NOOP("Session", "实时预览")},
    {Command::TaskDetail, QT_TRANSLATE_NOOP("Session", "补帧或修改环境或详情")},
    {Command::KeyFramesDone, QT_TRANSLATE_NOOP("Session", "优先帧完成")},
    {Command::Results, QT_TRANSLATE_NOOP("Session", "结果推送")},
    {Command::UploadPaused, QT_TRANSLATE_NOOP("Session", "上传暂停")},
    {Command::GiveUpOrder, QT_TRANSLATE_NOOP("Session", "删除解析订单")},
    {Command::SetPriority, QT_TRANSLATE_NOOP("Session", "优先级调度请求")},
    {Command::PriorityList, QT_TRANSLATE_NOOP("Session", "优先级调度列表")},
    {Command::ApplyOrder, QT_TRANSLATE_NOOP("Session", "订单预申请")},
    {Command::AnalysisReport, QT_TRANSLATE_NOOP("Session", "解析状态")},
    {Command::TakeOver, QT_TRANSLATE_NOOP("Session", "任务交接")},
    {Command::NodeLimit, QT_TRANSLATE_NOOP("Session", "设置节点数")},
    {Command::RerenderSubTask, QT_TRANSLATE_NOOP("Session", "重渲子任务")},
    {Command::Tasks, QT_TRANSLATE_NOOP("Session", "获取订单列表")},
    {Command::Operations, QT_TRANSLATE_NOOP("Session", "操作记录")},
    {Command::ContinueRender, QT_TRANSLATE_NOOP("Session", "继续渲染")},
    {Command::PauseRender, QT_TRANSLATE_NOOP("Session", "暂停渲染")},
    {Command::TaskOver, QT_TRANSLATE_NOOP("Session", "大任务完结")},
    {Command::DeleteTask, QT_TRANSLATE_NOOP("Session", "删除任务")},
    {Command::NewProject, QT_TRANSLATE_NOOP("Session", "创建项目")},
    {Command::DeleteProject, QT_TRANSLATE_NOOP("Session", "删除项目")},
    {Command::Projects, QT_TRANSLATE_NOOP("Session", "查询项目")},
    {Command::NewEnvironment, QT_TRANSLATE_NOOP("Session", "创建环境")},
    {Command::DeleteEnvironment, QT_TRANSLATE_NOOP("Session", "删除环境")},
    {Command::Environments, QT_TRANSLATE_NOOP("Session", "查询环境")},
    {Command::EditEnvironment, QT_TRANSLATE_NOOP("Session", "修改环境")},
    {Command::Softwares, QT_TRANSLATE_NOOP("Session", "软件列表")},
    {Command::Plugins, QT_TRANSLATE_NOOP("Session", "插件列表")},
    {Command::FileInfo, QT_TRANSLATE_NOOP("Session", "请求下载信息")},
    {Command::Thumbnails, QT_TRANSLATE_NOOP("Session", "缩略图")},
    {Command::FileFetched, QT_TRANSLATE_NOOP("Session", "下载结束通知bs")},
    {Command::TaskLog, QT_TRANSLATE_NOOP("Session", "下载日志")},
    {Command::ResultList, QT_TRANSLATE_NOOP("Session", "下载结果文件")},
    {Command::SubTaskResults, QT_TRANSLATE_NOOP("Session", "下载子任务结果文件")},
    {Command::FarmInfo, QT_TRANSLATE_NOOP("Session", "农场信息")},
    {Command::Machines, QT_TRANSLATE_NOOP("Session", "农场机型")},
    {Command::DriveEntry, QT_TRANSLATE_NOOP("Session", "网盘入口")},
};

// Good results beside a command's own number with 00 behind it.
const struct {
    int command, result;
} more[] = {
    {Command::CancelTask, 1010100},      {Command::FillFrames, 1040517},   // taken, new files are to be uploaded first
    {Command::FillFrames, 1040520},      {Command::RerenderTask, 1040608}, // the results of several come one by one
    {Command::RerenderSubTask, 1040608}, {Command::ChangeEnvironment, 1042601}, {Command::ChangeEnvironment, 1042606},
};
} // namespace

bool Command::good(int command, int result)
{
    for (const auto &row : more)
        if (row.command == command && row.result == result)
            return true;
    // Changing an environment has two operations with a success each; its 00 says that nothing was changed.
    return result == success(command) && command != ChangeEnvironment;
}

QString Command::name(int command)
{
    const Name *row = std::lower_bound(std::begin(names), std::end(names), command,
                                       [](const Name &one, int wanted) { return one.command < wanted; });
    return row != std::end(names) && row->command == command ? QCoreApplication::translate("Session", row->text)
                                                             : QString::number(command);
}
