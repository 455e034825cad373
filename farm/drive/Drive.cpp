#include "Drive.h"
#include "ContentStore.h"
#include "Core.h"
#include "DriveAnalysis.h"
#include "DriveForms.h"
#include "FileServer.h"
#include "Rest.h"
#include "tasks/Tasks.h"
#include <QBuffer>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QJsonDocument>
#include <QRegularExpression>

namespace farm
{

namespace
{
constexpr qint64 mostAtOnce = 64 << 20, mostListed = 100000;
constexpr int mostFound = 1000;
constexpr double gig = 1024.0 * 1024 * 1024;

// The minute is what takes long: the system looks at its time zone for each. Of one thread, the farm's.
QString stamp(qint64 ms)
{
    constexpr int most = 10000;
    static thread_local QHash<qint64, QString> minutes;
    const qint64 minute = ms / 60000;
    if (minutes.size() > most)
        minutes.clear();
    QString &begin = minutes[minute];
    if (begin.isEmpty())
        begin = QDateTime::fromMSecsSinceEpoch(minute * 60000).toString(QStringLiteral("yyyy-MM-dd HH:mm:"));
    return begin + QStringLiteral("%1").arg(int(ms / 1000 % 60), 2, 10, QLatin1Char('0'));
}

QList<qint64> idsOf(const QString &text)
{
    QList<qint64> ids;
    for (const QString &one : text.split(QLatin1Char(','), Qt::SkipEmptyParts))
        ids += one.toLongLong();
    return ids;
}

const char *textOf(DriveTree::Outcome outcome)
{
    switch (outcome) {
    case DriveTree::Good:
        return "";
    case DriveTree::NoEntry:
        return "文件或文件夹不存在";
    case DriveTree::NameTaken:
        return "名称已存在";
    case DriveTree::BadName:
        return "名称不合法";
    case DriveTree::Full:
        return "网盘空间不足";
    case DriveTree::IntoItself:
        return "不能移动到自身或其子文件夹";
    case DriveTree::Failed:
        break;
    }
    return "内部错误";
}

HttpAnswer notFound() { return jsonAnswer({{"code", 404}, {"result", 0}, {"msg", QStringLiteral("没有此接口")}}, 404); }
} // namespace

Drive::Drive(Core &core)
    : m_core(core), m_farms(qMax(1, core.options.farms)), m_tree(core),
      m_analysis(std::make_unique<DriveAnalysis>(core, m_tree))
{
}

Drive::~Drive() = default;

QString Drive::prefix(int farm) { return farm == 1 ? QString() : QStringLiteral("/f%1").arg(farm); }

int Drive::takeFarm(QString *path)
{
    static const QRegularExpression head(QStringLiteral("^/f(\\d{1,4})(?=/)"));
    const QRegularExpressionMatch match = head.match(*path);
    if (!match.hasMatch())
        return 1;
    path->remove(0, match.capturedLength());
    return match.captured(1).toInt();
}

QJsonObject Drive::entry() const
{
    QJsonArray farms;
    for (int farm = 1; farm <= m_farms; ++farm) {
        const bool off = m_farms >= 3 && farm == m_farms;
        farms.append(
            QJsonObject{{"farmId", farm},
                        {"name", farm == 1 ? QStringLiteral("本机农场") : QStringLiteral("本机农场%1").arg(farm)},
                        {"storageType", 1},
                        {"platform", QStringLiteral("linux")},
                        {"status", off ? 0 : 1},
                        {"selected", farm <= 3 ? 1 : 0}});
    }
    return {{"status", 1}, {"defaultFarmId", 1}, {"skydriveFarms", farms}};
}

QJsonObject Drive::room(int farm) const
{
    return {{"farmId", farm},
            {"usedSize", double(m_tree.used(farm)) / gig},
            {"size", double(m_core.options.driveBytes) / gig}};
}

HttpAnswer Drive::told(DriveTree::Outcome outcome, const QJsonValue &data) const
{
    QJsonObject body{{"code", int(outcome)},
                     {"result", outcome == DriveTree::Good ? 1 : 0},
                     {"msg", QString::fromUtf8(textOf(outcome))}};
    if (!data.isNull())
        body.insert(QStringLiteral("data"), data);
    return jsonAnswer(body);
}

// The same entry as a text, for a list that may have a million of them.
void Drive::write(const DriveNode &node, QByteArray *out)
{
    const auto text = [out](const QString &words) {
        *out += '"';
        for (const char c : words.toUtf8()) {
            if (c == '"' || c == '\\')
                *out += '\\';
            if (uchar(c) < ' ')
                *out += "\\u00" + QByteArray(1, c).toHex();
            else
                *out += c;
        }
        *out += '"';
    };
    const auto item = [out](const char *name) -> QByteArray & {
        return (*out += out->endsWith('{') ? "\"" : ",\"").append(name).append("\":");
    };
    *out += '{';
    item("id") += '"' + QByteArray::number(node.id) + '"';
    item("name");
    text(node.name);
    item("parent") += '"' + QByteArray::number(node.parent) + '"';
    item("type") += QByteArray::number(node.kind);
    item("size") += QByteArray::number(node.size);
    item("createdAt");
    text(stamp(node.created));
    item("updatedAt");
    text(stamp(node.mtime));
    item("diskName");
    text(node.disk);
    item("fileType") += QByteArray::number(node.tree);
    if (!node.hash.isEmpty()) {
        item("hash");
        text(node.hash);
    }
    if (node.tree == 2) {
        item("resultId") += QByteArray::number(node.result);
        item("orderNum");
        text(node.disk.section(QLatin1Char('_'), 0, 0));
    }
    *out += '}';
}

QJsonObject Drive::entryOf(const DriveNode &node) const
{
    QJsonObject one{{"id", QString::number(node.id)},
                    {"name", node.name},
                    {"parent", QString::number(node.parent)},
                    {"type", node.kind},
                    {"size", node.size},
                    {"createdAt", stamp(node.created)},
                    {"updatedAt", stamp(node.mtime)},
                    {"diskName", node.disk},
                    {"fileType", node.tree}};
    if (!node.hash.isEmpty())
        one.insert(QStringLiteral("hash"), node.hash);
    if (node.tree == 2) {
        one.insert(QStringLiteral("resultId"), node.result);
        one.insert(QStringLiteral("orderNum"), node.disk.section(QLatin1Char('_'), 0, 0));
    }
    return one;
}

HttpAnswer Drive::answer(const HttpRequest &request)
{
    QString path = request.path.mid(int(qstrlen("/skydrive")));
    while (path.contains(QLatin1String("//")))
        path.replace(QLatin1String("//"), QLatin1String("/"));
    const QStringList pieces = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (const QString departure = DriveForms::departure(request, path); !departure.isEmpty())
        m_core.violation(QStringLiteral("%1 %2: %3").arg(QString::fromLatin1(request.method), request.path, departure));
    if (const qint64 status = m_core.faults.number(QStringLiteral("drive-status")); status > 0)
        return jsonAnswer({{"code", status}, {"result", 0}}, int(status));
    if (path.startsWith(QLatin1String("/task")) || path == QLatin1String("/masterInfo"))
        return m_analysis->answer(request, pieces);
    const QString first = pieces.value(0);
    const int tree = first == QLatin1String("files") ? 1 : first == QLatin1String("resultFiles") ? 2 : 0;
    if (tree == 0)
        return notFound();
    if (request.method == "GET")
        return get(request, tree, pieces);
    if (tree == 1 && request.method == "POST" && pieces.size() == 1)
        return create(request);
    if (tree == 1 && request.method == "PUT" && pieces.value(1) == QLatin1String("rename-files"))
        return rename(request);
    if (tree == 1 &&
        (request.method == "DELETE" || (request.method == "PUT" && pieces.value(1) == QLatin1String("move-files"))))
        return change(request);
    return notFound();
}

HttpAnswer Drive::get(const HttpRequest &request, int named, const QStringList &pieces)
{
    const int asked = request.item("fileType").toInt();
    const int tree = asked == 1 || asked == 2 ? asked : named; // the bytes of both lie below /files
    if (asked != named && pieces.last() != QLatin1String("data"))
        m_core.violation(QStringLiteral("%1 with fileType %2").arg(request.path).arg(asked));
    if (tree == 2 && request.farm == 1)
        m_tree.takeResults();
    if (pieces.value(1) == QLatin1String("alike-files"))
        return search(request, tree);
    static const QStringList words{"family", "sub-files", "data", "thumbnail"};
    const QString word = words.contains(pieces.last()) ? pieces.last() : QString();
    bool good = false;
    const QString name = pieces.value(pieces.size() - (word.isEmpty() ? 1 : 2)).section(QLatin1Char(','), -1);
    const qint64 id = name.toLongLong(&good);
    if (!good || pieces.size() < 2)
        return notFound();
    if (word == words.at(1))
        return listing(request, tree, id);
    if (id == DriveRoot && word.isEmpty()) {
        QJsonObject whole = room(request.farm);
        whole.insert(QStringLiteral("id"), QString::number(DriveRoot));
        whole.insert(QStringLiteral("name"), QStringLiteral("root"));
        whole.insert(QStringLiteral("type"), int(DriveNode::Folder));
        whole.insert(QStringLiteral("fileType"), tree);
        return told(DriveTree::Good, whole);
    }
    const DriveNode node = m_tree.node(request.farm, tree, id);
    if (!node.good())
        return word == words.at(2) || word == words.at(3) ? notFound() : told(DriveTree::NoEntry);
    if (word == words.at(2))
        return data(request, node);
    if (word == words.at(3))
        return thumbnail(request, node);
    if (word == words.at(0)) {
        QJsonArray list;
        for (const DriveNode &one : m_tree.chain(node))
            list.append(entryOf(one));
        if (m_core.faults.happens(QStringLiteral("drive-family-above")))
            list.removeFirst();
        return told(DriveTree::Good, QJsonObject{{"list", list}});
    }
    QJsonObject entry = entryOf(node);
    if (node.kind == DriveNode::Folder) {
        const DriveTree::Sum sum = m_tree.sumBelow(node);
        entry.insert(QStringLiteral("containFile"), sum.files);
        entry.insert(QStringLiteral("containFolder"), sum.folders);
        entry.insert(QStringLiteral("size"), sum.bytes);
    }
    return told(DriveTree::Good, entry);
}

HttpAnswer Drive::listing(const HttpRequest &request, int tree, qint64 parent)
{
    const DriveNode above = m_tree.node(request.farm, tree, parent);
    if (parent != DriveRoot && (!above.good() || above.kind != DriveNode::Folder))
        return told(DriveTree::NoEntry);
    const qint64 size =
        request.item("pageSize").isEmpty() ? -1 : qBound(1LL, request.item("pageSize").toLongLong(), mostListed);
    const qint64 page = qMax(1LL, request.item("page").toLongLong());
    HttpAnswer whole = told(DriveTree::Good, QJsonObject{{"total", m_tree.childCount(request.farm, tree, parent)},
                                                         {tree == 1 ? "files" : "resultFiles", QJsonArray()}});
    QByteArray list;
    const qint64 more = m_core.faults.number(QStringLiteral("drive-listed-size"), 0);
    const auto add = [&list, more, this](DriveNode one) {
        one.size += more;
        const QString name = list.isEmpty() ? m_core.faults.take(QStringLiteral("drive-name")) : QString();
        one.name = name.isNull() ? one.name : name;
        list += list.isEmpty() ? "" : ",";
        write(one, &list);
    };
    m_tree.children(request.farm, tree, parent, size < 0 ? 0 : (page - 1) * size, size, add);
    const qint64 ring = parent == DriveRoot ? 0 : m_core.faults.number(QStringLiteral("drive-ring"), 0);
    if (ring > 0)
        add(ring == 1 ? above : m_tree.chain(above).last());
    whole.body.insert(whole.body.indexOf("[]") + 1, list);
    if (m_core.faults.happens(QStringLiteral("drive-half-listing")))
        whole.body.truncate(whole.body.size() / 2);
    if (m_core.faults.happens(QStringLiteral("drive-no-json")))
        whole.body = "<html>gateway</html>";
    return whole;
}

HttpAnswer Drive::search(const HttpRequest &request, int tree)
{
    QList<qint64> folders = idsOf(request.item("ids"));
    if (folders.contains(DriveRoot))
        folders.clear();
    QJsonArray list;
    if (!request.item("searchName").isEmpty()) {
        for (const DriveNode &one : m_tree.search(request.farm, tree, request.item("searchName"), folders, mostFound))
            list.append(entryOf(one));
    }
    return told(DriveTree::Good, QJsonObject{{"list", list}, {"total", list.size()}});
}

HttpAnswer Drive::data(const HttpRequest &request, const DriveNode &node)
{
    if (node.kind != DriveNode::File)
        return notFound();
    if (const qint64 seconds = m_core.faults.number(QStringLiteral("drive-busy")); seconds >= 0) {
        HttpAnswer later = jsonAnswer({{"code", 503}, {"result", 0}}, 503);
        later.extra = "Retry-After: " + QByteArray::number(seconds) + "\r\n";
        return later;
    }
    if (const qint64 status = m_core.faults.number(QStringLiteral("drive-stale-data")); status > 0)
        return jsonAnswer({{"code", status == 401 ? 401 : 203}, {"result", 0}}, int(status));
    QString hash;
    const QString path = m_tree.fileOf(node, &hash);
    QFile file(path);
    const bool madeUp = DriveTree::isMadeUp(node.content);
    if (!madeUp && !file.open(QIODevice::ReadOnly))
        return notFound();
    const qint64 size = madeUp ? node.size : file.size();
    static const QRegularExpression form(QStringLiteral("^bytes=(\\d+)-(\\d*)$"));
    const QRegularExpressionMatch match = form.match(QString::fromLatin1(request.headers.value("range")));
    const bool part = match.hasMatch() && !m_core.faults.happens(QStringLiteral("drive-no-range"));
    const qint64 from = part ? match.captured(1).toLongLong() : 0;
    const qint64 to = part && !match.captured(2).isEmpty() ? qMin(size - 1, match.captured(2).toLongLong()) : size - 1;
    const QByteArray all = QByteArray::number(size);
    if (part && (from >= size || to < from))
        return {
            416, "text/plain", {}, "X-Content-Range: bytes */" + all + "\r\nContent-Range: bytes */" + all + "\r\n"};
    if (to - from + 1 > mostAtOnce)
        return jsonAnswer({{"code", 413}, {"result", 0}, {"msg", QStringLiteral("range")}}, 413);
    const bool plain = part && m_core.faults.happens(QStringLiteral("drive-piece-200"));
    HttpAnswer whole{part && !plain ? 206 : 200, "application/octet-stream", {}, {}};
    if (madeUp)
        whole.body = DriveTree::madeUp(node.content, from, to - from + 1);
    else if (file.seek(from))
        whole.body = file.read(to - from + 1);
    if (whole.body.size() != to - from + 1)
        return jsonAnswer({{"code", 500}, {"result", 0}}, 500);
    if (part && !plain) {
        const qint64 shift = m_core.faults.happens(QStringLiteral("drive-wrong-range")) ? 7 : 0;
        const qint64 less = qMax(0LL, m_core.faults.number(QStringLiteral("drive-wrong-total")));
        hash = less > 0 ? QString() : hash;
        const QByteArray range = "bytes " + QByteArray::number(from + shift) + '-' + QByteArray::number(to + shift) +
                                 '/' + QByteArray::number(size - less);
        whole.extra = "X-Content-Range: " + range + "\r\nContent-Range: " + range + "\r\n";
    }
    if (!hash.isEmpty() && !m_core.faults.happens(QStringLiteral("drive-no-etag")))
        whole.extra += "ETag: \"" + hash.toLatin1() + "\"\r\n";
    if (m_core.faults.happens(QStringLiteral("drive-packed")))
        whole.extra += "Content-Encoding: gzip\r\n";
    if (m_core.faults.happens(QStringLiteral("drive-corrupt")) && !whole.body.isEmpty())
        whole.body[0] = char(~whole.body.at(0));
    if (const qint64 less = m_core.faults.number(QStringLiteral("drive-short-body")); less > 0)
        whole.body.chop(int(qMin<qint64>(less, whole.body.size())));
    m_core.counters.bytesDown += whole.body.size();
    return whole;
}

HttpAnswer Drive::thumbnail(const HttpRequest &request, const DriveNode &node)
{
    QString hash;
    QImageReader reader(node.kind == DriveNode::File ? m_tree.fileOf(node, &hash) : QString());
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    const int most = request.item("size").isEmpty() ? 128 : qBound(16, request.item("size").toInt(), 512);
    if (full.isEmpty() || qint64(full.width()) * full.height() > 100 * 1000 * 1000)
        return notFound();
    reader.setScaledSize(full.scaled(qMin(most, full.width()), qMin(most, full.height()), Qt::KeepAspectRatio));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!reader.read().save(&buffer, "PNG"))
        return notFound();
    return {200, "image/png", buffer.data(), hash.isEmpty() ? QByteArray() : "ETag: \"" + hash.toLatin1() + "\"\r\n"};
}

