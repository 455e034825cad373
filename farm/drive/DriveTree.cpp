#include "DriveTree.h"
#include "ContentStore.h"
#include "Core.h"
#include "tasks/Tasks.h"
#include <QDateTime>
#include <QFile>
#include <QRegularExpression>

namespace farm
{

namespace
{
const QString columns =
    QStringLiteral("id, farm, tree, parent, name, type, size, mtime, created, disk, hash, content, result");
const char *const tables[] = {
    "create table if not exists drive(id integer primary key autoincrement, farm integer, tree integer, parent "
    "integer, "
    "name text, type integer, size integer, mtime integer, created integer, disk text, hash text, content text, "
    "result integer)",
    "create unique index if not exists drive_name on drive(parent, name, tree, farm)",
    "create index if not exists drive_order on drive(farm, tree, parent, type desc, name)",
    "create index if not exists drive_content on drive(content) where content <> ''",
};
constexpr int longestName = 254, mostCached = 20000;

qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }

// The ids and all that lies below them.
const QString below = QStringLiteral("with recursive tree_(id) as (select id from drive where id = ? union "
                                     "select d.id from drive d join tree_ on d.parent = tree_.id) ");
} // namespace

DriveTree::DriveTree(Core &core) : m_core(core)
{
    for (const char *table : tables)
        m_core.db.run(QLatin1String(table));
    if (!m_core.db.value(QStringLiteral("select 1 from drive where tree = 1")).isValid() &&
        m_core.db.meta(QStringLiteral("drive")).isEmpty()) {
        for (int farm = 1; farm <= m_core.options.farms; ++farm)
            create(farm, 1, DriveRoot, QStringLiteral("D"), QString(), nullptr);
        m_core.db.setMeta(QStringLiteral("drive"), QStringLiteral("made"));
    }
    countUsed();
    connect(m_core.store.get(), &ContentStore::stored, this, &DriveTree::hashKnown);
}

void DriveTree::countUsed()
{
    m_used.clear();
    m_core.db.each(QStringLiteral("select farm, sum(size) from drive where tree = 1 and type = 1 group by farm"), {},
                   [this](const QSqlQuery &row) { m_used.insert(row.value(0).toInt(), row.value(1).toLongLong()); });
}

bool DriveTree::fits(int farm, qint64 bytes) const
{
    return m_core.faults.peek(QStringLiteral("drive-full")).isNull() && used(farm) + bytes <= m_core.options.driveBytes;
}

DriveNode DriveTree::read(const QSqlQuery &row)
{
    DriveNode node;
    node.id = row.value(0).toLongLong();
    node.farm = row.value(1).toInt();
    node.tree = row.value(2).toInt();
    node.parent = row.value(3).toLongLong();
    node.name = row.value(4).toString();
    node.kind = row.value(5).toInt();
    node.size = row.value(6).toLongLong();
    node.mtime = row.value(7).toLongLong();
    node.created = row.value(8).toLongLong();
    node.disk = row.value(9).toString();
    node.hash = row.value(10).toString();
    node.content = row.value(11).toString();
    node.result = row.value(12).toLongLong();
    return node;
}

QList<DriveNode> DriveTree::rows(const QString &rest, const QVariantList &binds)
{
    QList<DriveNode> found;
    m_core.db.each(QStringLiteral("select ") + columns + QStringLiteral(" from drive ") + rest, binds,
                   [&found](const QSqlQuery &row) { found += read(row); });
    return found;
}

DriveNode DriveTree::node(int farm, int tree, qint64 id)
{
    return rows(QStringLiteral("where id = ? and farm = ? and tree = ?"), {id, farm, tree}).value(0);
}

DriveNode DriveTree::child(int farm, int tree, qint64 parent, const QString &name)
{
    return rows(QStringLiteral("where parent = ? and name = ? and tree = ? and farm = ?"), {parent, name, tree, farm})
        .value(0);
}

