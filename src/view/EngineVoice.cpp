#include "view/EngineVoice.h"
#include "common/ResultPath.h"
#include "common/Seam.h"
#include "common/ui/MsgTool.h"
#include "common/ui/TrayIcon.h"
#include "db/Calls.h"
#include <QCoreApplication>

EngineVoice::EngineVoice(QWidget *window) : QObject(window), m_window(window) { Seam<WindowCalls>::attach(this, this); }

EngineVoice::~EngineVoice() { Seam<WindowCalls>::detach(this); }

void EngineVoice::msgOk(const QString &text) { MsgTool::msgOk(m_window->isVisible() ? m_window : nullptr, text); }

void EngineVoice::showInfoMsg(const QString &title, const QString &text)
{
    TrayIcon::instance()->showInfoMsg(title, text);
}

// The engine names errors as "code_text"; a person is told a sentence.
void EngineVoice::downErrorTip(const QString &text)
{
    const QString code = text.section(QLatin1Char('_'), 0, 0);
    bool number = false;
    code.toInt(&number);
    emit balanceMissing(number ? tr("账户余额不足无法下载，请充值！（%1）").arg(code) : text);
}

// With the way to where it's set; several tasks may ask for the same place at once.
void EngineVoice::rootMsg(const QString &text, int dirType, int projectId, int softwareType)
{
    if (dirType == ResultPath::Scene)
        return msgOk(text);
    if (m_root && m_root->isVisible() && m_root->text() == text)
        return;
    m_root = MsgTool::ask(m_window->isVisible() ? m_window : nullptr, text,
                          [=] { emit rootMissing(dirType, projectId, softwareType); });
    m_root->setAcceptText(tr("去配置"));
    m_root->setBackText(tr("返回"));
}

void EngineVoice::confirmRoot(const QString &root, const QString &task)
{
    const QString text = QCoreApplication::translate(
        "MainWindow", "任务 %1 的结果要保存到以下文件夹，但本机没有用过它：\r\n%2\r\n是否允许保存到该文件夹？");
    // The name comes from a server: it must not become a picture or a link.
    MsgTool::ask(m_window, text.arg(task, root).replace(QLatin1Char('<'), QChar(0xff1c)),
                 [root] { Seam<DownCalls>::post([root](DownCalls &down) { down.rootConfirmed(root); }); });
}
