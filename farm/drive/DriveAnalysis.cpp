#include "DriveAnalysis.h"
#include "Core.h"
#include "DriveTree.h"
#include "Rest.h"
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>

namespace farm
{

namespace
{
const QString Queue = QStringLiteral("Queue"), Preparing = QStringLiteral("Preparing"),
              Running = QStringLiteral("Running"), Stopped = QStringLiteral("Stopped"), Idle = QStringLiteral("Idle");

QString stamp(qint64 ms)
{
    return ms == 0 ? QString() : QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

constexpr int mostRunning = 2; // of a farm, as clients keep it

qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }

int softwareOf(const QString &scene)
{
    static const QHash<QString, int> endings{{"ma", 1},    {"mb", 1},  {"max", 3},     {"hip", 4},
                                             {"hipnc", 4}, {"c4d", 5}, {"project", 7}, {"tgd", 8}};
    return endings.value(scene.section(QLatin1Char('.'), -1).toLower());
}

// What such a scene would hold: this service looks at names, not into files.
QJsonObject parametersOf(int software)
{
    const QJsonObject size{{"width", 320}, {"height", 180}};
    const auto camera = [&size](const char *name) {
        QJsonObject one = size;
        one.insert("name", QLatin1String(name));
        one.insert("frames", QStringLiteral("1-5"));
        one.insert("selected", 1);
        return one;
    };
    switch (software) {
    case 1: {
        const auto layer = [](const char *name, const char *frames) {
            return QJsonObject{{"name", QLatin1String(name)},
                               {"layer", QLatin1String(name)},
                               {"frames", QLatin1String(frames)},
                               {"renderer", QStringLiteral("arnold")},
                               {"format", QStringLiteral("png")},
                               {"enable", 1},
                               {"selected", 1},
                               {"reslution", QJsonObject{{"width", 320}, {"height", 180}}},
                               {"width", 320},
                               {"height", 180},
                               {"cameras", QJsonArray{QStringLiteral("persp"), QStringLiteral("cam1")}},
                               {"enableCameras", QJsonArray{QStringLiteral("persp")}}};
        };
        return {{"layers", QJsonArray{layer("defaultRenderLayer", "1-5"), layer("shadow", "1-3")}}};
    }
    case 3:
        return {{"cameras", QJsonArray{QStringLiteral("Camera001"), QStringLiteral("Camera002")}},
                {"enableCameras", QJsonArray{QStringLiteral("Camera001")}},
                {"activeCamera", QStringLiteral("Camera001")},
                {"outputFile", QStringLiteral("frame.png")},
                {"frames", QStringLiteral("1-5")},
                {"width", 320},
                {"height", 180}};
    case 4:
        return {{"Rops", QJsonArray{QJsonObject{{"name", QStringLiteral("/out/mantra1")},
                                                {"frames", QStringLiteral("1-5")},
                                                {"selected", 1},
                                                {"width", 320},
                                                {"height", 180}}}}};
    case 5:
        return {{"cameras", QJsonArray{QStringLiteral("Camera")}},
                {"activeCamera", QStringLiteral("Camera")},
                {"enableCameras", QJsonArray{QStringLiteral("Camera")}},
                {"outputName", QStringLiteral("frame")},
                {"outputSuffix", QStringLiteral("png")},
                {"outputFile", QStringLiteral("frame.png")},
                {"frames", QStringLiteral("1-5")},
                {"width", 320},
                {"height", 180}};
    case 7: {
        const QJsonObject layer{{"name", QStringLiteral("layer")},
                                {"output", QStringLiteral("frame")},
                                {"format", QStringLiteral("png")},
                                {"frames", QStringLiteral("1-5")},
                                {"selected", 1}};
        QJsonObject image = layer;
        image.insert("name", QStringLiteral("image"));
        image.insert("layers", QJsonArray{layer});
        return {{"images", QJsonArray{image}}};
    }
    default:
        return {{"cameras", QJsonArray{camera("Camera01")}}};
    }
}

HttpAnswer told(QJsonObject body)
{
    body.insert(QStringLiteral("code"), 0);
    body.insert(QStringLiteral("result"), 1);
    return jsonAnswer(body);
}
} // namespace

DriveAnalysis::DriveAnalysis(Core &core, DriveTree &tree) : m_core(core), m_tree(tree)
{
    m_core.db.run(
        QStringLiteral("create table if not exists drivetask(farm integer, key integer, word text, body text, primary "
                       "key(farm, key)) without rowid"));
    m_core.db.each(QStringLiteral("select farm, key, word, body from drivetask"), {}, [this](const QSqlQuery &row) {
        const QJsonObject body = QJsonDocument::fromJson(row.value(3).toByteArray()).object();
        Record &record = m_records[qMakePair(row.value(0).toInt(), row.value(1).toLongLong())];
        record.word = row.value(2).toString();
        record.start = body.value("start").toVariant().toLongLong();
        record.end = body.value("end").toVariant().toLongLong();
        record.root = body.value("root").toString();
        record.scene = body.value("scene").toString();
        record.error = body.value("error").toString();
        record.details = body.value("details").toInt();
        record.content = body.value("content").toObject();
    });
    connect(&m_step, &QTimer::timeout, this, &DriveAnalysis::step);
    m_step.start(qMax(1, m_core.options.analysisStepMs));
}

bool DriveAnalysis::save(const Key &key, const Record &record)
{
    const QJsonObject body{{"start", record.start},    {"end", record.end},     {"root", record.root},
                           {"scene", record.scene},    {"error", record.error}, {"details", record.details},
                           {"content", record.content}};
    return m_core.db.run(
        QStringLiteral("replace into drivetask(farm, key, word, body) values(?, ?, ?, ?)"),
        {key.first, key.second, record.word, QString::fromUtf8(QJsonDocument(body).toJson(QJsonDocument::Compact))});
}

// One step of every record: so the states pass one after the other, each long enough to be seen.
void DriveAnalysis::step()
{
    if (!m_core.faults.peek(QStringLiteral("hold-analysis")).isNull())
        return;
    for (auto it = m_records.begin(); it != m_records.end(); ++it) {
        if (it->word == Queue)
            it->word = Preparing;
        else if (it->word == Preparing)
            it->word = Running;
        else if (it->word == Running)
            conclude(it.key(), &it.value());
        else
            continue;
        save(it.key(), it.value());
    }
}

void DriveAnalysis::conclude(const Key &key, Record *record)
{
    record->end = now();
    record->word = Idle;
    const QString broken = m_core.faults.take(QStringLiteral("analysis-broken"));
    if (!broken.isNull()) {
        record->word = QStringLiteral("Error");
        record->error = broken;
        return;
    }
    const DriveNode scene = m_tree.byPath(key.first, 1, record->scene);
    const int software = softwareOf(record->scene);
    record->details = int(m_core.faults.number(QStringLiteral("analysis-details"), 0));
    if (!scene.good() || scene.kind != DriveNode::File || software == 0) {
        record->details = 2;
        record->error = software == 0 ? QStringLiteral("软件类型不支持") : QStringLiteral("模型文件不存在");
    } else if (record->details == 2) {
        record->error = QStringLiteral("场景文件无法打开");
    }
    record->content = {{"softwareType", software},
                       {"sceneName", scene.name},
                       {"missionName", scene.name.section(QLatin1Char('.'), 0, -2)},
                       {"resStatus", record->details},
                       {"modelParameters", parametersOf(software)}};
    if (record->details == 1)
        record->content.insert(QStringLiteral("warnings"), QStringLiteral("贴图缺失"));
    m_core.event(QStringLiteral("analysis %1 %2").arg(record->details).arg(record->scene));
}

HttpAnswer DriveAnalysis::start(const HttpRequest &request)
{
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    const Key key(request.farm, body.value("key").toVariant().toLongLong());
    if (key.second <= 0 || body.value("scene").toString().isEmpty() || !body.contains("root_path")) {
        m_core.violation(QStringLiteral("POST /task: key, root_path or scene missing"));
        return jsonAnswer({{"code", 1060003}, {"result", 0}, {"msg", QStringLiteral("参数缺失")}});
    }
    ++m_counts.started;
    if (!m_core.faults.peek(QStringLiteral("analysis-forgets")).isNull())
        m_records.remove(key);
    if (const QString word = m_records.value(key).word; word == Queue || word == Preparing || word == Running) {
        m_core.violation(QStringLiteral("POST /task: key %1 is under way").arg(key.second));
        return told({});
    }
    const auto runs = [&key](const Key &other, const Record &record) {
        return other.first == key.first && record.word != Idle && record.word != Stopped && record.error.isEmpty();
    };
    int running = 0;
    for (auto it = m_records.cbegin(); it != m_records.cend(); ++it)
        running += runs(it.key(), it.value()) ? 1 : 0;
    if (running >= mostRunning)
        m_core.violation(QStringLiteral("POST /task: %1 are under way").arg(running));
    Record record;
    record.word = Queue;
    record.start = now();
    record.root = body.value("root_path").toString();
    record.scene = body.value("scene").toString();
    if (!save(key, record))
        return jsonAnswer({{"code", 1060006}, {"result", 0}, {"msg", QStringLiteral("内部错误")}});
    m_records.insert(key, record);
    return told({});
}

HttpAnswer DriveAnalysis::answer(const HttpRequest &request, const QStringList &pieces)
{
    if (const QString refused = m_core.faults.take(QStringLiteral("analysis-refuse")); !refused.isNull())
        return jsonAnswer({{"code", 1060006}, {"result", 0}, {"msg", refused}});
    if (pieces.first() == QLatin1String("masterInfo"))
        return told({{"data", QJsonArray{QJsonObject{{"host", m_core.options.address},
                                                     {"port", m_core.faults.number(QStringLiteral("analysis-place"),
                                                                                   m_core.rest->port())}}}}});
    if (m_core.faults.happens(QStringLiteral("analysis-no-json")))
        return {200, "text/html", "<html>gateway</html>", {}};
    if (request.method == "POST" && pieces.size() == 1)
        return start(request);
    const Key key(request.farm, pieces.value(1).toLongLong());
    const auto record = m_records.find(key);
    if (record == m_records.end() || m_core.faults.happens(QStringLiteral("analysis-forgets")))
        return jsonAnswer({{"code", 1060001}, {"result", 0}, {"msg", QStringLiteral("任务不存在")}});
    const QString word = pieces.value(2);
    if (request.method == "GET" && word.isEmpty()) {
        ++m_counts.asked;
        const QString strange = m_core.faults.take(QStringLiteral("analysis-word"));
        return told({{"status", strange.isNull() ? record->word : strange},
                     {"start", stamp(record->start)},
                     {"end", stamp(record->end)}});
    }
    if (request.method == "GET" && word == QLatin1String("error"))
        return told({{"error", record->error}});
    if (request.method == "GET" && word == QLatin1String("result")) {
        if (record->word != Idle)
            m_core.violation(QStringLiteral("result of task %1 asked while %2").arg(key.second).arg(record->word));
        if (record->details == 2)
            return told({{"details", 2}, {"content", record->error}});
        return told({{"details", record->details}, {"content", record->content}});
    }
    const bool resume = word == QLatin1String("resume");
    if (request.method != "PUT" || (!resume && word != QLatin1String("stop")))
        return jsonAnswer({{"code", 404}, {"result", 0}}, 404);
    ++(resume ? m_counts.resumed : m_counts.stopped);
    if (resume && (record->word == Stopped || record->word == Idle || !record->error.isEmpty())) {
        record->word = record->word == Idle && record->error.isEmpty() ? Idle : Queue;
        record->error.clear();
    } else if (!resume && record->word != Idle) {
        record->word = Stopped;
    }
    return save(key, *record) ? told({}) : jsonAnswer({{"code", 1060006}, {"result", 0}});
}

} // namespace farm