DriveNode DriveTree::byPath(int farm, int tree, const QString &path)
{
    DriveNode found;
    for (const QString &piece : cleanKey(path).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        found = child(farm, tree, found.good() ? found.id : DriveRoot, piece);
        if (!found.good())
            return {};
    }
    return found;
}

QList<DriveNode> DriveTree::chain(const DriveNode &node)
{
    QList<DriveNode> up;
    for (DriveNode at = node; at.good(); at = this->node(at.farm, at.tree, at.parent))
        up += at;
    return up;
}

QString DriveTree::pathOf(const DriveNode &node)
{
    QStringList pieces;
    for (const DriveNode &one : chain(node))
        pieces.prepend(one.name);
    return pieces.join(QLatin1Char('/'));
}

QList<DriveNode> DriveTree::children(int farm, int tree, qint64 parent, qint64 from, qint64 count)
{
    QList<DriveNode> found;
    children(farm, tree, parent, from, count, [&found](const DriveNode &node) { found += node; });
    return found;
}

void DriveTree::children(int farm, int tree, qint64 parent, qint64 from, qint64 count,
                         const std::function<void(const DriveNode &)> &each)
{
    m_core.db.each(QStringLiteral("select ") + columns +
                       QStringLiteral(" from drive where farm = ? and tree = ? and parent = ? order by type desc, name "
                                      "limit ? offset ?"),
                   {farm, tree, parent, count, from}, [&each](const QSqlQuery &row) { each(read(row)); });
}

qint64 DriveTree::childCount(int farm, int tree, qint64 parent)
{
    return m_core.db
        .value(QStringLiteral("select count(*) from drive where farm = ? and tree = ? and parent = ?"),
               {farm, tree, parent})
        .toLongLong();
}

QList<DriveNode> DriveTree::search(int farm, int tree, const QString &text, const QList<qint64> &folders, int most)
{
    QString pattern = text;
    pattern.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('%'), QLatin1String("\\%"));
    pattern.replace(QLatin1Char('_'), QLatin1String("\\_"));
    const QString like = QStringLiteral("%") + pattern + QStringLiteral("%");
    QList<DriveNode> found;
    for (qint64 folder : folders) {
        const QVariantList binds{folder, farm, tree, folder, like, most - found.size()};
        m_core.db.each(
            below + QStringLiteral("select ") + columns +
                QStringLiteral(" from drive where id in (select id from tree_) and farm = ? and tree = ? and "
                               "id <> ? and name like ? escape '\\' order by type desc, name limit ?"),
            binds, [&found](const QSqlQuery &row) { found += read(row); });
    }
    if (folders.isEmpty())
        found = rows(
            QStringLiteral("where farm = ? and tree = ? and name like ? escape '\\' order by type desc, name limit ?"),
            {farm, tree, like, most});
    return found;
}

DriveTree::Sum DriveTree::sumBelow(const DriveNode &node)
{
    Sum sum;
    m_core.db.each(below +
                       QStringLiteral("select type, count(*), sum(size) from drive where id in (select id from tree_) "
                                      "and id <> ? group by type"),
                   {node.id, node.id}, [&sum](const QSqlQuery &row) {
                       const bool file = row.value(0).toInt() == DriveNode::File;
                       (file ? sum.files : sum.folders) = row.value(1).toLongLong();
                       if (file)
                           sum.bytes = row.value(2).toLongLong();
                   });
    return sum;
}

bool DriveTree::goodName(const QString &name)
{
    static const QRegularExpression bad(QStringLiteral("[\\\\/:*?\"<>|\\x00]"));
    return !name.isEmpty() && name.size() <= longestName && name != QLatin1String(".") && name != QLatin1String("..") &&
           !bad.match(name).hasMatch();
}