HttpAnswer Drive::create(const HttpRequest &request)
{
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    if (body.value("name").type() != QJsonValue::String || !body.contains("parent") || !body.contains("fileType"))
        m_core.violation(QStringLiteral("POST /files: name, parent or fileType missing"));
    const DriveNode above = m_tree.node(request.farm, 1, body.value("parent").toVariant().toLongLong());
    if (above.good() && body.value("diskName").toString() != above.disk)
        m_core.violation(QStringLiteral("POST /files: diskName isn't that of the parent"));
    if (!m_tree.fits(request.farm, 0))
        return told(DriveTree::Full);
    DriveNode made;
    const DriveTree::Outcome outcome =
        m_tree.create(request.farm, body.value("fileType").toVariant().toInt() == 2 ? 2 : 1,
                      body.value("parent").toVariant().toLongLong(), body.value("name").toString(),
                      body.value("diskName").toString(), &made);
    return told(outcome, outcome == DriveTree::Good ? entryOf(made) : QJsonValue());
}

HttpAnswer Drive::rename(const HttpRequest &request)
{
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    const int tree = body.value("fileType").toVariant().toInt() == 2 ? 2 : 1;
    const qint64 id = body.value("id").toVariant().toLongLong();
    const DriveTree::Outcome outcome = m_tree.rename(request.farm, tree, id, body.value("name").toString());
    return told(outcome, outcome == DriveTree::Good ? entryOf(m_tree.node(request.farm, tree, id)) : QJsonValue());
}

