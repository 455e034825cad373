#include "view/driver/AddDriver.h"
#include "common/ui/kit/Form.h"
#include "view/driver/DriveRules.h"

AddDriver::AddDriver(std::function<bool(const QString &)> taken, QWidget *parent)
    : DialogFrame(QStringLiteral("AddDriver"), tr("新增盘符"), parent)
{
    const auto judge = [taken](const QJsonValue &value, const QJsonObject &) {
        const QString refusal = DriveRules::refusal(DriveRules::judgeName(value.toString()));
        return refusal.isEmpty() && taken(value.toString()) ? tr("该名称已存在") : refusal;
    };
    const auto judgeMachine = [](const QJsonValue &value, const QJsonObject &) {
        return DriveRules::refusal(DriveRules::judgeName(value.toString()));
    };
    m_form = new Form({Field::text(QStringLiteral("name"), tr("盘符")).needed().hinted(tr("例如 D")).checked(judge),
                       Field::text(QStringLiteral("machine"), tr("机器名")).checked(judgeMachine)},
                      this);
    content()->addWidget(m_form);
    setWanted({360, 130});
    addButton(tr("确定"), Primary, [this] { submit(); });
    addButton(tr("取消"), Close);
}

void AddDriver::submit()
{
    if (!m_form->check())
        return;
    setError({});
    setBusy(true, tr("正在创建…"));
    emit addDriver(m_form->value(QStringLiteral("name")).toString(), this);
}

QString AddDriver::machine() const { return m_form->value(QStringLiteral("machine")).toString(); }

void AddDriver::answered(const QString &error)
{
    setBusy(false);
    if (error.isEmpty())
        close();
    else
        setError(error);
}
