#include "io/local/ApiTable.h"
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

namespace
{
// Which tasks: one of the four is enough.
const QList<ApiArg> job{{"mid", ApiArg::Number, "a task's number", "7"},
                        {"mids", ApiArg::List, "several of them, ranges allowed", nullptr},
                        {"i", ApiArg::Text, "a task's order number", nullptr},
                        {"is", ApiArg::List, "several of them", nullptr}};
const QList<ApiArg> subJob{{"subjobId", ApiArg::Number, "a sub-task's number", "700001"},
                           {"subjobIds", ApiArg::List, "several of them, ranges allowed", nullptr}};
const QList<ApiArg> orders{{"num", ApiArg::Text, "an order number", "20240203000001"},
                           {"nums", ApiArg::List, "several of them", nullptr}};
const QList<ApiArg> order{{"num", ApiArg::Text, "the order number", "20240203000001"}};
const QList<ApiArg> transfers =
    orders + QList<ApiArg>{{"id", ApiArg::Number, "a download, by its id in /transfer", "1706904306000"},
                           {"ids", ApiArg::List, "several of them", nullptr}};

const QList<ApiArg> drive{{"farm", ApiArg::Number, "the farm, 1 where it isn't told", "1"},
                          {"path", ApiArg::Text, "from the disk on; empty: the disks", "D/film"},
                          {"tree", ApiArg::Number, "1 project files, 2 results", nullptr}};

const QList<ApiArg> cloud{{"rkey", ApiArg::Number, "a scene, by its key", "1706904306"},
                          {"rkeys", ApiArg::List, "several of them", nullptr}};
const char *const cloudScenes =
    R"([{"rkey": 1706904306, "scene": "D/film/shot.ma", "root": "D/film", "farm": 1, "softwareType": 1, "state": 101, )"
    R"("status": "解析中", "error": 0, "text": "", "begun": "2024-02-03 04:05:06", "ended": "", "num": "", "mid": 0}])";

const char *const analysis = R"({"scenes": ["/scenes/shot.ma"], "parameter": {"env": {"software": "maya2022", )"
                             R"("softwareType": 1}, "project": {"id": 3, "name": "film"}, "mayaProject": "/scenes", )"
                             R"("machine": {"id": 1, "name": "CPU 64G"}}})";
const char *const analysed = R"({"status": 1, "details": [{"rkey": 1706904306, "scene": "/scenes/shot.ma", )"
                             R"("state": 100}]})";
const char *const scenes = R"([{"rkey": 1706904306, "num": "20240203000001", "mid": 7, "name": "shot.ma", )"
                           R"("scene": "/scenes/shot.ma", "project": "3_film", "analysisTime": "2024-02-03 04:05:06", )"
                           R"("speed": "2/5", "state": 111, "status": "上传中"}])";
const char *const preflight =
    R"({"scenes": 1, "files": 120, "bytes": 5000000000, "missing": 2, "missingFolders": [{"folder": "D:/old/tex", )"
    R"("files": 2, "examples": ["rock.tif", "sand.tif"]}], "found": 0, "copies": 3, "copyBytes": 1000, "asked": 118, )"
    R"("here": 100, "hereBytes": 4000000000, "toSend": 1000000000, "bytesPerSecond": 10000000, "seconds": 100, )"
    R"("resultFolder": "/ResultQN", "freeBytes": 100000000000, "complete": true})";
const char *const done = R"([{"mid": 7, "code": 1040100}])";
const char *const moving =
    R"({"uploads": [{"num": "20240203000001", "mid": 7, "rkey": 1706904306, "scene": )"
    R"("/scenes/shot.ma", "state": 111, "status": "上传中", "done": 2, "total": 5, "bytes": 400, )"
    R"("sent": 120}], "downloads": [{"id": 1706904306000, "num": "20240203000001", "mid": 7, )"
    R"("name": "shot.ma", "folder": "/ResultQN/7_shot", "state": 1, "status": "下载中", "done": 1, )"
    R"("total": 3}]})";
} // namespace

