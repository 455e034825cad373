#include "task/TaskFilter.h"
#include "task/Cell.h"
#include <algorithm>
#include <QCoreApplication>
#include <QJsonArray>

namespace
{
const QString Everyone = QStringLiteral("-1");
constexpr int NameUp = 10, NameDown = 11, TimeUp = 12, TimeDown = 13;

struct Entry {
    const char *value, *text;
};
const Entry live[] = {
    {"1100", QT_TRANSLATE_NOOP("TaskState", "排队中")},   {"1110", QT_TRANSLATE_NOOP("TaskState", "渲染中")},
    {"1120", QT_TRANSLATE_NOOP("TaskState", "等待确认")}, {"1130", QT_TRANSLATE_NOOP("TaskState", "渲染暂停")},
    {"1150", QT_TRANSLATE_NOOP("TaskState", "即将暂停")}, {"1140", QT_TRANSLATE_NOOP("TaskState", "渲染结束")},
    {"1220", QT_TRANSLATE_NOOP("TaskState", "下载结束")},
};
const Entry old[] = {
    {"2100", QT_TRANSLATE_NOOP("TaskState", "解析取消")}, {"2110", QT_TRANSLATE_NOOP("TaskState", "解析失败")},
    {"2200", QT_TRANSLATE_NOOP("TaskState", "上传取消")}, {"2210", QT_TRANSLATE_NOOP("TaskState", "上传失败")},
    {"2300", QT_TRANSLATE_NOOP("TaskState", "渲染结束")}, {"2400", QT_TRANSLATE_NOOP("TaskState", "下载结束")},
};
const Entry remarks[] = {{"1", QT_TRANSLATE_NOOP("TaskFilter", "含备注")},
                         {"0", QT_TRANSLATE_NOOP("TaskFilter", "无备注")}};

template <size_t N> QVector<QPair<QString, QString>> entriesOf(const Entry (&list)[N], const char *context)
{
    QVector<QPair<QString, QString>> out;
    for (const Entry &one : list)
        out << qMakePair(QString::fromLatin1(one.value), QCoreApplication::translate(context, one.text));
    return out;
}

const struct Part {
    const char *key;
    TaskMenu TaskFilter::*menu;
} parts[] = {{"project", &TaskFilter::project},
             {"status", &TaskFilter::status},
             {"user", &TaskFilter::user},
             {"remark", &TaskFilter::remark}};
} // namespace

bool TaskMenu::narrowed() const { return !chosen.isEmpty() && !chosen.contains(all); }

void TaskMenu::toggle(const QString &value)
{
    QStringList every;
    for (const auto &[one, words] : qAsConst(entries))
        every << one;
    // Nothing ticked means all of it; a first click asks for that one alone.
    if (value == all) {
        chosen = chosen.contains(all) ? QStringList() : QStringList{all} + every;
        return;
    }
    if (!chosen.removeOne(value))
        chosen << value;
    chosen.removeAll(all);
    const bool complete =
        std::all_of(every.begin(), every.end(), [this](const QString &one) { return chosen.contains(one); });
    if (complete)
        chosen = QStringList{all} + every;
}

void TaskMenu::setEntries(const QVector<QPair<QString, QString>> &list)
{
    const auto known = [&list](const QString &value) {
        return std::any_of(list.begin(), list.end(), [&](const auto &one) { return one.first == value; });
    };
    QVector<QPair<QString, QString>> now = list;
    for (const auto &one : qAsConst(entries))
        if (narrowed() && chosen.contains(one.first) && !known(one.first))
            now << one;
    const bool every = chosen.contains(all);
    entries = now;
    if (!every)
        return;
    chosen = QStringList{all};
    for (const auto &one : qAsConst(entries))
        chosen << one.first;
}

QJsonArray TaskMenu::values() const
{
    QStringList list = chosen;
    if (list.isEmpty()) {
        list << all;
        for (const auto &one : entries)
            list << one.first;
    }
    if (list.contains(all))
        return all == Everyone ? QJsonArray() : QJsonArray{Cell::idValue(all)};
    QJsonArray out;
    for (const QString &value : qAsConst(list))
        out.append(Cell::idValue(value));
    return out;
}

TaskFilter::TaskFilter(Page kind) : page(kind)
{
    project.all = user.all = remark.all = Everyone;
    status.all = kind == Live ? QStringLiteral("1000") : QStringLiteral("2000");
    status.entries = kind == Live ? entriesOf(live, "TaskState") : entriesOf(old, "TaskState");
    remark.entries = entriesOf(remarks, "TaskFilter");
}

QJsonObject TaskFilter::request(int pageNumber) const
{
    QJsonObject body{
        {QStringLiteral("name"), name}, {QStringLiteral("pageCount"), PageRows}, {QStringLiteral("page"), pageNumber}};
    if (sort == ByName)
        body.insert(QStringLiteral("nameSort"), down ? NameDown : NameUp);
    if (sort == ByTime)
        body.insert(QStringLiteral("subTimeSort"), down ? TimeDown : TimeUp);
    const auto put = [&body](const char *key, const QJsonArray &values) {
        if (!values.isEmpty())
            body.insert(QLatin1String(key), values);
    };
    put("projectId", project.values());
    put("missionStatus", status.values());
    put("userId", user.values());
    if (const QJsonArray wanted = remark.values(); !wanted.isEmpty())
        body.insert(QStringLiteral("remark"), wanted.contains(QJsonValue(0)) ? QJsonValue(0) : wanted.first());
    return body;
}

bool TaskFilter::narrowed() const
{
    return std::any_of(std::begin(parts), std::end(parts),
                       [this](const Part &part) { return (this->*part.menu).narrowed(); });
}

void TaskFilter::clear()
{
    for (const Part &part : parts)
        (this->*part.menu).chosen.clear();
}

QJsonObject TaskFilter::saved() const
{
    QJsonObject out;
    for (const Part &part : parts) {
        const TaskMenu &menu = this->*part.menu;
        QJsonArray values;
        for (const auto &[value, text] : menu.entries)
            if (menu.narrowed() && menu.chosen.contains(value))
                values.append(QJsonArray{value, text});
        if (!values.isEmpty())
            out.insert(QLatin1String(part.key), values);
    }
    return out;
}

void TaskFilter::restore(const QJsonObject &saved)
{
    for (const Part &part : parts) {
        TaskMenu &menu = this->*part.menu;
        menu.chosen.clear();
        const bool fixed = part.menu == &TaskFilter::status || part.menu == &TaskFilter::remark;
        for (const QJsonValue &value : saved.value(QLatin1String(part.key)).toArray()) {
            const QString id = Cell::text(value.toArray().at(0));
            const bool known =
                std::any_of(menu.entries.begin(), menu.entries.end(), [&](const auto &one) { return one.first == id; });
            if (id.isEmpty() || menu.chosen.contains(id) || id == menu.all || (fixed && !known))
                continue;
            menu.chosen << id;
            if (!known)
                menu.entries << qMakePair(id, Cell::text(value.toArray().at(1)));
        }
    }
}
