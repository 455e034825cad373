#include "transfer/down/MissionBuilder.h"
#include "common/ResultPath.h"
#include "transfer/TransSet.h"
#include <algorithm>
#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>

namespace
{
const QStringList flags{QStringLiteral("isBlock"), QStringLiteral("autoPush"), QStringLiteral("isKeyframe")};

// One path on disk, however it is spelled there.
QString sameFile(const QString &path)
{
#ifdef Q_OS_WIN
    return path.toLower();
#else
    return path;
#endif
}

// A row without an id can't be asked for: the list of the task has it.
bool haveIds(const QJsonArray &rows)
{
    return !rows.isEmpty() && std::all_of(rows.begin(), rows.end(), [](const QJsonValue &row) {
        return row.toObject().value("id").toVariant().toLongLong() > 0;
    });
}

ResultRow rowOf(const QJsonObject &obj, const QString &root)
{
    ResultRow row;
    row.id = obj.value("id").toVariant().toLongLong();
    row.keyframe = ResultPath::flag(obj, "isKeyframe");
    row.hasFrame = obj.contains("frame");
    row.frame = obj.value("frame").toVariant().toInt();
    row.farmId = obj.value("farmId").toVariant().toInt();
    row.hash = obj.value("hash").toString();
    row.size = qMax<qint64>(0, obj.value("size").toVariant().toLongLong());
    QString reason = QStringLiteral("no id");
    if (row.id > 0)
        row.target = ResultPath::rowPath(root, obj, &reason);
    row.refused = row.target.isEmpty();
    if (row.refused) {
        const QString path = obj.value("path").toString();
        qWarning().noquote() << "MissionBuilder::rowOf refused:" << row.id << path << reason;
        row.target = path;
    } else {
        row.exists = QFileInfo::exists(row.target);
    }
    return row;
}
} // namespace

QList<ResultRow> MissionBuilder::rows(const QJsonObject &obj, const QString &root)
{
    QList<ResultRow> list;
    QHash<QString, int> taken;
    for (const QJsonValue &value : obj.value("rows").toArray()) {
        QJsonObject one = value.toObject();
        for (const QString &flag : flags) {
            if (!one.contains(flag) && obj.contains(flag))
                one.insert(flag, obj.value(flag));
        }
        if (!one.contains("farmId"))
            one.insert("farmId", obj.value("farmId"));
        const ResultRow row = rowOf(one, root);
        if (row.id <= 0)
            continue;
        const QString key = sameFile(row.target);
        const auto before = taken.constFind(key);
        if (!row.refused && before != taken.constEnd()) {
            qDebug().noquote() << "MissionBuilder::rows" << list.at(*before).id << "gives way to" << row.id
                               << row.target;
            list[*before] = row;
            continue;
        }
        if (!row.refused)
            taken.insert(key, list.size());
        list.append(row);
    }
    return list;
}

QList<MissionPlan> MissionBuilder::plans(const QJsonObject &obj, const QList<ResultRow> &rows, bool onlyMissing)
{
    const QString num = obj.value("num").toVariant().toString();
    const int mid = obj.value("mid").toVariant().toInt();
    const QString name = nameOf(obj);
    QList<MissionPlan> plans{{false, name, {}},
                             {true, QCoreApplication::translate("MissionBuilder", "%1_优先帧").arg(name), {}}};
    for (const ResultRow &row : rows) {
        if (row.refused || (onlyMissing && row.exists))
            continue;
        db_downfile file;
        file.id = row.id;
        file.ordernum = num;
        file.missid = mid;
        file.farmid = row.farmId;
        file.lpath = row.target;
        file.hash = row.hash;
        file.size = row.size;
        plans[row.keyframe].files.append(file);
    }
    plans.erase(
        std::remove_if(plans.begin(), plans.end(), [](const MissionPlan &plan) { return plan.files.isEmpty(); }),
        plans.end());
    return plans;
}

QString MissionBuilder::missingFrames(QList<int> ordered, QList<int> present)
{
    if (present.isEmpty())
        return {};
    std::sort(ordered.begin(), ordered.end());
    ordered.erase(std::unique(ordered.begin(), ordered.end()), ordered.end());
    std::sort(present.begin(), present.end());
    QStringList gaps;
    qint64 from = 0, to = -1; // the run that is being gathered; empty at first
    const auto close = [&] {
        if (from <= to)
            gaps.append(from == to ? QString::number(from) : QStringLiteral("%1-%2").arg(from).arg(to));
    };
    for (const int frame : qAsConst(ordered)) {
        if (frame < present.first() || frame > present.last() ||
            std::binary_search(present.cbegin(), present.cend(), frame))
            continue;
        if (from > to || frame != to + 1) {
            close();
            from = frame;
        }
        to = frame;
    }
    close();
    return gaps.join(',');
}

MissionBuilder::Pushed MissionBuilder::prefix(const QString &prefixPath)
{
    QString text = prefixPath;
    if (text.endsWith('/'))
        text.chop(1);
    const int at = text.indexOf('_');
    bool number = false;
    const int mid = text.left(at).toInt(&number);
    return at > 0 && number && mid > 0 ? Pushed{mid, text.mid(at + 1)} : Pushed();
}

QString MissionBuilder::nameOf(const QJsonObject &obj)
{
    const QString name = obj.value("missionName").toString();
    return name.isEmpty() ? obj.value("name").toString() : name;
}

bool MissionBuilder::isComplete(const QJsonObject &obj)
{
    return haveIds(obj.value("rows").toArray()) && !obj.value("num").toVariant().toString().isEmpty() &&
           obj.contains("resultRootPathEnum");
}

QJsonObject MissionBuilder::merged(const QJsonObject &push, const QJsonObject &reply)
{
    QJsonObject out = reply;
    for (auto it = push.constBegin(); it != push.constEnd(); ++it) {
        const QJsonValue value = it.value();
        const bool nothing = value.isNull() || (value.isString() && value.toString().isEmpty()) ||
                             (it.key() == "rows" && !haveIds(value.toArray())) ||
                             (value.isArray() && value.toArray().isEmpty());
        if (!nothing || !out.contains(it.key()))
            out.insert(it.key(), value);
    }
    return out;
}
