#include "io/local/ModelAnalysis.h"
#include "common/facts/Rset.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/ResolveDAO.h"
#include "resolve/OrderMessage.h"
#include <algorithm>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>

namespace
{
constexpr int MaxTold = 20; // files in a note

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QStringList texts(const QJsonArray &array)
{
    QStringList out;
    for (const QJsonValue &value : array)
        if (!value.toString().isEmpty())
            out.append(value.toString());
    return out;
}

// Folders stand for the scenes in them; what doesn't exist falls out, and what is named twice counts once.
QStringList expanded(const QStringList &paths)
{
    QStringList files;
    for (const QString &path : paths) {
        const QFileInfo info(QDir::fromNativeSeparators(path));
        if (!info.exists() && info.symLinkTarget().isEmpty())
            continue;
        if (!info.isDir()) {
            files.append(info.filePath());
            continue;
        }
        const QFileInfoList inside = QDir(info.filePath()).entryInfoList(QDir::Files, QDir::Name);
        for (const QFileInfo &one : inside)
            if (SoftwareType::ofPath(one.fileName()) > 0)
                files.append(one.filePath());
    }
    files.removeDuplicates();
    return files;
}

// The one type of all files; 0 with a text where there is none, or where it isn't the one asked for.
int commonType(const QStringList &files, int asked, QString *text)
{
    QSet<int> types;
    for (const QString &file : files)
        types.insert(SoftwareType::ofPath(VFunc::followLinks(file)));
    if (types.size() > 1) {
        *text = ModelAnalysis::tr("场景文件中包含多种类型，请筛选后再拖入！");
        return 0;
    }
    const int type = *types.constBegin();
    if (type > 0 && (asked <= 0 || asked == type))
        return type;
    QStringList endings;
    for (int one : SoftwareType::all())
        if (asked <= 0 || asked == one)
            endings += SoftwareType::endings(one);
    *text = ModelAnalysis::tr("请拖入类型为%1场景文件！").arg(endings.join("，"));
    return 0;
}

// An object, or a plain text as its "name".
QJsonObject named(const QJsonValue &value)
{
    return value.isString() && !value.toString().isEmpty() ? QJsonObject{{"name", value.toString()}} : value.toObject();
}

QString projectName(const QJsonObject &project)
{
    const QString name = project.value("name").toString();
    return name.isEmpty() ? project.value("projectName").toString() : name;
}

int projectId(const QJsonObject &project)
{
    return project.value(project.contains("id") ? "id" : "projectId").toVariant().toInt();
}

QJsonObject environment(const QJsonObject &parameter)
{
    QJsonObject env = named(parameter.value("env"));
    if (env.value("software").toString().isEmpty())
        env["software"] = parameter.value("software").toString();
    return env;
}

QJsonObject projectOf(const QJsonObject &parameter)
{
    const QJsonObject config = named(parameter.value("projectConfig"));
    return projectName(config).isEmpty() ? named(parameter.value("project")) : config;
}

// A seat whose reply got lost hands the same scene over again.
bool handedOverBefore(qlonglong seatKey, const QString &seat, const QString &scene)
{
    for (const db_resolve &row : ResolveDAO::instance()->readAll())
        if (row.lpath == scene && ModelAnalysis::seatKey(row) == seatKey && ModelAnalysis::seatName(row) == seat)
            return true;
    return false;
}

// Does the account that pays for the seat belong to this one?
bool ownsFee(const QJsonValue &fee)
{
    QSet<int> own{UserInfo::userId()};
    for (const QJsonValue &id : UserInfo::feeUserIds())
        own.insert(id.toVariant().toInt());
    const QJsonArray asked = fee.isArray() ? fee.toArray() : QJsonArray{fee};
    return std::any_of(asked.begin(), asked.end(),
                       [&own](const QJsonValue &id) { return own.contains(id.toVariant().toInt()); });
}
} // namespace

