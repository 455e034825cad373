// The texts behind TransSet::errorText and stateText.
#include "common/NetTexts.h"
#include "transfer/TransSet.h"
#include <QCoreApplication>

namespace
{
struct Text {
    int code;
    const char *text;
};

// Shown in the user's language.
const Text translated[] = {
    {100, QT_TRANSLATE_NOOP("TransSet", "测试码")},
    {10000, QT_TRANSLATE_NOOP("TransSet", "文件不存在")},
    {10001, QT_TRANSLATE_NOOP("TransSet", "文件打开失败")},
    {10010, QT_TRANSLATE_NOOP("TransSet", "连接超时")},
    {10011, QT_TRANSLATE_NOOP("TransSet", "协议头长度错误")},
    {10012, QT_TRANSLATE_NOOP("TransSet", "socket写入失败")},
    {10013, QT_TRANSLATE_NOOP("TransSet", "startPos错误")},
    {10014, QT_TRANSLATE_NOOP("TransSet", "文件无法写入，请更换盘符")},
    {10015, QT_TRANSLATE_NOOP("TransSet", "文件访问失败")},
    {10016, QT_TRANSLATE_NOOP("TransSet", "获取文件hash失败")},
    {10017, QT_TRANSLATE_NOOP("TransSet", "压缩失败")},
    {10018, QT_TRANSLATE_NOOP("TransSet", "hash校验错误")},
    {10019, QT_TRANSLATE_NOOP("TransSet", "文件被修改，重新上传")},
    {10020, QT_TRANSLATE_NOOP("TransSet", "磁盘空间不足，请更换盘符")},
    {10021, QT_TRANSLATE_NOOP("TransSet", "文件路径过长")},
    {10022, QT_TRANSLATE_NOOP("TransSet", "下载结束后失败")},
    {10023, QT_TRANSLATE_NOOP("TransSet", "下载路径不存在")},
    {10024, QT_TRANSLATE_NOOP("TransSet", "skydrive异常")},
    {10025, QT_TRANSLATE_NOOP("TransSet", "未知上传协议")},
    {10026, QT_TRANSLATE_NOOP("TransSet", "已存在，已跳过")},
    // 100000 and the toolkit's socket error.
    {99999, QT_TRANSLATE_NOOP("TransSet", "UnknownSocketError")},
    {100000, QT_TRANSLATE_NOOP("TransSet", "连接服务器拒绝")},
    {100001, QT_TRANSLATE_NOOP("TransSet", "服务器关闭")},
    {100002, QT_TRANSLATE_NOOP("TransSet", "未找到服务器")},
    {100003, QT_TRANSLATE_NOOP("TransSet", "SocketAccessError")},
    {100004, QT_TRANSLATE_NOOP("TransSet", "SocketResourceError")},
    {100005, QT_TRANSLATE_NOOP("TransSet", "socket超时")},
    {100006, QT_TRANSLATE_NOOP("TransSet", "DatagramTooLargeError")},
    {100007, QT_TRANSLATE_NOOP("TransSet", "NetworkError")},
    {100008, QT_TRANSLATE_NOOP("TransSet", "AddressInUseError")},
    {100009, QT_TRANSLATE_NOOP("TransSet", "SocketAddressNotAvailableError")},
    {100010, QT_TRANSLATE_NOOP("TransSet", "UnsupportedSocketOperationError")},
    {100011, QT_TRANSLATE_NOOP("TransSet", "UnfinishedSocketOperationError")},
    {100012, QT_TRANSLATE_NOOP("TransSet", "ProxyAuthenticationRequiredError")},
    {100013, QT_TRANSLATE_NOOP("TransSet", "SslHandshakeFailedError")},
    {100014, QT_TRANSLATE_NOOP("TransSet", "ProxyConnectionRefusedError")},
    {100015, QT_TRANSLATE_NOOP("TransSet", "ProxyConnectionClosedError")},
    {100016, QT_TRANSLATE_NOOP("TransSet", "ProxyConnectionTimeoutError")},
    {100017, QT_TRANSLATE_NOOP("TransSet", "ProxyNotFoundError")},
    {100018, QT_TRANSLATE_NOOP("TransSet", "ProxyProtocolError")},
    {100019, QT_TRANSLATE_NOOP("TransSet", "OperationError")},
    {100020, QT_TRANSLATE_NOOP("TransSet", "SslInternalError")},
    {100021, QT_TRANSLATE_NOOP("TransSet", "SslInvalidUserDataError")},
    {100022, QT_TRANSLATE_NOOP("TransSet", "TemporaryError")},
    // 100100 and the process error of the object-store child.
    {100100, QT_TRANSLATE_NOOP("TransSet", "FailedToStart")},
    {100101, QT_TRANSLATE_NOOP("TransSet", "Crashed")},
    {100102, QT_TRANSLATE_NOOP("TransSet", "Timedout")},
    {100103, QT_TRANSLATE_NOOP("TransSet", "ReadError")},
    {100104, QT_TRANSLATE_NOOP("TransSet", "WriteError")},
    // What the object-store companion tells beside the codes above.
    {120001, QT_TRANSLATE_NOOP("TransSet", "对象存储的上传请求有误")},
    {120002, QT_TRANSLATE_NOOP("TransSet", "不支持的对象存储")},
    {120003, QT_TRANSLATE_NOOP("TransSet", "对象存储拒绝访问")},
    {120004, QT_TRANSLATE_NOOP("TransSet", "对象存储的存储桶不存在")},
    {120005, QT_TRANSLATE_NOOP("TransSet", "本机时间与对象存储相差过大，请校准系统时间")},
    {120006, QT_TRANSLATE_NOOP("TransSet", "对象存储的密钥已过期")},
    {120007, QT_TRANSLATE_NOOP("TransSet", "对象存储繁忙")},
    {120008, QT_TRANSLATE_NOOP("TransSet", "对象存储已丢弃未完成的上传")},
    {120009, QT_TRANSLATE_NOOP("TransSet", "对象存储的应答异常")},
    {120010, QT_TRANSLATE_NOOP("TransSet", "上传进度无法保存")},
    {120011, QT_TRANSLATE_NOOP("TransSet", "对象存储中的文件大小不符")},
    {120012, QT_TRANSLATE_NOOP("TransSet", "源文件所在的位置没有响应")},
    // Business server, upload side.
    {1070001, QT_TRANSLATE_NOOP("TransSet", "秒传询问未知异常")},
    {1070002, QT_TRANSLATE_NOOP("TransSet", "继续上传")},
    {1070003, QT_TRANSLATE_NOOP("TransSet", "开始上传")},
    {1070005, QT_TRANSLATE_NOOP("TransSet", "记录不存在")},
    {1070006, QT_TRANSLATE_NOOP("TransSet", "不可以上传")},
    {1070007, QT_TRANSLATE_NOOP("TransSet", "农场不可用")},
    {1070008, QT_TRANSLATE_NOOP("TransSet", "fs不可用")},
    {1070012, QT_TRANSLATE_NOOP("TransSet", "hash值有误")},
    // Business server, download side.
    {1080002, QT_TRANSLATE_NOOP("TransSet", "记录不存在")},
    {1080003, QT_TRANSLATE_NOOP("TransSet", "不可以下载")},
    {1080004, QT_TRANSLATE_NOOP("TransSet", "农场不可用")},
    {1080005, QT_TRANSLATE_NOOP("TransSet", "fs不可用")},
    {1080009, QT_TRANSLATE_NOOP("TransSet", "余额不足")},
    {1080010, QT_TRANSLATE_NOOP("TransSet", "扣费失败")},
    {1080011, QT_TRANSLATE_NOOP("TransSet", "等待扣费")},
    // File server.
    {7010001, QT_TRANSLATE_NOOP("TransSet", "未知异常")},
    {7010007, QT_TRANSLATE_NOOP("TransSet", "文件不存在")},
    {11040001, QT_TRANSLATE_NOOP("TransSet", "农场未知异常")},
    {11040002, QT_TRANSLATE_NOOP("TransSet", "农场不存在")},
    {11040003, QT_TRANSLATE_NOOP("TransSet", "农场不可用")},
    {13010002, QT_TRANSLATE_NOOP("TransSet", "hash值有误")},
    {13010003, QT_TRANSLATE_NOOP("TransSet", "记录不存在")},
    {13010004, QT_TRANSLATE_NOOP("TransSet", "秒传询问未知异常")},
    {13010005, QT_TRANSLATE_NOOP("TransSet", "订单已取消")},
    {13010101, QT_TRANSLATE_NOOP("TransSet", "请求上传未知异常")},
    {13010102, QT_TRANSLATE_NOOP("TransSet", "请求上传记录不存在")},
    {13010103, QT_TRANSLATE_NOOP("TransSet", "上传成功")},
    {13010104, QT_TRANSLATE_NOOP("TransSet", "后台处理中")},
    {13010201, QT_TRANSLATE_NOOP("TransSet", "上传失败未知异常")},
    {13010202, QT_TRANSLATE_NOOP("TransSet", "上传数据大于文件总大小")},
    {13010203, QT_TRANSLATE_NOOP("TransSet", "hash校验失败")},
    {13010204, QT_TRANSLATE_NOOP("TransSet", "文件解压失败")},
    {13010205, QT_TRANSLATE_NOOP("TransSet", "文件移动至hash库失败")},
    {13020301, QT_TRANSLATE_NOOP("TransSet", "记录不存在")},
    {13020302, QT_TRANSLATE_NOOP("TransSet", "未知异常")},
    {13020303, QT_TRANSLATE_NOOP("TransSet", "文件不存在")},
    {13020304, QT_TRANSLATE_NOOP("TransSet", "续传位置过大")},
};

// The servers' own vocabulary, shown as it is.
const Text verbatim[] = {
    {101400, "未知异常"},     {101401, "存在"},       {101402, "不存在"},      {101403, "无可用节点"},
    {101404, "妙传访问超时"}, {101405, "黑名单文件"}, {7000411, "待解压"},     {7000412, "待hash"},
    {7000413, "待move"},      {7000420, "解压ing"},   {7000421, "解压异常"},   {7000422, "解压待hash"},
    {7000423, "解压待move"},  {7000430, "hashing"},   {7000431, "hash待move"}, {7000432, "hash失败"},
    {7000433, "hash异常"},    {7000440, "moving"},    {7000441, "moveok"},     {7000442, "movefail"},
};

const Text states[] = {
    {TransSet::DownWait, QT_TRANSLATE_NOOP("TransSet", "等待下载")},
    {TransSet::DownRun, QT_TRANSLATE_NOOP("TransSet", "下载中")},
    {TransSet::DownPause, QT_TRANSLATE_NOOP("TransSet", "下载暂停")},
    {TransSet::DownError, QT_TRANSLATE_NOOP("TransSet", "下载异常")},
    {TransSet::UpWait, QT_TRANSLATE_NOOP("TransSet", "等待上传")},
    {TransSet::UpRun, QT_TRANSLATE_NOOP("TransSet", "上传中")},
    {TransSet::UpPause, QT_TRANSLATE_NOOP("TransSet", "上传暂停")},
    {TransSet::UpError, QT_TRANSLATE_NOOP("TransSet", "上传异常")},
    {TransSet::UpGaveUp, QT_TRANSLATE_NOOP("TransSet", "上传异常")},
    {TransSet::DownGaveUp, QT_TRANSLATE_NOOP("TransSet", "下载异常")},
    {TransSet::UpServer, QT_TRANSLATE_NOOP("TransSet", "服务处理中")},
    {TransSet::UpDone, QT_TRANSLATE_NOOP("TransSet", "上传完成")},
    {TransSet::UpCancel, QT_TRANSLATE_NOOP("TransSet", "上传取消")},
    {TransSet::DownDone, QT_TRANSLATE_NOOP("TransSet", "下载完成")},
    {TransSet::DownCancel, QT_TRANSLATE_NOOP("TransSet", "下载取消")},
};

template <size_t N> const char *find(const Text (&table)[N], int code)
{
    for (const Text &one : table) {
        if (one.code == code)
            return one.text;
    }
    return nullptr;
}
} // namespace

