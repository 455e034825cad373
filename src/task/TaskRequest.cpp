#include "task/TaskRequest.h"
#include "common/facts/Command.h"
#include "common/facts/SoftwareType.h"
#include "common/Session.h"
#include "task/Cell.h"
#include <QCoreApplication>
#include <QJsonArray>

namespace
{
QByteArray compact(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

TaskRequest one(int cmd, const QString &id, QJsonObject body)
{
    body.insert(QStringLiteral("missionId"), Cell::idValue(id));
    return {cmd, compact(body), {id}};
}

const QString Frames = QStringLiteral("frames"), Selected = QStringLiteral("selected"),
              Model = QStringLiteral("modelParameters");

// Where a program's model keeps its outputs: the list's key (empty: the model itself is the list), the names' keys.
struct Place {
    const char *list;
    QStringList names;
};

Place placeOf(int software)
{
    switch (software) {
    case SoftwareType::Maya:
        return {"", {QStringLiteral("layer")}};
    case SoftwareType::Houdini:
        return {"", {QStringLiteral("Rop"), QStringLiteral("rop"), QStringLiteral("name")}};
    case SoftwareType::Clarisse:
        return {"images", {QStringLiteral("name")}};
    case SoftwareType::Terragen:
        return {"cameras", {QStringLiteral("name")}};
    default:
        return {nullptr, {}};
    }
}

QString nameOf(const QJsonObject &output, const Place &place)
{
    for (const QString &key : place.names)
        if (const QString name = Cell::text(output.value(key)); !name.isEmpty())
            return name;
    return {};
}

QJsonArray listOf(const QJsonValue &model, const Place &place)
{
    if (!place.list)
        return {};
    return *place.list ? model.toObject().value(QLatin1String(place.list)).toArray() : model.toArray();
}

// Of a list that is the model itself only what takes part is sent; within an object the others are no longer selected.
QJsonArray refilled(const QJsonArray &list, const Place &place, const QString &frames, const QStringList &chosen)
{
    QJsonArray out;
    for (const QJsonValue &value : list) {
        QJsonObject output = value.toObject();
        const bool on = chosen.isEmpty() || chosen.contains(nameOf(output, place));
        if (!on && !*place.list)
            continue;
        if (on)
            output.insert(Frames, frames);
        else
            output.insert(Selected, 0);
        QJsonArray layers = output.value(QLatin1String("layers")).toArray();
        for (int i = 0; i < layers.size(); ++i) {
            QJsonObject layer = layers.at(i).toObject();
            if (on)
                layer.insert(Frames, frames);
            else
                layer.insert(Selected, 0);
            layers[i] = layer;
        }
        if (!layers.isEmpty())
            output.insert(QStringLiteral("layers"), layers);
        out.append(output);
    }
    return out;
}
} // namespace

QList<TaskRequest> TaskRequest::each(int cmd, const QStringList &ids, const QJsonObject &more)
{
    QList<TaskRequest> out;
    for (const QString &id : ids)
        out << one(cmd, id, more);
    return out;
}

TaskRequest TaskRequest::list(int cmd, const QStringList &ids)
{
    QJsonArray all;
    for (const QString &id : ids)
        all.append(Cell::idValue(id));
    return {cmd, QJsonDocument(all).toJson(QJsonDocument::Compact), ids};
}

TaskRequest TaskRequest::handOver(const QStringList &ids, const QString &userId)
{
    return {Command::TakeOver,
            compact({{QStringLiteral("missionIds"), ids.join(QLatin1Char(','))},
                     {QStringLiteral("handoverUserId"), Cell::idValue(userId)}}),
            ids};
}

QList<TaskRequest> TaskRequest::pause(const QStringList &ids, bool later)
{
    return each(Command::PauseRender, ids, {{QStringLiteral("pauseRender"), later ? 0 : 1}});
}

QList<TaskRequest> TaskRequest::limit(const QStringList &ids, int nodes)
{
    return each(Command::NodeLimit, ids, {{QStringLiteral("nodeLimit"), nodes}});
}

QList<TaskRequest> TaskRequest::remark(const QStringList &ids, const QString &text)
{
    return each(Command::Remark, ids, {{QStringLiteral("remark"), text.left(RemarkLength)}});
}

TaskRequest TaskRequest::fill(const QString &id, const QJsonObject &detail, const QString &frames,
                              const QStringList &outputs)
{
    const int software = Cell::integer(detail, "softwareType");
    return one(
        Command::FillFrames, id,
        {{QStringLiteral("softwareType"), software}, {Model, TaskFill::model(software, detail, frames, outputs)}});
}

TaskRequest TaskRequest::environment(const QString &id, const QJsonObject &detail, const QJsonObject &more)
{
    QJsonObject body;
    for (const char *key : {"machineModel", "clientId", "software", "plugins"}) {
        const QString name = QLatin1String(key);
        body.insert(name, more.contains(name) ? more.value(name) : detail.value(name));
    }
    return one(Command::ChangeEnvironment, id, body);
}

TaskRequest TaskRequest::move(int farmId, const QStringList &jobs, const QString &anchor, bool behind)
{
    return {Command::SetPriority,
            compact({{QStringLiteral("farmId"), farmId},
                     {QStringLiteral("job_id_to"), Cell::idValue(anchor)},
                     {QStringLiteral("job_ids_from"), QJsonArray::fromStringList(jobs)},
                     {QStringLiteral("insert_after_position"), behind}}),
            jobs};
}

QStringList TaskFill::outputs(int software, const QJsonObject &detail)
{
    const Place place = placeOf(software);
    QStringList names;
    for (const QJsonValue &value : listOf(detail.value(Model), place))
        if (const QString name = nameOf(value.toObject(), place); !name.isEmpty() && !names.contains(name))
            names << name;
    return names;
}

QJsonValue TaskFill::model(int software, const QJsonObject &detail, const QString &frames, const QStringList &outputs)
{
    const Place place = placeOf(software);
    const QJsonValue given = detail.value(Model);
    if (given.isArray())
        return refilled(given.toArray(), place.list && !*place.list ? place : Place{"", {}}, frames,
                        place.list && !*place.list ? outputs : QStringList());
    QJsonObject model = given.toObject();
    model.insert(Frames, frames);
    if (place.list && *place.list && model.contains(QLatin1String(place.list)))
        model.insert(QLatin1String(place.list), refilled(listOf(given, place), place, frames, outputs));
    return model;
}

QString TaskText::result(int code)
{
    const QString number = QString::number(code);
    for (const QString &text : {Session::actionText(code), Session::errorText(code)})
        if (!text.isEmpty() && text != number)
            return text;
    return QCoreApplication::translate("TaskText", "服务器拒绝了请求 (%1)").arg(code);
}