const QList<ApiRoute> &ApiTable::routes()
{
    using A = ApiArg;
    static const QList<ApiRoute> table{
        {"/openapi.json", "openApi", "this description", {}, nullptr, nullptr, true},
        {"/account", "account", "the account's data", {}, nullptr, R"({"userId": 42})"},
        {"/project", "projectList", "the projects", {}, nullptr, R"({"projects": [{"id": 3, "name": "film"}]})"},
        {"/env",
         "envList",
         "the environments of a project for a software: 1 Maya, 3 3ds Max, 4 Houdini, 5 Cinema 4D, 6 SketchUp, "
         "7 Clarisse, 8 Terragen",
         {{"projectId", A::Number, "the project", "3"}, {"softwareType", A::Number, "the software", "1"}},
         nullptr,
         R"({"combos": [{"software": "maya2022", "softwareType": 1}]})"},
        {"/machine",
         "machineList",
         "the machines of a project",
         {{"projectId", A::Number, "the project", "3"}, {"farmId", A::Number, "a farm, 0 for all", "0"}},
         nullptr,
         R"({"machines": [{"id": 1, "name": "CPU 64G"}]})"},
        {"/model/list",
         "modelList",
         "the scenes in this client: from the hand-over to the last uploaded file",
         {{"rkey", A::Number, "one scene, by its key", nullptr}, {"rkeys", A::List, "several of them", nullptr}},
         nullptr,
         scenes},
        {"/model/analysis",
         "modelAnalysis",
         "hands scenes over; the reply's keys are what to ask /model/list for",
         {},
         analysis,
         analysed},
        {"/model/parameter", "modelPara", "the parameters of a scene", order, nullptr,
         R"({"sceneName": "shot", "modelParameters": {"frames": "1-3"}})"},
        {"/model/parameterSet", "modelParaSet", "replaces the parameters of an analysed scene", order,
         R"({"softwareType": 8, "modelParameters": {"cameras": [{"name": "View", "frames": "1-3", "selected": 1}]}})",
         nullptr},
        {"/model/preflight", "modelPreflight",
         "what scenes would send if they were committed now, and what of it the farm has already; books nothing",
         orders + QList<A>{{"seconds", A::Number, "how long to wait for disk and farm, up to 600", "10"},
                           {"from", A::Text, "a folder that files are missing below", nullptr},
                           {"to", A::Text, "the folder to look for them in; kept where some are found", nullptr}},
         nullptr, preflight},
        {"/model/commit", "modelCommit", "commits analysed scenes: they are ordered and uploaded", orders, nullptr,
         R"(["20240203000001"])"},
        {"/model/checkSlave",
         "modelCheckSlave",
         "how far a scene that another seat handed over has come; state -1: it has left",
         {{"rkey", A::Number, "its key at that seat", "1706904306"}, {"seat", A::Text, "the seat's name", nullptr}},
         nullptr,
         R"({"rkey": 1706904306, "state": 111, "fok": 2, "fsum": 5})",
         true},
        {"/model/srcParameter", "modelResolveData", "what the analysis found", order, nullptr,
         R"({"status": 0, "softwareType": 1, "content": {}})"},
        {"/job",
         "jobList",
         "the tasks, 20 a page",
         {{"status", A::List, "1000 all, 1100 queued, 1110 rendering, 1130 paused, 1140 rendered; 2000 history",
           "1000"},
          {"name", A::Text, "a part of the name", nullptr},
          {"page", A::Number, "from 0", "0"},
          {"projectId", A::List, "projects", nullptr},
          {"userId", A::List, "users", nullptr}},
         nullptr,
         R"({"pageSize": 1, "pageList": [{"id": 7, "name": "shot.ma", "totalFrame": 3, "successFrame": 1}]})"},
        {"/job/detail", "jobDetail", "a task's detail; of several tasks an array", job, nullptr,
         R"({"missionId": 7, "modelParameters": {"frames": "1-3"}})"},
        {"/job/dir", "jobOpenDir", "opens the tasks' result folders on this machine's screen", job, nullptr,
         R"(["/ResultQN/7_shot"])"},
        {"/job/download", "jobDownload", "downloads the tasks' results; /transfer tells how far it is", job, nullptr,
         nullptr},
        {"/job/pause", "jobPause", "pauses tasks",
         job + QList<A>{{"later", A::Number, "1: frames that render now are finished first", "1"}}, nullptr, done},
        {"/job/continue", "jobKeepRender", "lets paused tasks go on, and those that wait for a confirmation", job,
         nullptr, done},
        {"/job/cancel", "jobCancel", "cancels tasks", job, nullptr, done},
        {"/job/rerender", "jobRerender", "renders the failed frames once more", job, nullptr, nullptr},
        {"/job/fill", "jobFill", "renders further frames of tasks",
         job + QList<A>{{"frames", A::Text, "which, as in 5,8-20:2", "4-6"}}, nullptr, done},
        {"/job/limit", "jobLimit", "the most machines that a task may take",
         job + QList<A>{{"nodes", A::Number, "from 1", "5"}}, nullptr, done},
        {"/job/remark", "jobRemark", "a remark on tasks, up to 140 characters",
         job + QList<A>{{"remark", A::Text, "the text", "second try"}}, nullptr, done},
        {"/job/history", "jobHistory", "moves ended tasks into the history, for good", job, nullptr, nullptr},
        {"/job/handover", "jobHandover", "hands tasks over to another user of the account",
         job + QList<A>{{"userId", A::Number, "the user", "43"}}, nullptr, nullptr},
        {"/subjob", "subjobList", "a task's frames, page by page",
         job + QList<A>{{"status", A::Number, "as /subjob/status tells, -1 for all", "-1"},
                        {"page", A::Number, "from 0", "0"}},
         nullptr, R"({"totalFrame": 3, "successFrame": 1, "results": [{"id": 700001, "frame_from": 1, "status": 3}]})"},
        {"/subjob/cancel", "subjobCancel", "cancels frames",
         job + subJob + QList<A>{{"jobId", A::Number, "the frame's job", "7"}, {"farmId", A::Number, "its farm", "1"}},
         nullptr, R"([{"subjobId": 700001, "code": 1040300}])"},
        {"/subjob/rerender", "subjobRerender", "renders frames once more", job + subJob, nullptr, nullptr},
        {"/subjob/status", "subjobStatus", "the frames' states", {}, nullptr, R"(["-1:全部", "0:渲染中"])"},
        {"/subjob/download", "subjobDownload", "downloads frames; /transfer tells how far they are",
         job + subJob + QList<A>{{"cover", A::Number, "1: only those that aren't here; else all", nullptr}}, nullptr,
         nullptr},
        {"/subjob/preview", "subjobPreview", "the picture of a frame, as an image; a JSON text where there is none",
         job + subJob + QList<A>{{"index", A::Number, "which one, where there are several", nullptr}}, nullptr,
         nullptr},
        {"/subjob/log", "subjobLog",
         "where a frame's log lies; with follow= the log itself as plain text: 0 as it stands, 1 as it grows",
         job + subJob +
             QList<A>{{"farmId", A::Number, "its farm", "1"},
                      {"follow", A::Number, "1: until the frame has ended", nullptr}},
         nullptr, R"({"addr": "farm.example", "port": 6000, "path": "/log/7.txt"})"},
        {"/transfer", "transferList", "what is being uploaded and downloaded", {}, nullptr, moving},
        {"/transfer/pause", "transferPause", "pauses uploads (by order) and downloads (by id)", transfers, nullptr,
         nullptr},
        {"/transfer/continue", "transferContinue", "lets them go on; what failed is tried again", transfers, nullptr,
         nullptr},
        {"/drive/ls", "driveList", "what lies in a folder of a farm's drive", drive, nullptr,
         R"([{"id": "12", "name": "scenes", "folder": true, "bytes": 0, "changed": "2024-02-03 04:05:06"}])"},
        {"/drive/put", "drivePut",
         "sends files and folders of this machine into a folder of the drive, which is made where it's missing",
         drive + QList<A>{{"from", A::Text, "a file or folder; several as the body, an array", "/scenes/film"},
                          {"links", A::Number, "1: links that lead out of it are followed", nullptr}},
         nullptr, R"({"id": 17069043060001})"},
        {"/drive/get", "driveGet", "fetches a file or a whole folder of the drive into a folder of this machine",
         drive + QList<A>{{"to", A::Text, "the folder", "/fetched"},
                          {"existing", A::Text, "of files that exist: ask, same, overwrite or both", "same"}},
         nullptr, R"({"id": 17069043060002})"},
        {"/drive/status",
         "driveStatus",
         "transfers to and from drives: sums, states, what went wrong",
         {{"id", A::Number, "one of them", nullptr}, {"act", A::Text, "pause, continue or delete it", nullptr}},
         nullptr,
         R"([{"id": 17069043060001, "kind": "put", "name": "film", "state": 11, "files": 9000, "filesDone": 120, )"
         R"("bytes": 5000000, "bytesDone": 70000, "walked": false, "failed": 0, "note": ""}])"},
        {"/drive/check", "driveCheck",
         "compares a file or folder of the drive with one of this machine; answers when it's over or after seconds=, "
         "and is asked again by its id",
         drive + QList<A>{{"with", A::Text, "the file or folder here", "/fetched/film"},
                          {"mend", A::Text, "put or get: sends or fetches what differs, once all is compared", nullptr},
                          {"seconds", A::Number, "how long the answer may wait, 10 unless told, up to 25", nullptr},
                          {"id", A::Number, "one that was begun before", nullptr},
                          {"from", A::Number, "the first difference to list, of the first 10000; 1000 a page", nullptr},
                          {"stop", A::Number, "1: it ends now", nullptr}},
         nullptr,
         R"({"id": 1706904306000, "over": true, "whole": true, "files": 9000, "folders": 30, "different": 1, )"
         R"("sizeOnly": 0, "toSend": 1, "toFetch": 1, "list": [{"file": "/fetched/film/a.tif", "path": "D/film/a.tif", )"
         R"("what": "hash"}], "mend": "", "batches": []})"},
        {"/drive/resolve",
         "driveResolve",
         "has the farm analyse scenes that lie on its drive; the reply's keys are what to ask /drive/resolve/list for",
         {{"farm", A::Number, "the farm, 1 where it isn't told", "1"},
          {"path", A::Text, "the scene; several as the body, an array", "D/film/shot.ma"},
          {"root", A::Text, "of its project on the drive; else the scene's folder", "D/film"}},
         nullptr,
         cloudScenes},
        {"/drive/resolve/list", "driveResolveList",
         "the scenes of drives in this client, until they are removed: their analysis, then their order", cloud,
         nullptr, cloudScenes},
        {"/drive/resolve/parameter",
         "driveResolveParameter",
         "the parameters that the farm found; a body replaces them",
         {{"rkey", A::Number, "the scene", "1706904306"}},
         R"({"softwareType": 1, "modelParameters": {"layers": [{"layer": "beauty", "frames": "1-3", "selected": 1}]}})",
         nullptr},
        {"/drive/resolve/submit", "driveResolveSubmit",
         "orders analysed scenes; nothing is uploaded, they are rendered from where they lie", cloud,
         R"({"parameter": {"env": {"software": "maya2022", "softwareType": 1}, "project": {"id": 3, "name": "film"}, )"
         R"("machine": {"id": 1, "name": "CPU 64G"}}})",
         "[1706904306]"},
        {"/drive/resolve/again", "driveResolveAgain", "analyses scenes anew", cloud, nullptr, nullptr},
        {"/drive/resolve/stop", "driveResolveStop",
         "stops the analysis at the farm, where it runs, and removes the scenes from the list; their files stay", cloud,
         nullptr, nullptr},
        {"/masterInfo",
         "masterInfo",
         "for other seats: the ports that this master forwards; with host and port: forwards one more",
         {{"host", A::Text, "a farm's server", nullptr},
          {"port", A::Number, "its port", nullptr},
          {"farmId", A::Number, "the farm that it belongs to", nullptr}},
         nullptr,
         "[]",
         true},
    };
    return table;
}

