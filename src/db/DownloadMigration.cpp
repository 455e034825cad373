#include "db/DownloadDAO.h"
#include <QDebug>

// Old files kept all missions in "miss" and all their files in "down". One transaction carries them over: a kill at
// any statement leaves the old file as it was, to be carried over at the next start.
bool DownloadDAO::migrate()
{
    const QStringList old = tables();
    const bool hasMiss = old.contains("miss");
    const bool hasDown = old.contains("down");
    if (!hasMiss && !hasDown)
        return true;
    Work work(this);
    if (!work)
        return false;
    if (hasMiss) {
        if (!copyRows("miss", "miss2", {}, {}) || !exec("drop table miss"))
            return false;
        qDebug().noquote() << "create miss2, drop miss";
    }
    if (hasDown && !migrateFiles())
        return false;
    return work.commit();
}

bool DownloadDAO::migrateFiles()
{
    QStringList orders;
    QList<qlonglong> pris;
    each("select ordernum, pri from miss2", {}, [&](const Row &row) {
        orders << row.text("ordernum");
        pris << row.number("pri");
    });
    for (int i = 0; i < pris.size(); ++i) {
        const QString name = QStringLiteral("down_%1").arg(pris.at(i));
        const bool filled = hasTable(pris.at(i)) && number("select count(*) from " + name, {}, 0) > 0;
        // A table that is filled already was carried over before an older program was killed.
        if (!makeTable(pris.at(i)) || (!filled && !copyRows("down", name, "where ordernum = ?", {orders.at(i)})))
            return false;
        qDebug().noquote() << "down___" << name;
    }
    const qlonglong left =
        number("select count(*) from down where ordernum not in (select ordernum from miss2)", {}, 0);
    if (left > 0)
        qWarning().noquote() << "DownloadDAO::migrateFiles" << left << "files belong to no mission and are left behind";
    return exec("drop table down");
}

// By the columns that both have; a handle that is taken or missing moves up to the next free one.
bool DownloadDAO::copyRows(const QString &from, const QString &to, const QString &where, const QVariantList &values)
{
    QStringList shared;
    const QStringList target = columns(to);
    for (const QString &name : columns(from))
        if (target.contains(name))
            shared << name;
    const QString list = shared.join(',');
    const bool keyed =
        shared.contains("pri") &&
        number(QStringLiteral("select count(*) from %1 %2").arg(from, where), values) ==
            number(QStringLiteral("select count(distinct nullif(pri,0)) from %1 %2").arg(from, where), values) &&
        number(QStringLiteral("select count(*) from %1 where pri in (select pri from %2 %3)").arg(to, from, where),
               values) == 0;
    if (keyed)
        return exec(QStringLiteral("insert into %1 (%2) select %2 from %3 %4").arg(to, list, from, where), values);

    qlonglong next =
        qMax(number(QStringLiteral("select max(pri) from %1").arg(to), {}, 0),
             shared.contains("pri") ? number(QStringLiteral("select max(pri) from %1").arg(from), {}, 0) : 0);
    QList<QVariantList> rows;
    if (!each(QStringLiteral("select %1 from %2 %3").arg(list, from, where), values, [&](const Row &row) {
            QVariantList one;
            for (int i = 0; i < shared.size(); ++i)
                one << row.at(i);
            rows << one;
        }))
        return false;
    const int key = shared.indexOf("pri");
    const QString columnsText = key < 0 ? list + ",pri" : list;
    const QString marks = QStringList(QVector<QString>(shared.size() + (key < 0 ? 1 : 0), "?").toList()).join(',');
    const QString insert = QStringLiteral("insert into %1 (%2) values (%3)").arg(to, columnsText, marks);
    const QString taken = QStringLiteral("select count(*) from %1 where pri = ?").arg(to);
    for (QVariantList &one : rows) {
        if (key < 0)
            one << ++next;
        else if (one.at(key).toLongLong() == 0 || number(taken, {one.at(key)}, 0) > 0)
            one[key] = ++next;
        if (!exec(insert, one))
            return false;
    }
    return true;
}
