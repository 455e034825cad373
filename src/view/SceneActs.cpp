#include "view/SceneActs.h"
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "view/ResolveWarn.h"
#include <QAction>

using SceneState::Act;

SceneActs::SceneActs(QWidget *page, ResolveRows::Model *model, TablePage *table, const Deeds &deeds)
    : m_page(page), m_model(model), m_table(table), m_deeds(deeds)
{
}

ActSpec SceneActs::spec(const char *id, const QString &text, const char *icon, Act act, int places) const
{
    ActSpec one(id, text, QLatin1String(icon), places);
    one.possible = m_model->when([act](const db_resolve &r) { return SceneState::possible(act, r.state); });
    return one;
}

bool SceneActs::canSubmit(const db_resolve &res)
{
    return SceneState::Ended.contains(res.state) && res.state != SceneState::Failed;
}

ActSpec SceneActs::commit() const
{
    ActSpec one = spec("commit", tr("提交渲染"), "check", Act::Commit, ActSpec::Bar | ActSpec::Menu);
    one.primary = true;
    return one;
}

ActSpec SceneActs::parameters() const
{
    ActSpec one = spec("para", tr("参数设置"), "image", Act::EditParameters, ActSpec::More | ActSpec::Menu);
    one.single = true;
    one.possible = m_model->when(canSubmit);
    one.run = [deed = m_deeds.parameters](const QStringList &keys) { deed(ResolveRows::rkey(keys.first())); };
    return one;
}

ActSpec SceneActs::again() const
{
    ActSpec one = spec("again", tr("重新解析"), "retry", Act::Again, ActSpec::Bar | ActSpec::Menu);
    one.run = m_model->each([deed = m_deeds.again](const db_resolve &r) { deed(r.rkey); });
    return one;
}

ActSpec SceneActs::remove() const
{
    ActSpec one = spec("delete", tr("删除任务"), "trash", Act::Delete, ActSpec::Bar | ActSpec::Menu);
    one.keys = QKeySequence::Delete;
    one.danger = true;
    one.accept = tr("删除任务");
    return one;
}

ActSpec SceneActs::recommit() const
{
    ActSpec one = spec("recommit", tr("重新提交"), "upload", Act::Recommit, ActSpec::More | ActSpec::Menu);
    one.run = [deed = m_deeds.commit](const QStringList &keys) { deed(rkeys(keys), false); };
    return one;
}

void SceneActs::trigger(const char *id) const { m_table->acts()->action(QLatin1String(id))->trigger(); }

void SceneActs::rowButton(int button, const QModelIndex &index) const
{
    m_table->acts()->runInRow(m_model->keyOf(index), button);
}

QString SceneActs::nameOf(const QStringList &keys) const
{
    const db_resolve *res = m_model->record(keys.value(0));
    return res ? RecordModelBase::plainLine(ResolveRows::sceneName(*res)) : QString();
}

QList<qlonglong> SceneActs::rkeys(const QStringList &keys)
{
    QList<qlonglong> out;
    for (const QString &key : keys)
        out << ResolveRows::rkey(key);
    return out;
}

bool SceneActs::mayEdit(const QString &refusal) const
{
    if (!UserInfo::canSetParameters())
        MsgTool::msgOk(m_page, refusal);
    return UserInfo::canSetParameters();
}

void SceneActs::seeWarnings(const db_resolve &res) const
{
    auto *dialog = new ResolveWarn(res, m_page->window());
    QObject::connect(dialog, &ResolveWarn::commit, m_page,
                     [deed = m_deeds.commit](qlonglong key) { deed({key}, false); });
    QObject::connect(dialog, &ResolveWarn::batch, m_page,
                     [deed = m_deeds.commit](qlonglong key) { deed({key}, true); });
    QObject::connect(dialog, &ResolveWarn::parameters, m_page, m_deeds.parameters);
    QObject::connect(dialog, &ResolveWarn::again, m_page, m_deeds.again);
    dialog->open();
}

void SceneActs::open(const db_resolve &res, const Read &read, const Then &then)
{
    m_table->setBusy(true);
    Background::run(
        m_page, [res, read, config = CommonConfig::get()] { return read(res, config); },
        [this, then, asked = ++m_asked](const ParameterDialog::Scene &scene) {
            if (asked != m_asked) // a click on another scene came after it
                return;
            m_table->setBusy(false);
            then(scene);
        });
}
