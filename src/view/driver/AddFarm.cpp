#include "view/driver/AddFarm.h"

AddFarm::AddFarm(const QList<TickRow> &farms, QWidget *parent)
    : DialogFrame(QStringLiteral("AddFarm"), tr("新增农场"), parent),
      m_list(new TickList(QStringLiteral("AddFarm"), tr("农场"),
                          {{tr("农场"), 0}, {tr("平台"), 100}, {tr("状态"), 100}}, this))
{
    m_list->setRows(farms, {});
    content()->addWidget(m_list, 1);
    setWanted({460, 300});
    addButton(tr("确定"), Primary, [this] {
        if (m_list->ticked().isEmpty())
            return setError(tr("请选择农场"));
        emit addFarmOk(m_list->ticked());
        close();
    });
    addButton(tr("取消"), Close);
}
