#include "view/task/PauseRender.h"
#include "common/ui/kit/RadioGroup.h"

PauseRender::PauseRender(QWidget *parent)
    : DialogFrame(QStringLiteral("PauseRender"), tr("暂停渲染"), parent), m_kinds(new RadioGroup(this))
{
    setHeading(tr("请选择暂停方式！"));
    m_kinds->setAccessibleName(tr("请选择暂停方式！"));
    m_kinds->add(tr("立即暂停（当前渲染中的子任务进程立即取消渲染）"));
    m_kinds->add(tr("延时暂停（当前正在渲染的子任务渲染完成之后暂停）"));
    m_kinds->setCurrent(0);
    m_kinds->setMinimumWidth(420);
    content()->addWidget(m_kinds);
    addButton(tr("确定"), Primary, [this] {
        m_chosen = m_kinds->current() == 0 ? AtOnce : Later;
        close();
    });
    addButton(tr("取消"), Close);
    connect(this, &BaseWidget::closed, this, [this] { emit chosen(m_chosen); });
}
