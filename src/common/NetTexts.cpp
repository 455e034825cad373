#include "common/NetTexts.h"
#include <algorithm>
#include <iterator>
#include <QCoreApplication>

namespace
{
struct Text {
    int number;
    const char *text;
};

const Text sockets[] = {
    {-1, QT_TRANSLATE_NOOP("NetTexts", "未知的网络错误")},
    {0, QT_TRANSLATE_NOOP("NetTexts", "连接服务器拒绝")},
    {1, QT_TRANSLATE_NOOP("NetTexts", "服务器关闭")},
    {2, QT_TRANSLATE_NOOP("NetTexts", "未找到服务器")},
    {3, QT_TRANSLATE_NOOP("NetTexts", "没有访问网络的权限，请检查防火墙")},
    {4, QT_TRANSLATE_NOOP("NetTexts", "系统的网络连接已用尽")},
    {5, QT_TRANSLATE_NOOP("NetTexts", "连接超时")},
    {6, QT_TRANSLATE_NOOP("NetTexts", "数据包过大")},
    {7, QT_TRANSLATE_NOOP("NetTexts", "网络中断，请检查网络连接")},
    {8, QT_TRANSLATE_NOOP("NetTexts", "端口已被占用")},
    {9, QT_TRANSLATE_NOOP("NetTexts", "本机没有此网络地址")},
    {10, QT_TRANSLATE_NOOP("NetTexts", "系统不支持此网络操作")},
    {11, QT_TRANSLATE_NOOP("NetTexts", "上一个网络操作尚未完成")},
    {12, QT_TRANSLATE_NOOP("NetTexts", "代理服务器需要登录")},
    {13, QT_TRANSLATE_NOOP("NetTexts", "安全连接失败")},
    {14, QT_TRANSLATE_NOOP("NetTexts", "代理服务器拒绝连接")},
    {15, QT_TRANSLATE_NOOP("NetTexts", "代理服务器关闭了连接")},
    {16, QT_TRANSLATE_NOOP("NetTexts", "代理服务器没有响应")},
    {17, QT_TRANSLATE_NOOP("NetTexts", "未找到代理服务器")},
    {18, QT_TRANSLATE_NOOP("NetTexts", "代理服务器的应答有误")},
    {19, QT_TRANSLATE_NOOP("NetTexts", "网络操作的时机有误")},
    {20, QT_TRANSLATE_NOOP("NetTexts", "安全连接组件出错")},
    {21, QT_TRANSLATE_NOOP("NetTexts", "安全连接的数据有误")},
    {22, QT_TRANSLATE_NOOP("NetTexts", "网络暂时不可用，请稍后重试")},
};

// Those of a socket stand in that table.
const Text replies[] = {
    {5, QT_TRANSLATE_NOOP("NetTexts", "请求已取消")},
    {201, QT_TRANSLATE_NOOP("NetTexts", "没有访问权限")},
    {202, QT_TRANSLATE_NOOP("NetTexts", "没有访问权限")},
    {203, QT_TRANSLATE_NOOP("NetTexts", "服务器上没有此内容")},
    {204, QT_TRANSLATE_NOOP("NetTexts", "登录已失效，请重新登录")},
    {299, QT_TRANSLATE_NOOP("NetTexts", "服务器的应答有误")},
    {401, QT_TRANSLATE_NOOP("NetTexts", "服务器内部错误")},
    {403, QT_TRANSLATE_NOOP("NetTexts", "服务器暂时不可用")},
    {499, QT_TRANSLATE_NOOP("NetTexts", "服务器内部错误")},
};

struct Same {
    int reply, socket;
};
const Same same[] = {{1, 0},   {2, 1},    {3, 2},    {4, 5},    {6, 13},   {7, 22},   {8, 7},
                     {99, -1}, {101, 14}, {102, 15}, {103, 17}, {104, 16}, {105, 12}, {199, 18}};

template <class Rows> const char *find(const Rows &rows, int number)
{
    const auto it =
        std::find_if(std::begin(rows), std::end(rows), [&](const Text &one) { return one.number == number; });
    return it == std::end(rows) ? QT_TRANSLATE_NOOP("NetTexts", "网络错误") : it->text;
}

QString translated(const char *text) { return QCoreApplication::translate("NetTexts", text); }
} // namespace

QString NetTexts::socket(int error) { return translated(find(sockets, error)); }

QString NetTexts::reply(int error)
{
    for (const Same &one : same)
        if (one.reply == error)
            return socket(one.socket);
    return translated(find(replies, error));
}