qint64 DriveTree::insert(const DriveNode &node)
{
    return m_core.db.insert(
        QStringLiteral("insert into drive(farm, tree, parent, name, type, size, mtime, created, disk, "
                       "hash, content, result) values(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
        {node.farm, node.tree, node.parent, node.name, node.kind, node.size, node.mtime, node.created, node.disk,
         node.hash, node.content, node.result});
}

DriveTree::Outcome DriveTree::create(int farm, int tree, qint64 parent, const QString &name, const QString &machine,
                                     DriveNode *made)
{
    if (!goodName(name))
        return BadName;
    const DriveNode above = parent == DriveRoot ? DriveNode() : node(farm, tree, parent);
    if (parent != DriveRoot && (!above.good() || above.kind != DriveNode::Folder))
        return NoEntry;
    if (child(farm, tree, parent, name).good())
        return NameTaken;
    DriveNode one;
    one.farm = farm;
    one.tree = tree;
    one.parent = parent;
    one.name = name;
    one.mtime = one.created = now();
    one.disk = parent != DriveRoot ? above.disk : machine.isEmpty() ? name : machine;
    one.id = insert(one);
    if (made)
        *made = one;
    return one.id > 0 ? Good : Failed;
}

DriveTree::Outcome DriveTree::rename(int farm, int tree, qint64 id, const QString &name)
{
    const DriveNode one = node(farm, tree, id);
    if (!one.good())
        return NoEntry;
    if (!goodName(name))
        return BadName;
    if (const DriveNode other = child(farm, tree, one.parent, name); other.good() && other.id != id)
        return NameTaken;
    m_folders.clear();
    return m_core.db.run(QStringLiteral("update drive set name = ?, mtime = ? where id = ?"),
                         {name, one.kind == DriveNode::Folder ? now() : one.mtime, id})
               ? Good
               : Failed;
}

DriveTree::Outcome DriveTree::move(int farm, int tree, const QList<qint64> &ids, qint64 target)
{
    const DriveNode to = node(farm, tree, target);
    if (!to.good() || to.kind != DriveNode::Folder)
        return NoEntry;
    QList<qint64> up;
    for (const DriveNode &one : chain(to))
        up += one.id;
    for (qint64 id : ids) { // all of them or none
        const DriveNode one = node(farm, tree, id), there = child(farm, tree, target, one.name);
        if (!one.good() || one.parent == DriveRoot)
            return NoEntry;
        if (up.contains(id))
            return IntoItself;
        if (there.good() && there.id != id)
            return NameTaken;
    }
    m_folders.clear();
    Db::Batch batch(m_core.db);
    bool good = true;
    for (qint64 id : ids)
        good = good && m_core.db.run(QStringLiteral("update drive set parent = ? where id = ?"), {target, id}) &&
               m_core.db.run(below + QStringLiteral("update drive set disk = ? where id in (select id from tree_)"),
                             {id, to.disk});
    return good ? Good : Failed;
}

DriveTree::Outcome DriveTree::remove(int farm, int tree, const QList<qint64> &ids)
{
    m_folders.clear();
    bool good = true;
    {
        Db::Batch batch(m_core.db);
        for (qint64 id : ids) {
            if (!node(farm, tree, id).good())
                continue; // gone already: a repeated request
            // The same file sent again travels again; copies under other names are found by their hash.
            good =
                good &&
                m_core.db.run(below + QStringLiteral("delete from ident where key in (select content from drive where "
                                                     "id in (select id from tree_) and hash <> '')"),
                              {id}) &&
                m_core.db.run(below + QStringLiteral("delete from drive where id in (select id from tree_)"), {id});
        }
    }
    countUsed();
    return good ? Good : Failed;
}

QString DriveTree::storeKey(int farm, const QString &path)
{
    return QStringLiteral(":drive%1:").arg(farm) + cleanKey(path);
}

qint64 DriveTree::folderFor(int farm, int tree, const QString &path, bool disks)
{
    const QString key = QStringLiteral("%1/%2/%3").arg(farm).arg(tree).arg(path);
    if (const qint64 known = m_folders.value(key))
        return known;
    qint64 at = DriveRoot;
    for (const QString &piece : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        DriveNode one = child(farm, tree, at, piece);
        if (!one.good() && (at != DriveRoot || disks))
            create(farm, tree, at, piece, QString(), &one);
        if (!one.good() || one.kind != DriveNode::Folder)
            return 0;
        at = one.id;
    }
    if (m_folders.size() > mostCached)
        m_folders.clear();
    if (at > 0)
        m_folders.insert(key, at);
    return qMax<qint64>(at, 0);
}

DriveTree::Outcome DriveTree::put(int farm, const QString &path, qint64 size, qint64 mtime, const QString &content)
{
    const QString whole = cleanKey(path), name = whole.section(QLatin1Char('/'), -1);
    for (const QString &piece : whole.split(QLatin1Char('/')))
        if (!goodName(piece))
            return BadName;
    const qint64 parent = folderFor(farm, 1, whole.section(QLatin1Char('/'), 0, -2), false);
    if (parent == 0)
        return NoEntry;
    DriveNode one = child(farm, 1, parent, name);
    if (one.good() && one.kind == DriveNode::Folder)
        return NameTaken;
    const qint64 before = one.size;
    QString hash = m_core.db
                       .value(QStringLiteral("select hash from ident where key = ? and size = ? and mtime = ?"),
                              {content, size, mtime})
                       .toString();
    const bool there = one.good();
    if (!there) {
        one.farm = farm;
        one.parent = parent;
        one.name = name;
        one.kind = DriveNode::File;
        one.created = now();
        one.disk = whole.section(QLatin1Char('/'), 0, 0);
    }
    one.size = size;
    one.mtime = mtime;
    one.hash = hash;
    one.content = content;
    const bool good =
        there
            ? m_core.db.run(QStringLiteral("update drive set size = ?, mtime = ?, hash = ?, content = ? where id = ?"),
                            {size, mtime, hash, content, one.id})
            : insert(one) > 0;
    if (good)
        m_used[farm] += size - before;
    return good ? Good : Failed;
}

bool DriveTree::fill(int farm, const QString &path, int folders, int files, qint64 size)
{
    Db::Batch batch(m_core.db);
    bool good = true;
    for (int i = 0; i < qMax(1, folders) && good; ++i) {
        const QString place = folders > 0 ? path + QStringLiteral("/dir%1").arg(i, 5, 10, QLatin1Char('0')) : path;
        const qint64 parent = folderFor(farm, 1, cleanKey(place), true);
        const DriveNode above = node(farm, 1, parent);
        good = above.good();
        for (int k = 0; k < files && good; ++k) {
            DriveNode one;
            one.farm = farm;
            one.parent = parent;
            one.name = QStringLiteral("file%1.bin").arg(k, 6, 10, QLatin1Char('0'));
            one.kind = DriveNode::File;
            one.size = size;
            one.mtime = one.created = 1577836800000 + k; // the same bytes have the same time
            one.disk = above.disk;
            one.content = QStringLiteral("noise:%1").arg(qint64(i) * files + k);
            good = child(farm, 1, parent, one.name).good() || insert(one) > 0;
        }
    }
    countUsed();
    return good;
}

// Splitmix64 by place, so that any range of it can be told by itself.
QByteArray DriveTree::madeUp(const QString &content, qint64 from, qint64 length)
{
    const quint64 seed = content.mid(6).toULongLong() * 0x9e3779b97f4a7c15ull;
    QByteArray bytes(int(length), Qt::Uninitialized);
    for (qint64 at = from; at < from + length; ++at) {
        static thread_local quint64 word = 0, place = ~0ull;
        const quint64 want = seed + quint64(at / 8) * 0xbf58476d1ce4e5b9ull;
        if (want != place) {
            quint64 z = want;
            z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
            z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
            word = z ^ (z >> 31);
            place = want;
        }
        bytes[int(at - from)] = char(word >> (8 * (at % 8)));
    }
    return bytes;
}

void DriveTree::hashKnown(const QString &key)
{
    m_core.db.run(
        QStringLiteral("update drive set hash = coalesce((select hash from ident where ident.key = drive.content "
                       "and ident.size = drive.size and ident.mtime = drive.mtime), '') where content = ? and content "
                       "<> '' and hash = ''"),
        {key});
}

QString DriveTree::fileOf(const DriveNode &node, QString *hash)
{
    *hash = node.hash;
    if (node.content.startsWith(QLatin1String("result:"))) {
        int task = 0;
        const FarmResult row = m_core.tasks->result(node.result, &task);
        return row.file;
    }
    const QString known = m_core.options.dir + QStringLiteral("/store/%1/%2").arg(node.hash.left(2), node.hash);
    if (!node.hash.isEmpty() && QFile::exists(known))
        return known;
    QString file;
    m_core.db.each(QStringLiteral("select file, hash from ident where key = ? and size = ? and mtime = ?"),
                   {node.content, node.size, node.mtime}, [&](const QSqlQuery &row) {
                       file = m_core.options.dir + QLatin1Char('/') + row.value(0).toString();
                       *hash = row.value(1).toString();
                   });
    return file;
}

// Rows of results are only ever added, with rising ids: what lies behind the last one seen is new.
void DriveTree::takeResults()
{
    const qint64 seen = m_core.db.meta(QStringLiteral("drive.results")).toLongLong();
    struct Row {
        qint64 id;
        int mission;
        QString path, hash;
        qint64 size;
    };
    QList<Row> fresh;
    m_core.db.each(QStringLiteral("select id, mid, path, hash, size from result where id > ? order by id"), {seen},
                   [&fresh](const QSqlQuery &row) {
                       fresh += Row{row.value(0).toLongLong(), row.value(1).toInt(), row.value(2).toString(),
                                    row.value(3).toString(), row.value(4).toLongLong()};
                   });
    if (fresh.isEmpty())
        return;
    Db::Batch batch(m_core.db);
    for (const Row &row : qAsConst(fresh)) {
        const Task *task = m_core.tasks->byId(row.mission);
        if (!task)
            continue;
        const QString order = task->num + QLatin1Char('_') + pathPiece(task->name);
        const QString place = order + QLatin1Char('/') + row.path;
        const qint64 parent = folderFor(1, 2, place.section(QLatin1Char('/'), 0, -2), true);
        DriveNode one = child(1, 2, parent, place.section(QLatin1Char('/'), -1));
        if (one.good()) { // rendered again
            m_core.db.run(
                QStringLiteral("update drive set size = ?, mtime = ?, hash = ?, content = ?, result = ? where id = ?"),
                {row.size, now(), row.hash, QStringLiteral("result:%1").arg(row.id), row.id, one.id});
            continue;
        }
        one.tree = 2;
        one.parent = parent;
        one.name = place.section(QLatin1Char('/'), -1);
        one.kind = DriveNode::File;
        one.size = row.size;
        one.mtime = one.created = now();
        one.disk = task->num; // tells the order of everything below its folder
        one.hash = row.hash;
        one.content = QStringLiteral("result:%1").arg(row.id);
        one.result = row.id;
        insert(one);
    }
    m_core.db.setMeta(QStringLiteral("drive.results"), QString::number(fresh.last().id));
}

void DriveTree::each(int farm, int tree, const std::function<void(const DriveNode &, const QString &)> &told)
{
    QList<QPair<qint64, QString>> open{{DriveRoot, QString()}};
    while (!open.isEmpty()) {
        const QPair<qint64, QString> at = open.takeLast();
        for (const DriveNode &one : children(farm, tree, at.first, 0, -1)) {
            const QString path = at.second + one.name;
            told(one, path);
            if (one.kind == DriveNode::Folder)
                open += qMakePair(one.id, path + QLatin1Char('/'));
        }
    }
}

} // namespace farm