// Named here, so that a route that is forgotten asks for the token.
bool ApiTable::open(const QString &path)
{
    static const QStringList reading{"/openapi.json",
                                     "/account",
                                     "/project",
                                     "/env",
                                     "/machine",
                                     "/model/list",
                                     "/model/parameter",
                                     "/model/checkSlave",
                                     "/model/srcParameter",
                                     "/job",
                                     "/job/detail",
                                     "/subjob",
                                     "/subjob/status",
                                     "/subjob/log",
                                     "/subjob/preview",
                                     "/drive/ls",
                                     "/drive/resolve/list",
                                     "/transfer",
                                     "/masterInfo"};
    return reading.contains(path) || path == QLatin1String("/model/analysis");
}

const ApiRoute *ApiTable::find(const QString &path)
{
    for (const ApiRoute &route : routes())
        if (path == QLatin1String(route.path))
            return &route;
    return nullptr;
}

QString ApiRoute::exampleTarget() const
{
    QString query;
    for (const ApiArg &arg : args)
        if (arg.example)
            query += (query.isEmpty() ? "?" : "&") + QString::fromLatin1(arg.name) + '=' +
                     QString::fromUtf8(QUrl::toPercentEncoding(QString::fromUtf8(arg.example)));
    return QString::fromLatin1(path) + query;
}