ModelAnalysis ModelAnalysis::read(const QJsonDocument &doc, qint64 nowMs, bool seat)
{
    if (doc.isArray())
        return fromList(expanded(texts(doc.array())));
    const QJsonObject object = doc.object(), parameter = object.value("parameter").toObject();
    if (parameter.value("fromSlave").toVariant().toInt() == 1)
        return seat ? fromSeat(object, parameter, nowMs)
                    : refused(tr("主机不认识此分机，请重新启动分机上的客户端，或在两边设置相同的令牌"));
    if (object.contains("mayaProject") && !object.contains("parameter")) {
        ModelAnalysis out = fromList(expanded(texts(object.value("scenes").toArray())));
        const QString folder = object.value("mayaProject").toString();
        if (!folder.isEmpty() && QFileInfo(folder).isDir())
            out.mayaProject = QDir::cleanPath(QDir::fromNativeSeparators(folder));
        return out;
    }
    return fromParameter(texts(object.value("scenes").toArray()), parameter, nowMs);
}

bool ModelAnalysis::outOfPlace(const QString &path)
{
    static const QRegularExpression hidden(QStringLiteral("(^|/)\\.[^/]*(/|$)"));
    static const QRegularExpression system(
        QStringLiteral("^(/(etc|proc|sys|dev|boot|usr|bin|sbin|lib\\w*|var|run(?!/media/))(/|$)"
                       "|(/+[.?]/)?[a-z]:/+(windows|users/[^/]+/appdata)(/|$))"),
        QRegularExpression::CaseInsensitiveOption);
    const auto of = [](QString one) {
        one.replace('\\', '/');
        return hidden.match(one).hasMatch() || system.match(one).hasMatch();
    };
    const QString target = QFileInfo(path).canonicalFilePath(); // links lead anywhere
    return of(QDir::cleanPath(path)) || (!target.isEmpty() && of(target));
}

ModelAnalysis ModelAnalysis::fromList(const QStringList &scenes)
{
    ModelAnalysis out;
    out.files = scenes;
    if (scenes.isEmpty())
        out.text = tr("没有模型文件");
    else
        out.softwareType = commonType(scenes, 0, &out.text);
    out.kind = out.text.isEmpty() ? AskUser : Refused;
    return out;
}

QString ModelAnalysis::chosen(const QJsonObject &parameter, int softwareType, const QString &scene, QString *text)
{
    const QJsonObject env = environment(parameter), project = projectOf(parameter),
                      machine = named(parameter.value("machine"));
    const int asked = SoftwareType::ofName(env.value("software").toString());
    if (env.value("software").toString().isEmpty())
        *text = tr("缺失软件类型");
    else if (asked > 0 && asked != softwareType)
        *text = tr("请拖入类型为%1场景文件！").arg(SoftwareType::endings(asked).join("，"));
    else if (projectName(project).isEmpty())
        *text = tr("缺失项目信息");
    else if (machine.isEmpty())
        *text = tr("缺失机型");
    else
        return Rset::of({softwareType, env, project, machine, named(parameter.value("projectConfig")),
                         parameter.value("mayaProject").toString(), scene, parameter})
            .text();
    return {};
}

ModelAnalysis ModelAnalysis::fromParameter(const QStringList &scenes, const QJsonObject &parameter, qint64 nowMs)
{
    const QString software = environment(parameter).value("software").toString();
    if (software.isEmpty())
        return refused(tr("缺失软件类型"));
    const QStringList files = expanded(scenes);
    if (files.isEmpty())
        return refused(tr("没有模型文件"));
    QString text;
    const int type = commonType(files, SoftwareType::ofName(software), &text);
    if (type == 0)
        return refused(text);
    const QJsonObject project = projectOf(parameter);
    const QString mayaProject = parameter.value("mayaProject").toString();
    if (!projectName(project).isEmpty() && type == SoftwareType::Maya && !mayaProject.isEmpty() &&
        !QFileInfo::exists(mayaProject))
        return refused(tr("项目路径不存在"));
    ModelAnalysis out;
    out.kind = Rows;
    for (const QString &file : files) {
        db_resolve row;
        row.rkey = row.pri = nowMs / 1000 + out.rows.size();
        row.project = projectName(project);
        row.projectId = projectId(project);
        row.lpath = file;
        row.rtime = nowMs;
        row.state = SceneState::Waiting;
        row.rset = chosen(parameter, type, file, &text);
        if (!text.isEmpty())
            return refused(text);
        out.rows.append(row);
    }
    return out;
}