HttpAnswer Drive::change(const HttpRequest &request)
{
    const int tree = request.item("fileType").toInt() == 2 ? 2 : 1;
    const QList<qint64> ids = idsOf(request.item("ids"));
    if (ids.isEmpty() || ids.contains(DriveRoot) || ids.contains(0)) {
        m_core.violation(QStringLiteral("%1 without ids").arg(request.path));
        return told(DriveTree::NoEntry);
    }
    if (request.method == "DELETE")
        return told(m_tree.remove(request.farm, tree, ids));
    return told(m_tree.move(request.farm, tree, ids, request.item("targetParent").toLongLong()));
}

QString Drive::sceneFile(const QJsonObject &order, QString *hash)
{
    QString path = order.value("scene").toString();
    if (path.isEmpty())
        path = order.value("sceneName").toString();
    const DriveNode node = m_tree.byPath(qMax(1, order.value("farmId").toInt()), 1, path);
    return node.good() && node.kind == DriveNode::File ? m_tree.fileOf(node, hash) : QString();
}

int Drive::refuses(int farm, const QString &key, qint64 size)
{
    if (key.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return DriveTree::BadName;
    const QString path = cleanKey(key);
    for (const QString &piece : path.split(QLatin1Char('/')))
        if (!DriveTree::goodName(piece))
            return DriveTree::BadName;
    const DriveNode disk = m_tree.child(farm, 1, DriveRoot, path.section(QLatin1Char('/'), 0, 0));
    if (!disk.good() || !path.contains(QLatin1Char('/')))
        return DriveTree::NoEntry;
    const DriveNode there = m_tree.byPath(farm, 1, path);
    if (there.good() && there.kind == DriveNode::Folder)
        return DriveTree::NameTaken;
    return m_tree.fits(farm, size - there.size) ? 0 : DriveTree::Full;
}

bool Drive::holds(int farm, const QString &key, qint64 size, qint64 mtime, const QString &etag)
{
    const DriveNode there = m_tree.byPath(farm, 1, key);
    return there.good() && there.kind == DriveNode::File && there.size == size && there.mtime == mtime &&
           (etag.isEmpty() || there.hash.isEmpty() || etag == there.hash);
}

bool Drive::put(int farm, const QString &path, const QByteArray &bytes)
{
    const QString key = DriveTree::storeKey(farm, path), disk = cleanKey(path).section(QLatin1Char('/'), 0, 0);
    QFile part(m_core.folder(QStringLiteral("incoming")) + QStringLiteral("/put-%1.part").arg(++m_puts));
    if (!part.open(QIODevice::WriteOnly) || part.write(bytes) != bytes.size())
        return false;
    part.close();
    const qint64 mtime = QFileInfo(part).lastModified().toMSecsSinceEpoch();
    m_core.store->take(key, part.fileName());
    m_tree.create(farm, 1, DriveRoot, disk, QString(), nullptr);
    return m_tree.put(farm, path, bytes.size(), mtime, key) == DriveTree::Good;
}

bool Drive::arrived(int farm, const QString &key, qint64 size, qint64 mtime)
{
    return m_tree.put(farm, key, size, mtime, DriveTree::storeKey(farm, key)) == DriveTree::Good;
}

HttpAnswer Drive::source(const HttpRequest &request)
{
    const QString key = request.item("key");
    const qint64 size = request.item("size").toLongLong(), mtime = request.item("lastModified").toLongLong();
    const auto answered = [](int code, const char *text, const QJsonObject &data = {}) {
        return jsonAnswer({{"code", code}, {"result", 1}, {"msg", QString::fromUtf8(text)}, {"data", data}});
    };
    if (const int code = refuses(request.farm, key, size))
        return told(DriveTree::Outcome(code));
    const QString etag = request.item("ETag").toLower();
    if (holds(request.farm, key, size, mtime, etag) ||
        (m_core.store->adopt(DriveTree::storeKey(request.farm, key), size, mtime, etag) &&
         arrived(request.farm, key, size, mtime))) {
        ++m_core.counters.instantHits;
        return answered(101401, "存在");
    }
    ++m_core.counters.instantMisses;
    const int port = m_core.files->port();
    return answered(101402, "不存在",
                    {{"hostLan", m_core.told()}, {"portLan", port}, {"hostWan", m_core.told()}, {"portWan", port}});
}

HttpAnswer Drive::control(const HttpRequest &request)
{
    const int farm = qMax(1, request.item("farm").toInt()), tree = request.item("tree").toInt() == 2 ? 2 : 1;
    if (!request.item("fill").isEmpty()) {
        const bool good = m_tree.fill(farm, request.item("fill"), request.item("folders").toInt(),
                                      request.item("files").toInt(), request.item("size").toLongLong());
        return jsonAnswer({{"result", good ? 1 : 0}});
    }
    m_tree.takeResults();
    QJsonObject all;
    m_tree.each(farm, tree, [&all](const DriveNode &node, const QString &path) {
        all.insert(path, QJsonObject{{"type", node.kind}, {"size", node.size}, {"hash", node.hash}});
    });
    return jsonAnswer({{"result", 1}, {"entries", all}, {"used", m_tree.used(farm)}});
}

} // namespace farm