namespace
{
QJsonValue json(const char *text)
{
    const QJsonDocument doc = QJsonDocument::fromJson(text);
    return doc.isArray() ? QJsonValue(doc.array()) : QJsonValue(doc.object());
}

QJsonObject content(const QJsonObject &schema, const QJsonValue &example)
{
    return {{"application/json", QJsonObject{{"schema", schema}, {"example", example}}}};
}

QJsonArray parameters(const ApiRoute &route)
{
    QJsonArray all;
    for (const ApiArg &arg : route.args) {
        QJsonObject one{
            {"name", arg.name},
            {"in", "query"},
            {"description", arg.about},
            {"schema", QJsonObject{{"type", arg.kind == ApiArg::Number ? "integer" : "string"}}},
        };
        if (arg.example)
            one["example"] = arg.kind == ApiArg::Number ? QJsonValue(QByteArray(arg.example).toLongLong())
                                                        : QJsonValue(QString::fromUtf8(arg.example));
        all.append(one);
    }
    return all;
}

QJsonObject operation(const ApiRoute &route, const QString &verb)
{
    const bool own = qstrcmp(route.path, "/openapi.json") == 0; // answers without the frame of the others
    QJsonObject example{{"code", 0}, {"msg", ""}, {"result", 1}};
    if (route.reply)
        example["data"] = json(route.reply);
    const QJsonObject schema =
        own ? QJsonObject{{"type", "object"}} : QJsonObject{{"$ref", "#/components/schemas/Reply"}};
    QJsonObject out{
        {"operationId", verb + '_' + QString::fromLatin1(route.method)},
        {"summary", route.about},
        {"parameters", parameters(route)},
        {"responses",
         QJsonObject{
             {"200", QJsonObject{{"description", "good and bad answers alike; see result"},
                                 {"content", content(schema, own ? QJsonObject{{"openapi", "3.0.3"}} : example)}}}}},
    };
    if (route.body)
        out["requestBody"] = QJsonObject{{"content", content({{"type", "object"}}, json(route.body))}};
    return out;
}
} // namespace

