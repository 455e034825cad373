// The catalogue of the business protocol in words: names of commands, messages of results, outcomes of task operations.
#include "common/facts/Command.h"
#include "common/Session.h"
#include <algorithm>
#include <iterator>
#include <QCoreApplication>

namespace
{
struct Text {
    int number;
    const char *text;
};

struct Outcome {
    int code;
    const char *operation;
    const char *cause; // null: it succeeded
};

// Both tables are sorted by number.
const Text errors[] = {
    {110, QT_TRANSLATE_NOOP("Session", "手动重登")},
    {111, QT_TRANSLATE_NOOP("Session", "个人中心修改密码后重登")},
    {112, QT_TRANSLATE_NOOP("Session", "服务器断开")},
    {1000100, QT_TRANSLATE_NOOP("Session", "非法请求")},
    {1000101, QT_TRANSLATE_NOOP("Session", "账号已异地登录")},
    {1000102, QT_TRANSLATE_NOOP("Session", "账号信息有变动，请检查或重新登录")},
    {1040006, QT_TRANSLATE_NOOP("Session", "余额不足")},
    {1040013, QT_TRANSLATE_NOOP("Session", "参数异常")},
    {1040018, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1040021, QT_TRANSLATE_NOOP("Session", "本次提交不支持只上传主文件")},
    {1040022, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1040023, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1040101, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1040102, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1040104, QT_TRANSLATE_NOOP("Session", "农场异常")},
    {1040301, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1040302, QT_TRANSLATE_NOOP("Session", "内部错误")},
    {1040303, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1040507, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1040512, QT_TRANSLATE_NOOP("Session", "余额不足")},
    {1040513, QT_TRANSLATE_NOOP("Session", "已过补帧期限")},
    {1040516, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1040522, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1040523, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1040600, QT_TRANSLATE_NOOP("Session", "重渲成功")},
    {1040603, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1040604, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1040606, QT_TRANSLATE_NOOP("Session", "余额不足")},
    {1040608, QT_TRANSLATE_NOOP("Session", "重渲成功")},
    {1040609, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1040610, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1041501, QT_TRANSLATE_NOOP("Session", "暂停失败")},
    {1041502, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1041503, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1042101, QT_TRANSLATE_NOOP("Session", "余额不足")},
    {1042103, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1042104, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1042402, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1042404, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042501, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042502, QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1042503, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1042504, QT_TRANSLATE_NOOP("Session", "账户余额不足")},
    {1042505, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1042506, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1042602, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1042603, QT_TRANSLATE_NOOP("Session", "机型格式有误")},
    {1042604, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1042605, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042607, QT_TRANSLATE_NOOP("Session", "任务已过期")},
    {1042608, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042609, QT_TRANSLATE_NOOP("Session", "余额不足")},
    {1042610, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1042611, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1042801, QT_TRANSLATE_NOOP("Session", "操作记录失败")},
    {1042901, QT_TRANSLATE_NOOP("Session", "余额不足")},
    {1042902, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1042903, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1042904, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042905, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1042906, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1043002, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1043003, QT_TRANSLATE_NOOP("Session", "集群失败")},
    {1043004, QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1043409, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1043500, QT_TRANSLATE_NOOP("Session", "任务提交失败")},
    {1043502, QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1043503, QT_TRANSLATE_NOOP("Session", "余额不足")},
    {1043506, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1043508, QT_TRANSLATE_NOOP("Session", "参数异常")},
    {1043510, QT_TRANSLATE_NOOP("Session", "当前渲染额度不足，请联系母账号分配!")},
    {1050002, QT_TRANSLATE_NOOP("Session", "项目已存在")},
    {1050102, QT_TRANSLATE_NOOP("Session", "有订单未完成")},
    {1050104, QT_TRANSLATE_NOOP("Session", "无权限删除")},
    {1080102, QT_TRANSLATE_NOOP("Session", "记录不存在")},
    {1080103, QT_TRANSLATE_NOOP("Session", "不可以下载")},
    {1080104, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1080401, QT_TRANSLATE_NOOP("Session", "失败，未知异常")},
    {1080402, QT_TRANSLATE_NOOP("Session", "记录不存在")},
    {1080403, QT_TRANSLATE_NOOP("Session", "不可以下载")},
    {1080404, QT_TRANSLATE_NOOP("Session", "农场不可用")},
};

const Outcome outcomes[] = {
    {1010100, QT_TRANSLATE_NOOP("Session", "取消任务"), nullptr},
    {1010101, QT_TRANSLATE_NOOP("Session", "取消任务"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1010102, QT_TRANSLATE_NOOP("Session", "取消任务"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1010103, QT_TRANSLATE_NOOP("Session", "取消任务"), QT_TRANSLATE_NOOP("Session", "任务不可以取消")},
    {1040300, QT_TRANSLATE_NOOP("Session", "取消子任务"), nullptr},
    {1040301, QT_TRANSLATE_NOOP("Session", "取消子任务"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1040302, QT_TRANSLATE_NOOP("Session", "取消子任务"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1040303, QT_TRANSLATE_NOOP("Session", "取消子任务"), QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1040600, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), nullptr},
    {1040601, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "任务未完成")},
    {1040602, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "任务已过期")},
    {1040603, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1040604, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1040605, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "任务没有渲染失败帧序列")},
    {1040606, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "账户余额不足")},
    {1040607, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1040609, QT_TRANSLATE_NOOP("Session", "重渲失败帧"), QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1042400, QT_TRANSLATE_NOOP("Session", "重置最大节点数"), nullptr},
    {1042401, QT_TRANSLATE_NOOP("Session", "重置最大节点数"), QT_TRANSLATE_NOOP("Session", "超出服务器最大节点数")},
    {1042402, QT_TRANSLATE_NOOP("Session", "重置最大节点数"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1042404, QT_TRANSLATE_NOOP("Session", "重置最大节点数"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042500, QT_TRANSLATE_NOOP("Session", "重渲子任务"), nullptr},
    {1042501, QT_TRANSLATE_NOOP("Session", "重渲子任务"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042502, QT_TRANSLATE_NOOP("Session", "重渲子任务"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1042503, QT_TRANSLATE_NOOP("Session", "重渲子任务"), QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1042504, QT_TRANSLATE_NOOP("Session", "重渲子任务"), QT_TRANSLATE_NOOP("Session", "账户余额不足")},
    {1042505, QT_TRANSLATE_NOOP("Session", "重渲子任务"), QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1042601, QT_TRANSLATE_NOOP("Session", "机型修改"), nullptr},
    {1042602, QT_TRANSLATE_NOOP("Session", "机型修改"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1042603, QT_TRANSLATE_NOOP("Session", "机型修改"), QT_TRANSLATE_NOOP("Session", "机型格式有误")},
    {1042604, QT_TRANSLATE_NOOP("Session", "机型修改"), QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1042605, QT_TRANSLATE_NOOP("Session", "机型修改"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042606, QT_TRANSLATE_NOOP("Session", "渲染软件插件修改"), nullptr},
    {1042607, QT_TRANSLATE_NOOP("Session", "渲染软件插件修改"), QT_TRANSLATE_NOOP("Session", "任务已过期")},
    {1042608, QT_TRANSLATE_NOOP("Session", "渲染软件插件修改"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042609, QT_TRANSLATE_NOOP("Session", "渲染软件插件修改"), QT_TRANSLATE_NOOP("Session", "账户余额不足")},
    {1042610, QT_TRANSLATE_NOOP("Session", "渲染软件插件修改"), QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1042900, QT_TRANSLATE_NOOP("Session", "继续渲染"), nullptr},
    {1042901, QT_TRANSLATE_NOOP("Session", "继续渲染"), QT_TRANSLATE_NOOP("Session", "账户余额不足")},
    {1042902, QT_TRANSLATE_NOOP("Session", "继续渲染"), QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1042903, QT_TRANSLATE_NOOP("Session", "继续渲染"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1042904, QT_TRANSLATE_NOOP("Session", "继续渲染"), QT_TRANSLATE_NOOP("Session", "未知异常")},
    {1042905, QT_TRANSLATE_NOOP("Session", "继续渲染"), QT_TRANSLATE_NOOP("Session", "账户信息获取失败")},
    {1043000, QT_TRANSLATE_NOOP("Session", "暂停渲染"), nullptr},
    {1043002, QT_TRANSLATE_NOOP("Session", "暂停渲染"), QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1043003, QT_TRANSLATE_NOOP("Session", "暂停渲染"), QT_TRANSLATE_NOOP("Session", "集群异常")},
    {1043004, QT_TRANSLATE_NOOP("Session", "暂停渲染"), QT_TRANSLATE_NOOP("Session", "未知异常")},
};

// Outcomes that are whole texts.
const Text wholeOutcomes[] = {
    {1040500, QT_TRANSLATE_NOOP("Session", "补帧成功")},
    {1040501, QT_TRANSLATE_NOOP("Session", "补帧失败，未知异常")},
    {1040502, QT_TRANSLATE_NOOP("Session", "任务克隆出错")},
    {1040503, QT_TRANSLATE_NOOP("Session", "生成单号")},
    {1040504, QT_TRANSLATE_NOOP("Session", "打开数据库连接出错")},
    {1040505, QT_TRANSLATE_NOOP("Session", "根据客户单任务标示获取任务出错")},
    {1040506, QT_TRANSLATE_NOOP("Session", "写入任务信息失败")},
    {1040507, QT_TRANSLATE_NOOP("Session", "任务提交集群失败")},
    {1040508, QT_TRANSLATE_NOOP("Session", "用户无可用队列")},
    {1040509, QT_TRANSLATE_NOOP("Session", "copy mklink文件失败")},
    {1040510, QT_TRANSLATE_NOOP("Session", "获取数据库当前时间")},
    {1040511, QT_TRANSLATE_NOOP("Session", "项目异常")},
    {1040512, QT_TRANSLATE_NOOP("Session", "补帧失败，账户余额不足")},
    {1040513, QT_TRANSLATE_NOOP("Session", "补帧失败，任务已过补帧期限")},
    {1040514, QT_TRANSLATE_NOOP("Session", "用户自定义参数配置异常")},
    {1040515, QT_TRANSLATE_NOOP("Session", "系统参数配置异常")},
    {1040516, QT_TRANSLATE_NOOP("Session", "农场不可用")},
    {1040517, QT_TRANSLATE_NOOP("Session", "补帧任务申请成功,等待上传新文件")},
    {1040518, QT_TRANSLATE_NOOP("Session", "当前任务不可以补插件or文件")},
    {1040519, QT_TRANSLATE_NOOP("Session", "补帧类型有误")},
    {1040520, QT_TRANSLATE_NOOP("Session", "补帧任务预处理成功")},
    {1040521, QT_TRANSLATE_NOOP("Session", "补帧失败，上传列表生成失败")},
    {1040522, QT_TRANSLATE_NOOP("Session", "补帧失败，账户信息获取失败")},
    {1040608, QT_TRANSLATE_NOOP("Session", "批量结果返回")},
    {1041500, QT_TRANSLATE_NOOP("Session", "暂停上传成功")},
    {1042300, QT_TRANSLATE_NOOP("Session", "任务交接成功")},
    {1042600, QT_TRANSLATE_NOOP("Session", "机型修改，未修改任何参数")},
    {9999999, QT_TRANSLATE_NOOP("Session", "暂停解析")},
};

int numberOf(const Text &row) { return row.number; }
int numberOf(const Outcome &row) { return row.code; }

template <class Row, std::size_t count> const Row *find(const Row (&table)[count], int number)
{
    const Row *row = std::lower_bound(std::begin(table), std::end(table), number,
                                      [](const Row &one, int wanted) { return numberOf(one) < wanted; });
    return row != std::end(table) && numberOf(*row) == number ? row : nullptr;
}

QString translated(const char *text) { return QCoreApplication::translate("Session", text); }

QString textOf(const Text *row, int number) { return row ? translated(row->text) : QString::number(number); }
} // namespace

QString Session::cmdName(int cmd) { return Command::name(cmd); }

QString Session::errorText(int code) { return textOf(find(errors, code), code); }

QString Session::actionText(int code)
{
    const Outcome *row = find(outcomes, code);
    if (!row)
        return textOf(find(wholeOutcomes, code), code);
    if (!row->cause)
        return translated(row->operation) + translated(QT_TRANSLATE_NOOP("Session", "成功"));
    return translated(row->operation) + translated(QT_TRANSLATE_NOOP("Session", "失败，")) + translated(row->cause);
}