QString TransSet::errorText(int code)
{
    QString text = QString::number(code);
    if (const char *own = find(translated, code))
        text = QCoreApplication::translate("TransSet", own);
    else if (const char *theirs = find(verbatim, code))
        text = QString::fromUtf8(theirs);
    return QStringLiteral("%1_%2").arg(QString::number(code), text);
}

QString TransSet::sentence(int code)
{
    const bool socket = code >= SocketBase - 1 && code < SocketBase + 100;
    const QString text = socket ? NetTexts::socket(code - SocketBase) : errorText(code).section(QLatin1Char('_'), 1);
    return QStringLiteral("%1 (%2)").arg(text, QString::number(code));
}

QString TransSet::stateText(int state, int error)
{
    const char *text = find(states, state);
    if (!text)
        return {};
    if (state == DownDone && error == AlreadyHere)
        return errorText(error).section(QLatin1Char('_'), -1);
    QString shown = QCoreApplication::translate("TransSet", text);
    const bool failed = state == DownError || state == DownGaveUp;
    const bool telling =
        error == NotWritable || error == DiskFull || error == 1080009 || error == 1080010 || error == 1080011;
    if (failed && telling)
        shown += QStringLiteral(":%1").arg(errorText(error).section(QLatin1Char('_'), -1));
    return shown;
}