QJsonObject ApiTable::openApi(const QString &server, const QString &version)
{
    QJsonObject paths;
    for (const ApiRoute &route : routes()) {
        QJsonObject item{{"post", operation(route, QStringLiteral("post"))}};
        if (route.get)
            item["get"] = operation(route, QStringLiteral("get"));
        paths[route.path] = item;
    }
    const QJsonObject reply{
        {"type", "object"},
        {"required", QJsonArray{"code", "msg", "result"}},
        {"properties",
         QJsonObject{
             {"code", QJsonObject{{"type", "integer"},
                                  {"description", "the server's result code, or 0 and 1 of the client's own"}}},
             {"msg", QJsonObject{{"type", "string"}, {"description", "a text for people"}}},
             {"result",
              QJsonObject{{"type", "integer"}, {"enum", QJsonArray{0, 1}}, {"description", "1 good, 0 failed"}}},
             {"data", QJsonObject{{"description", "what was asked for, or absent"}}},
         }},
    };
    return {
        {"openapi", "3.0.3"},
        {"info",
         QJsonObject{{"title", "VandrelQN local API"},
                     {"version", version},
                     {"description", "Drives the client from other programs of this machine. \"/readable\" before "
                                     "a path indents the reply. Callers on other machines send "
                                     "Server/apiToken as a bearer token; without one set they may only read."}}},
        {"servers", QJsonArray{QJsonObject{{"url", server}}}},
        {"paths", paths},
        {"components",
         QJsonObject{{"schemas", QJsonObject{{"Reply", reply}}},
                     {"securitySchemes", QJsonObject{{"token", QJsonObject{{"type", "http"}, {"scheme", "bearer"}}}}}}},
        {"security", QJsonArray{QJsonObject{}, QJsonObject{{"token", QJsonArray()}}}},
    };
}

QByteArray ApiTable::readme()
{
    QByteArray out = "| Route | Arguments | What it does |\n|---|---|---|\n";
    for (const ApiRoute &route : routes()) {
        QByteArrayList words;
        for (const ApiArg &arg : route.args)
            words << '`' + QByteArray(arg.name) + '`';
        if (route.body)
            words << "a body";
        out += "| `" + QByteArray(route.path) + "` | " + words.join(", ") + " | " + route.about + " |\n";
    }
    return out;
}
