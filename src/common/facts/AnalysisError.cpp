#include "common/facts/AnalysisError.h"
#include <QCoreApplication>

QString AnalysisError::text(int number)
{
    static const struct {
        int number;
        const char *text;
    } texts[] = {
        {FailedToStart, QT_TRANSLATE_NOOP("AnalysisError", "FailedToStart")},
        {Crashed, QT_TRANSLATE_NOOP("AnalysisError", "Crashed")},
        {TimedOut, QT_TRANSLATE_NOOP("AnalysisError", "Timedout")},
        {ReadError, QT_TRANSLATE_NOOP("AnalysisError", "ReadError")},
        {WriteError, QT_TRANSLATE_NOOP("AnalysisError", "WriteError")},
        {UnknownError, QT_TRANSLATE_NOOP("AnalysisError", "UnknownError")},
        {BadSoftware, QT_TRANSLATE_NOOP("AnalysisError", "软件类型不支持")},
        {NoSoftware, QT_TRANSLATE_NOOP("AnalysisError", "软件未找到")},
        {BadResult, QT_TRANSLATE_NOOP("AnalysisError", "解析数据格式错误")},
        {NoScene, QT_TRANSLATE_NOOP("AnalysisError", "模型文件不存在")},
        {NotElevated, QT_TRANSLATE_NOOP("AnalysisError", "admin操作未许可")},
        {DiedTwice, QT_TRANSLATE_NOOP("AnalysisError", "解析此场景时客户端两次异常退出，不再自动解析，可手动重新解析")},
        {NoAnalyser, QT_TRANSLATE_NOOP("AnalysisError", "此类场景不能在客户端解析，请从软件插件提交")},
        {VersionUnsupported, QT_TRANSLATE_NOOP("AnalysisError", "渲染软件暂不支持")},
        {BadScene, QT_TRANSLATE_NOOP("AnalysisError", "文件格式错误")},
        {SceneUnreadable, QT_TRANSLATE_NOOP("AnalysisError", "场景文件无法打开")},
        {VersionDiffers, QT_TRANSLATE_NOOP("AnalysisError", "软件版本与模型制作版本不同")},
    };
    for (const auto &row : texts)
        if (row.number == number)
            return QCoreApplication::translate("AnalysisError", row.text);
    return {};
}
