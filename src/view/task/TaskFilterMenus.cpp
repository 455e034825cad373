#include "view/task/TaskFilterMenus.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/Form.h"
#include "common/UserInfo.h"
#include <QJsonArray>
#include <QJsonDocument>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>

namespace
{
const QString Group = QStringLiteral("Mission");

QJsonObject read(const QString &key)
{
    return QJsonDocument::fromJson(UserInfo::userValue(Group, key).toString().toUtf8()).object();
}

void write(const QString &key, const QJsonObject &object)
{
    UserInfo::setUserValue(Group, key, QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

// Ticks without closing.
class TickMenu : public QMenu
{
public:
    using QMenu::QMenu;

protected:
    void mouseReleaseEvent(QMouseEvent *event) override
    {
        if (!tick(activeAction()))
            QMenu::mouseReleaseEvent(event);
    }
    void keyPressEvent(QKeyEvent *event) override
    {
        const bool hit =
            event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        if (!hit || !tick(activeAction()))
            QMenu::keyPressEvent(event);
    }

private:
    static bool tick(QAction *action)
    {
        if (!action || !action->isEnabled() || !action->isCheckable())
            return false;
        action->trigger();
        return true;
    }
};
} // namespace

TaskFilterMenus::TaskFilterMenus(TaskFilter *filter, QWidget *page)
    : QObject(page), m_filter(filter), m_page(page),
      m_button(new QPushButton(IconTool::icon(QStringLiteral("filter")), tr("筛选"), page))
{
    m_button->setObjectName(QStringLiteral("filter"));
    auto *menu = new QMenu(m_button);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        fillBar(menu);
        emit menuOpened(menu);
    });
    m_button->setMenu(menu);
}

QString TaskFilterMenus::key(const char *name) const
{
    return QLatin1String(name) + QLatin1String(m_filter->page == TaskFilter::Live ? "4" : "3");
}

void TaskFilterMenus::restore() { m_filter->restore(read(key("filter"))); }

void TaskFilterMenus::moved()
{
    write(key("filter"), m_filter->saved());
    emit changed();
}

void TaskFilterMenus::fill(QMenu *menu, TaskMenu TaskFilter::*part)
{
    const auto add = [&](const QString &value, const QString &words) {
        QString text = words;
        QAction *action = menu->addAction(text.replace(QLatin1Char('&'), QLatin1String("&&")));
        action->setObjectName(value);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, menu, part, value] {
            TaskMenu &mine = m_filter->*part;
            mine.toggle(value);
            for (QAction *one : menu->actions())
                one->setChecked(mine.chosen.contains(one->objectName()));
            moved();
        });
    };
    TaskMenu &mine = m_filter->*part;
    add(mine.all, tr("全选"));
    for (const auto &[value, words] : qAsConst(mine.entries))
        add(value, words.isEmpty() ? value : words);
    for (QAction *one : menu->actions())
        one->setChecked(mine.chosen.contains(one->objectName()));
}

void TaskFilterMenus::open(TaskMenu TaskFilter::*part, const QPoint &globalAt)
{
    auto *menu = new TickMenu(m_page);
    menu->setObjectName(QStringLiteral("filterMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fill(menu, part);
    emit menuOpened(menu);
    menu->popup(globalAt);
}

void TaskFilterMenus::fillBar(QMenu *menu)
{
    const auto old = menu->findChildren<QMenu *>();
    qDeleteAll(old);
    menu->clear();
    const auto part = [&](const QString &title, TaskMenu TaskFilter::*which) {
        auto *below = new TickMenu((m_filter->*which).narrowed() ? tr("%1(筛选)").arg(title) : title, menu);
        fill(below, which);
        menu->addMenu(below);
    };
    part(tr("项目"), &TaskFilter::project);
    part(tr("状态"), &TaskFilter::status);
    part(tr("创建人"), &TaskFilter::user);
    part(tr("备注"), &TaskFilter::remark);
    menu->addSeparator();
    const QStringList known = names();
    for (const QString &name : known) {
        QString text = name;
        connect(menu->addAction(text.replace(QLatin1Char('&'), QLatin1String("&&"))), &QAction::triggered, this,
                [this, name] { choose(name); });
    }
    if (!known.isEmpty())
        menu->addSeparator();
    QAction *keep = menu->addAction(tr("保存当前筛选…"));
    keep->setEnabled(m_filter->narrowed());
    connect(keep, &QAction::triggered, this, &TaskFilterMenus::askName);
    QAction *clear = menu->addAction(tr("清除筛选"));
    clear->setEnabled(m_filter->narrowed());
    connect(clear, &QAction::triggered, this, [this] {
        m_filter->clear();
        moved();
    });
    if (known.isEmpty())
        return;
    auto *forget = menu->addMenu(tr("删除已存的筛选"));
    for (const QString &name : known) {
        QString text = name;
        connect(forget->addAction(text.replace(QLatin1Char('&'), QLatin1String("&&"))), &QAction::triggered, this,
                [this, name] { this->forget(name); });
    }
}

QJsonObject TaskFilterMenus::named() const { return read(key("filters")); }
QStringList TaskFilterMenus::names() const { return named().keys(); }

bool TaskFilterMenus::keep(const QString &name)
{
    QJsonObject all = named();
    const QString tidy = name.simplified().left(LongestName);
    if (tidy.isEmpty() || !m_filter->narrowed() || (all.size() >= MostNamed && !all.contains(tidy)))
        return false;
    all.insert(tidy, m_filter->saved());
    write(key("filters"), all);
    return true;
}

void TaskFilterMenus::choose(const QString &name)
{
    const QJsonObject all = named();
    if (!all.contains(name))
        return;
    m_filter->restore(all.value(name).toObject());
    moved();
}

void TaskFilterMenus::forget(const QString &name)
{
    QJsonObject all = named();
    all.remove(name);
    write(key("filters"), all);
}

void TaskFilterMenus::askName()
{
    auto *dialog = new DialogFrame(QStringLiteral("FilterName"), tr("保存筛选"), m_page);
    auto *form = new Form({Field::text(QStringLiteral("name"), tr("名称")).longest(LongestName).needed()}, dialog);
    form->setValue(QStringLiteral("name"), tr("我的任务"));
    dialog->content()->addWidget(form);
    dialog->addButton(tr("保存"), DialogFrame::Primary, [this, dialog, form] {
        if (!form->check())
            return;
        if (keep(form->value(QStringLiteral("name")).toString()))
            dialog->close();
        else
            dialog->setError(tr("最多保存 %1 个筛选").arg(MostNamed));
    });
    dialog->addButton(tr("取消"), DialogFrame::Close);
    dialog->open();
}
