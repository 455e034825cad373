#include "view/task/MissionSubDialogs.h"
#include "common/facts/Command.h"
#include "task/Cell.h"
#include "task/SubDetail.h"
#include <QClipboard>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QPushButton>

namespace
{
const QSize Wanted(560, 380);
}

MissionText::MissionText(QWidget *over, const QString &title, const QString &name, int cmd, const QString &task,
                         Read read)
    : DialogFrame(QStringLiteral("MissionText"), title, over), m_cmd(cmd), m_task(task), m_read(std::move(read)),
      m_text(new QPlainTextEdit)
{
    setHeading(name);
    m_text->setReadOnly(true);
    m_text->setTabChangesFocus(true);
    m_text->setAccessibleName(title);
    content()->addWidget(m_text, 1);
    setWanted(Wanted);
    addButton(tr("复制"), Left, [this] { QGuiApplication::clipboard()->setText(text()); });
    addButton(tr("关闭"), Close)->setFocus();
    open();
    ask();
}

MissionText *MissionText::detail(QWidget *over, const QString &task, const QString &name)
{
    return new MissionText(over, tr("任务详情"), name, Command::TaskDetail, task, SubDetail::text);
}

MissionText *MissionText::operations(QWidget *over, const QString &task, const QString &name)
{
    return new MissionText(over, tr("操作记录"), name, Command::Operations, task, [](const QJsonObject &reply) {
        return SubDetail::operations(reply).join(QLatin1Char('\n'));
    });
}

QString MissionText::text() const { return m_text->toPlainText(); }

void MissionText::ask()
{
    setError({});
    setBusy(true);
    ServerCall::ask(this, m_cmd, {{"missionId", Cell::idValue(m_task)}}, [this](const ServerCall::Answer &answer) {
        setBusy(false);
        if (!answer.good())
            return setError(answer.text(), [this] { ask(); });
        const QString text = m_read(answer.object());
        m_text->setPlainText(text.isEmpty() ? tr("暂时没有记录") : text);
    });
}
