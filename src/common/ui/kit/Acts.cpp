#include "common/ui/kit/Acts.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Notes.h"
#include <algorithm>
#include <QAction>
#include <QMenu>
#include <QTimer>
#include <QWidget>

ActSet::ActSet(QWidget *over) : QObject(over), m_over(over) {}

ActSet::~ActSet() { sendNow(); }

void ActSet::add(const ActSpec &spec)
{
    auto *action = new QAction(spec.icon.isEmpty() ? QIcon() : IconTool::icon(spec.icon), spec.text, this);
    action->setObjectName(spec.id);
    action->setEnabled(spec.free);
    connect(action, &QAction::triggered, this,
            [this, id = spec.id] { run(id, m_targets ? m_targets() : QStringList()); });
    m_acts << spec;
    m_actions << action;
}

const ActSpec *ActSet::spec(const QString &id) const
{
    for (const ActSpec &one : m_acts)
        if (one.id == id)
            return &one;
    return nullptr;
}

QAction *ActSet::action(const QString &id) const
{
    for (QAction *one : m_actions)
        if (one->objectName() == id)
            return one;
    return nullptr;
}

QStringList ActSet::fit(const QString &id, const QStringList &keys) const
{
    const ActSpec *one = spec(id);
    QStringList out;
    for (const QString &key : keys)
        if (one && !leaving(key) && there(key) && (!one->possible || one->possible(key)))
            out << key;
    return one && one->single && out.size() > 1 ? QStringList() : out;
}

bool ActSet::can(const QString &id, const QStringList &keys) const
{
    const ActSpec *one = spec(id);
    if (!one || one->free)
        return one;
    const int fitting = fit(id, keys).size();
    const auto here = std::count_if(keys.begin(), keys.end(), [this](const QString &key) { return there(key); });
    return one->every ? fitting > 0 && fitting == here : fitting > 0;
}

void ActSet::follow()
{
    const QStringList keys = m_targets ? m_targets() : QStringList();
    for (int i = 0; i < m_acts.size(); ++i)
        m_actions.at(i)->setEnabled(can(m_acts.at(i).id, keys));
}

void ActSet::run(const QString &id, const QStringList &keys)
{
    const ActSpec *one = spec(id);
    const QStringList rows = fit(id, keys);
    if (!can(id, keys))
        return;
    const QString question = one->question ? one->question(rows) : QString();
    if (question.isEmpty())
        done(*one, rows);
    else
        ask(*one, question, rows);
}

void ActSet::ask(const ActSpec &spec, const QString &text, const QStringList &keys)
{
    Question question;
    question.text = text;
    question.accept = spec.accept;
    question.back = spec.back;
    question.danger = spec.danger;
    question.dontAsk = spec.dontAsk;
    // What was possible when it was asked may no longer be when it's answered.
    Question::ask(
        m_over, question, [this, spec, keys] { done(spec, fit(spec.id, keys)); }, this);
}

void ActSet::done(const ActSpec &spec, const QStringList &keys)
{
    if ((!spec.run && !spec.later) || (keys.isEmpty() && !spec.free))
        return;
    if (spec.later)
        leave(spec, keys);
    else
        spec.run(keys);
    emit ran(spec.id, keys);
}

void ActSet::leave(const ActSpec &spec, const QStringList &keys)
{
    const int round = ++m_round;
    for (const QString &key : keys)
        m_leaving.append({key, round, spec.later(key)});
    QTimer::singleShot(m_undoMs, this,
                       [this, round] { send([round](const Leaving &one) { return one.round == round; }); });
    // The note may have to give way to another one, the rows' own buttons stay.
    Toast::show(
        m_over, spec.farewell ? spec.farewell(keys) : spec.text, tr("撤销"), [this, keys] { takeBack(keys); },
        m_undoMs);
    emit leavingChanged(keys);
}

bool ActSet::leaving(const QString &key) const
{
    return std::any_of(m_leaving.begin(), m_leaving.end(), [&](const Leaving &one) { return one.key == key; });
}

void ActSet::takeBack(const QStringList &keys)
{
    const auto back = [&](const Leaving &one) { return keys.contains(one.key); };
    m_leaving.erase(std::remove_if(m_leaving.begin(), m_leaving.end(), back), m_leaving.end());
    emit leavingChanged(keys);
}

void ActSet::send(const std::function<bool(const Leaving &)> &which)
{
    QVector<Leaving> rest;
    QStringList gone;
    for (const Leaving &one : std::exchange(m_leaving, {})) {
        if (!which(one)) {
            rest << one;
            continue;
        }
        one.deed();
        gone << one.key;
    }
    m_leaving = rest;
    if (!gone.isEmpty())
        emit leavingChanged(gone);
}

void ActSet::sendNow()
{
    send([](const Leaving &) { return true; });
}

QMenu *ActSet::menu(const QStringList &keys, QWidget *parent) const
{
    auto *menu = new QMenu(parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    auto *self = const_cast<ActSet *>(this);
    for (int i = 0; i < m_acts.size(); ++i) {
        const ActSpec &one = m_acts.at(i);
        const bool nothing = keys.isEmpty();
        const bool possible = can(one.id, keys);
        if (!(one.places & ActSpec::Menu) || (nothing ? !one.free : one.free || (!possible && !one.every)))
            continue;
        QAction *action = menu->addAction(m_actions.at(i)->icon(), one.text);
        action->setEnabled(possible);
        action->setObjectName(one.id);
        connect(action, &QAction::triggered, self, [self, id = one.id, keys] { self->run(id, keys); });
    }
    return menu;
}

QStringList ActSet::rowWords(const QString &key) const
{
    QStringList words;
    const bool out = leaving(key);
    for (const ActSpec &one : m_acts)
        if (one.places & ActSpec::Row)
            words << (out                            ? (words.isEmpty() ? tr("撤销") : QString())
                      : fit(one.id, {key}).isEmpty() ? QString()
                      : one.rowText                  ? one.rowText(key)
                                                     : one.text);
    return words;
}

void ActSet::runInRow(const QString &key, int place)
{
    if (leaving(key))
        return takeBack({key});
    for (const ActSpec &one : qAsConst(m_acts))
        if (one.places & ActSpec::Row && place-- == 0)
            return run(one.id, {key});
}
