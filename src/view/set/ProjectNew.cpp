#include "view/set/ProjectNew.h"
#include "common/facts/Command.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/ServerCall.h"
#include "common/UserInfo.h"
#include "view/set/EnvRules.h"

ProjectNew::ProjectNew(QWidget *parent) : DialogFrame(QStringLiteral("ProjectNew"), tr("新建项目"), parent)
{
    m_form = new Form({Field::text(QStringLiteral("name"), tr("项目名称"))
                           .hinted(tr("中文、字母和数字，最多20个汉字或40个英文字符"))
                           .checked([](const QJsonValue &value, const QJsonObject &) {
                               return EnvRules::nameFault(value.toString());
                           })},
                      this);
    m_form->setMinimumWidth(440);
    content()->addWidget(m_form);
    content()->addStretch(1);
    connect(m_form, &Form::changed, this, [this] { setError({}); });
    addButton(tr("创建"), Primary, [this] { create(); });
    addButton(tr("取消"), Close);
}

void ProjectNew::create()
{
    if (busy() || !m_form->check())
        return;
    setError({});
    setBusy(true);
    const QString name = m_form->value(QStringLiteral("name")).toString();
    ServerCall::ask(this, Command::NewProject, {{QStringLiteral("name"), name}},
                    [this](const ServerCall::Answer &answer) {
                        setBusy(false);
                        if (!answer.good())
                            return setError(tr("创建失败") + QStringLiteral("：") + answer.text());
                        const int id = answer.object().value(QLatin1String("id")).toVariant().toInt();
                        if (id > 0)
                            UserInfo::setSetting(Settings::LastProject, QString::number(id));
                        emit refreshEnvPre(id);
                        close();
                    });
}
