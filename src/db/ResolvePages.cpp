// The scenes as a list on screen wants them: page by page, searched and sorted.
#include "common/facts/SceneState.h"
#include "db/ResolveDAO.h"
#include <QHash>

namespace
{
// Column ids come from the window's settings: only what stands here reaches the statement.
QString orderBy(const ScenePage &wanted)
{
    static const QHash<QString, QString> columns{
        {"order", "ordernum"},
        {"name", "replace(lpath, rtrim(lpath, replace(lpath, '/', '')), '') collate nocase"}, // behind the last "/"
        {"project", "project collate nocase"},
        {"time", "rtime"},
        {"progress", "fok * 1.0 / max(fsum, 1)"},
        {"state", "state"}};
    const QString column = columns.value(wanted.sort);
    const QString way = wanted.down ? " desc" : "";
    return column.isEmpty() ? QString(" order by rkey") : " order by " + column + way + ", rkey" + way;
}
} // namespace

QList<db_resolve> ResolveDAO::readPage(const QString &search, int page, int pageSize)
{
    ScenePage wanted;
    wanted.search = search;
    wanted.page = page;
    wanted.size = pageSize;
    return readPage(wanted);
}

QList<db_resolve> ResolveDAO::readPage(const ScenePage &wanted)
{
    QList<db_resolve> rows;
    const qlonglong size = qMax(1, wanted.size);
    qlonglong page = qMax(0, wanted.page);
    int pages = 0;
    bool found = false;
    {
        Locker lock(m_mutex);
        const QString from = " from resolve where state <> ? and lpath like ? escape '\\'";
        const QVariantList which{int(SceneState::DoneForSeat), likePattern(wanted.search)};
        const qlonglong count = number("select count(rkey)" + from, which, 0);
        pages = int((count + size - 1) / size);
        if (wanted.holding != 0) {
            const qlonglong place = number("select place from (select rkey, row_number() over (" + orderBy(wanted) +
                                               ") as place" + from + ") where rkey = ?",
                                           which + QVariantList{wanted.holding}, 0);
            found = place > 0;
            page = found ? (place - 1) / size : page;
        }
        rows = list("select *" + from + orderBy(wanted) + " limit ?,?", which + QVariantList{page * size, size});
    }
    if (found)
        emit pageFound(int(page));
    emit allFile(rows, pages);
    return rows;
}