// A seat has analysed the scene by itself; the row stands at the end of an analysis and keeps the seat's key, by which
// the seat asks after it.
ModelAnalysis ModelAnalysis::fromSeat(const QJsonObject &body, const QJsonObject &parameter, qint64 nowMs)
{
    const auto given = [&](const char *key) { return body.contains(key) ? body.value(key) : parameter.value(key); };
    const QJsonValue fee = given("feeUserId");
    if (!ownsFee(fee)) {
        ModelAnalysis out = refused(tr("上级账号不匹配，请重新设置"));
        QJsonArray own = UserInfo::feeUserIds();
        own.prepend(UserInfo::userId());
        out.data = {{"req", fee}, {"rep", own}};
        return out;
    }
    const QString scene =
        given("scene").isString() ? given("scene").toString() : texts(body.value("scenes").toArray()).value(0);
    if (SoftwareType::ofPath(VFunc::followLinks(scene)) <= 0 || outOfPlace(scene))
        return refused(tr("缺失场景文件"));
    const qlonglong seatKey = given("clientFlag").toVariant().toLongLong();
    QJsonObject rset = parameter.value("rset").toObject();
    const QString seat = given("seat").toString();
    rset["clientFlag"] = seatKey;
    rset["seat"] = seat;
    rset["feeUserId"] = fee;
    rset["needMasterCheck"] = given("needMasterCheck");
    QJsonObject content = parameter.value("content").toObject();
    const QJsonArray told = content.take("files").toArray();
    QStringList left;
    QJsonArray files;
    for (const QJsonValue &file : told) {
        if (outOfPlace(file.toString()))
            left.append(file.toString());
        else
            files.append(file);
    }
    const int without = files.size();
    files = OrderMessage::withScene(files, scene);
    if (files.size() != without && Rset(rset).softwareType() == SoftwareType::Cinema4D)
        qDebug().noquote() << QStringLiteral("塞入c4d主文件") << scene;
    content["fromSlave"] = 1;
    content["hasHand"] = 1; // the seat has set the parameters, nothing here may set them again
    content["resStatus"] = parameter.value("status");
    const QJsonObject project = named(rset.contains("project") ? rset.value("project") : rset.value("projectConfig"));

    ModelAnalysis out;
    out.kind = Rows;
    db_resolve row;
    row.rkey = row.pri = seatKey > 0 ? seatKey : nowMs / 1000;
    row.ordernum = given("ordernum").toString();
    row.missionid = given("missionId").toVariant().toInt();
    row.project = projectName(project);
    row.projectId = projectId(project);
    row.lpath = scene;
    row.rtime = given("analysisTime").toVariant().toLongLong();
    row.state = SceneState::Clean;
    out.commit = !given("needMasterCheck").toVariant().toBool();
    row.errstr = parameter.value("details").toString();
    if (!left.isEmpty()) {
        // Somebody looks at it before it goes anywhere.
        qWarning().noquote() << "ModelAnalysis::fromSeat" << scene
                             << "names files of the system or hidden ones, left out:" << left.mid(0, MaxTold);
        row.errstr = tr("以下%1个文件位于系统目录或隐藏目录，未加入上传：").arg(left.size()) + "\r\n" +
                     left.mid(0, MaxTold).join("\r\n") + "\r\n" + row.errstr;
        row.state = SceneState::Warned;
        out.commit = false;
    }
    row.rset = compact(rset);
    row.rdata = compact(content);
    row.rfile = QStringLiteral("\"files\":") + QString::fromUtf8(QJsonDocument(files).toJson(QJsonDocument::Compact));
    if (!handedOverBefore(seatKey, seat, scene))
        out.rows.append(row);
    return out;
}

qlonglong ModelAnalysis::seatKey(const db_resolve &row)
{
    return row.rset.contains("clientFlag") ? Rset(row.rset).seatKey() : 0;
}

QString ModelAnalysis::seatName(const db_resolve &row) { return Rset(row.rset).seat(); }
