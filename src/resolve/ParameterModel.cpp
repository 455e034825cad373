#include "resolve/ParameterModel.h"
#include "common/facts/SoftwareType.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "resolve/FrameSet.h"
#include "resolve/ParameterDefaults.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>

namespace
{
using namespace ParameterDefaults;

QString scenePath(const db_resolve &res) { return VFunc::followLinks(res.lpath); }

bool readObject(const QString &text, QJsonObject *object)
{
    if (text.trimmed().isEmpty())
        return true;
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &problem);
    *object = document.object();
    return problem.error == QJsonParseError::NoError && document.isObject();
}

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString text(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toVariant().toString();
}

bool anySelected(const QJsonArray &list)
{
    for (const QJsonValue &one : list) {
        if (one.toObject().value(QLatin1String("selected")).toInt() == 1)
            return true;
    }
    return false;
}

// The list of entries that hold frames, for software that renders several.
QJsonArray entries(int type, const QJsonObject &rdata)
{
    const QJsonValue model = rdata.value(QLatin1String("modelParameters"));
    const QJsonObject object = model.toObject();
    switch (type) {
    case Maya:
        return model.isArray() ? model.toArray() : object.value(QLatin1String("layers")).toArray();
    case Houdini:
        if (model.isArray())
            return model.toArray();
        return (rdata.contains(QLatin1String("Rops")) ? rdata : object).value(QLatin1String("Rops")).toArray();
    case Terragen:
        return object.value(QLatin1String("cameras")).toArray();
    case Clarisse: {
        QJsonArray layers;
        for (const QJsonValue &image : object.value(QLatin1String("images")).toArray()) {
            for (const QJsonValue &layer : image.toObject().value(QLatin1String("layers")).toArray())
                layers.append(layer);
        }
        return layers;
    }
    default:
        return {};
    }
}

// What every dialog leaves behind, beside the software's own.
void fillPriority(int type, QJsonObject *rdata, const QJsonObject &rset, const CommonConfig &config)
{
    for (const char *key : {"keyFrames", "strategy"}) {
        if (!rdata->contains(QLatin1String(key)) && rset.contains(QLatin1String(key)))
            rdata->insert(QLatin1String(key), rset.value(QLatin1String(key)));
    }
    if (config.frameFirst == 1 && text(*rdata, "keyFrames").isEmpty()) {
        const QString keys = ParameterModel::keyFrames(type, *rdata);
        if (!keys.isEmpty())
            rdata->insert(QStringLiteral("keyFrames"), keys);
    }
    if (!text(*rdata, "keyFrames").isEmpty() && !rdata->contains(QLatin1String("strategy")))
        rdata->insert(QStringLiteral("strategy"), config.priorityStrategy);
}

// The defaults, with what was asked for in their place wherever it differs from what the analysis had found.
QJsonValue chosen(const QJsonValue &filled, const QJsonValue &asked, const QJsonValue &found)
{
    if (asked == found || asked.isUndefined() || (!filled.isUndefined() && filled.type() != asked.type()))
        return filled;
    if (filled.isObject()) {
        QJsonObject result = filled.toObject();
        const QJsonObject given = asked.toObject(), before = found.toObject();
        for (auto it = given.begin(); it != given.end(); ++it)
            result.insert(it.key(), chosen(result.value(it.key()), it.value(), before.value(it.key())));
        return result;
    }
    QJsonArray result = filled.toArray();
    const QJsonArray given = asked.toArray(), before = found.toArray();
    if (!filled.isArray() || given.size() != result.size())
        return asked;
    for (int i = 0; i < result.size(); ++i)
        result[i] = chosen(result.at(i), given.at(i), before.at(i));
    return result;
}

// Every frame text of what is rendered, rewritten from the numbers that it means; the message for the first that can't
// be rendered. An empty one is the farm's own default.
QString tidyFrames(QJsonValue *value)
{
    QString fault;
    if (value->isArray()) {
        QJsonArray list = value->toArray();
        for (int i = 0; i < list.size() && fault.isEmpty(); ++i) {
            QJsonValue entry = list.at(i);
            fault = tidyFrames(&entry);
            list.replace(i, entry);
        }
        *value = list;
    } else if (value->isObject()) {
        QJsonObject object = value->toObject();
        if (object.value(QLatin1String("selected")).toInt(1) == 0)
            return {};
        for (const char *key : {"layers", "images", "cameras"}) {
            QJsonValue inner = object.value(QLatin1String(key));
            if (fault.isEmpty() && inner.isArray()) {
                fault = tidyFrames(&inner);
                object.insert(QLatin1String(key), inner);
            }
        }
        const QString frames = text(object, "frames");
        if (fault.isEmpty() && !frames.trimmed().isEmpty()) {
            fault = FrameSet::checkOrder(frames);
            object.insert(QStringLiteral("frames"), fault.isEmpty() ? FrameSet::rewrite(frames) : frames);
        }
        *value = object;
    }
    return fault;
}

// What keeps an order from being rendered or uploaded, so that it must not go out; empty when nothing does.
QString faultOf(int type, const QJsonObject &rdata, const QString &scene)
{
    const bool several = type == Maya || type == Houdini || type == Clarisse || type == Terragen;
    const QJsonValue model = rdata.value(QLatin1String("modelParameters"));
    if (rdata.value(QLatin1String("hasHand")).toInt() == 1 ||
        model.isUndefined()) // a dialog judged, or nothing is told
        return {};
    if (several && entries(type, rdata).isEmpty() &&
        model.toObject().value(QLatin1String("images")).toArray().isEmpty())
        return ParameterModel::tr("没有可渲染的内容，请检查场景后重新解析");
    const int mode = model.toObject().value(QLatin1String("vrMode")).toInt();
    const QString photons = text(model.toObject(), "vrIrradianceMapFile").section(QLatin1Char(','), 0, 0).trimmed();
    if (type == Max && (mode == 2 || mode == 7) && !photons.isEmpty() &&
        !QFileInfo(QFileInfo(scene).dir().absoluteFilePath(photons)).isFile())
        return ParameterModel::tr("光子路径不存在") + QLatin1String(" ") + photons;
    return {};
}
} // namespace

int ParameterModel::softwareType(const db_resolve &res, const QJsonObject &rdata, const QJsonObject &rset)
{
    return SoftwareType::ofRow(rset, res.lpath, rdata);
}

bool ParameterModel::fill(db_resolve *res, const CommonConfig &config, QString *message)
{
    QJsonObject rdata, rset;
    if (!readObject(res->rdata, &rdata) || !readObject(res->rset, &rset)) {
        *message = tr("%1:参数数据格式错误，请重新解析").arg(QFileInfo(res->lpath).fileName());
        qWarning().noquote() << "ParameterModel::fill" << res->rkey << *message;
        return false;
    }
    const int type = softwareType(*res, rdata, rset);
    const bool byHand = rdata.value(QLatin1String("hasHand")).toInt() == 1;
    // A row whose analysis left nothing goes as it is, since a click asked for that.
    const bool nothing = !rdata.contains(QLatin1String("modelParameters")) && !rdata.contains(QLatin1String("Rops"));
    QString rfile = res->rfile;
    if (type == Maya)
        mayaProject(&rset);
    if (!byHand) {
        switch (nothing ? 0 : type) {
        case Maya:
            maya(&rdata, config);
            break;
        case Max:
            max(&rdata, &rfile);
            break;
        case Houdini:
            houdini(&rdata);
            break;
        case Cinema4D:
            cinema4D(&rdata);
            break;
        case Clarisse:
            clarisse(&rdata);
            break;
        case Terragen:
            terragen(&rdata);
            break;
        default:
            break;
        }
        fillPriority(type, &rdata, rset, config); // of what the software's own has ticked
        fillNames(type, *res, &rdata);
    }
    res->rfile = rfile;
    res->rdata = compact(rdata);
    res->rset = compact(rset);
    return true;
}

void ParameterModel::fillNames(int type, const db_resolve &res, QJsonObject *rdata)
{
    if (!rdata->contains(QLatin1String("sceneName")))
        rdata->insert(QStringLiteral("sceneName"), QDir::fromNativeSeparators(res.lpath));
    if (!rdata->contains(QLatin1String("missionName")))
        rdata->insert(QStringLiteral("missionName"),
                      QFileInfo(text(*rdata, "sceneName").replace(QLatin1Char('\\'), QLatin1Char('/'))).fileName());
    if (!rdata->contains(QLatin1String("softwareType")))
        rdata->insert(QStringLiteral("softwareType"), type);
}

bool ParameterModel::prepare(db_resolve *res, const CommonConfig &config, QString *message)
{
    db_resolve filled = *res;
    if (!fill(&filled, config, message))
        return false;
    QJsonObject rdata, rset;
    readObject(filled.rdata, &rdata);
    readObject(filled.rset, &rset);
    QString fault = faultOf(softwareType(*res, rdata, rset), rdata, scenePath(*res));
    for (const char *key : {"modelParameters", "frames"}) {
        const QLatin1String name(key);
        QJsonValue value = rdata.value(name);
        const bool whole = value.isString(); // frames of the whole task
        if (whole)
            value = QJsonObject{{QStringLiteral("frames"), value}};
        fault = fault.isEmpty() ? tidyFrames(&value) : fault;
        if (!value.isUndefined())
            rdata.insert(name, whole ? value.toObject().value(QLatin1String("frames")) : value);
    }
    if (!fault.isEmpty()) {
        *message = QFileInfo(res->lpath).fileName() + QLatin1Char(':') + fault;
        qWarning().noquote() << "ParameterModel::prepare" << res->rkey << *message;
        return false;
    }
    filled.rdata = compact(rdata);
    *res = filled;
    return true;
}

QString ParameterModel::take(db_resolve *res, const QJsonObject &given, const CommonConfig &config)
{
    db_resolve filled = *res;
    QString message;
    QJsonObject before, asked = given;
    if (!readObject(res->rdata, &before))
        before = QJsonObject();
    // What says which scene this is isn't a parameter; an order without it would be lost.
    for (const char *key : {"sceneName", "missionName", "softwareType", "resStatus", "fromSlave", "parseSubmit"}) {
        if (!asked.contains(QLatin1String(key)) && before.contains(QLatin1String(key)))
            asked.insert(QLatin1String(key), before.value(QLatin1String(key)));
    }
    // Only an analysis's own values give way to what a dialog makes of them.
    const QJsonObject untouched = before.value(QLatin1String("hasHand")).toInt() == 1 ? QJsonObject() : before;
    asked.remove(QStringLiteral("hasHand"));
    filled.rdata = compact(asked);
    if (!fill(&filled, config, &message))
        return message;
    QJsonObject rdata = QJsonDocument::fromJson(filled.rdata.toUtf8()).object();
    rdata = chosen(rdata, asked, untouched).toObject();
    message = check(softwareType(filled, rdata, QJsonObject()), rdata, scenePath(filled));
    if (!message.isEmpty())
        return message;
    rdata.insert(QStringLiteral("hasHand"), 1);
    filled.rdata = compact(rdata);
    *res = filled;
    return {};
}

bool ParameterModel::emptyResult(const db_resolve &res)
{
    QJsonObject rdata;
    readObject(res.rdata, &rdata);
    rdata.remove(QStringLiteral("resStatus"));
    rdata.remove(QStringLiteral("parseSubmit"));
    return rdata.isEmpty();
}

QString ParameterModel::blockingText(const db_resolve &res)
{
    if (SoftwareType::ofPath(scenePath(res)) != Max)
        return {};
    QJsonObject rdata;
    readObject(res.rdata, &rdata);
    const QString name = QFileInfo(res.lpath).fileName();
    const auto holds = [&res](const char *source, const QString &shown) {
        return res.errstr.contains(QString::fromUtf8(source)) || res.errstr.contains(shown.trimmed());
    };
    QStringList lines;
    if (text(rdata.value(QLatin1String("modelParameters")).toObject(), "outputFile").isEmpty())
        lines.append(tr("%1:无输出路径，请先进行参数设置").arg(name));
    if (holds("没有设置默认相机", noCameraText()))
        lines.append(tr("%1:无默认相机，请先进行参数设置").arg(name));
    if (holds("未解析到本地光子", noPhotonText()))
        lines.append(tr("%1:无本地光子，请先进行参数设置").arg(name));
    return lines.join(QLatin1String("\r\n"));
}

QString ParameterModel::check(int type, const QJsonObject &rdata, const QString &scene)
{
    const QJsonObject model = rdata.value(QLatin1String("modelParameters")).toObject();
    const QDir folder = QFileInfo(scene).dir();
    const auto photonMessage = [&folder](const QString &file) {
        if (file.isEmpty())
            return tr("请设置光子路径");
        return QFileInfo(folder.absoluteFilePath(file)).isFile() ? QString() : tr("光子路径不存在");
    };
    QString message;
    const auto test = [&message](const QString &text) { message = message.isEmpty() ? text : message; };
    if (type == Maya && !filePrefixOk(text(rdata, "filePrefix")))
        test(filePrefixMessage());
    if (type == Max) {
        const int mode = model.value(QLatin1String("vrMode")).toInt();
        if (model.value(QLatin1String("cameras")).toArray().isEmpty())
            test(tr("请选择相机"));
        if (mode == 2 || mode == 7)
            test(photonMessage(text(model, "vrIrradianceMapFile").section(QLatin1Char(','), 0, 0)));
    }
    if (type == Houdini && !anySelected(entries(type, rdata)))
        test(tr("请选择渲染节点"));
    if (type == Clarisse && !anySelected(entries(type, rdata)))
        test(tr("请选择层"));
    if (type == Terragen) {
        const QJsonArray cameras = entries(type, rdata);
        if (!anySelected(cameras))
            test(tr("请选择节点"));
        for (const QJsonValue &value : cameras) {
            const QJsonObject camera = value.toObject();
            if (camera.value(QLatin1String("selected")).toInt() == 1 &&
                camera.value(QLatin1String("vrMode")).toInt() == 1)
                test(photonMessage(text(camera, "giFile")));
        }
    }
    const QStringList frames = frameTexts(type, rdata);
    for (const QString &one : frames)
        test(FrameSet::checkFrames(one));
    test(FrameSet::checkKeyFrames(text(rdata, "keyFrames"), frames));
    return message;
}

bool ParameterModel::filePrefixOk(const QString &prefix)
{
    static const QRegularExpression rule(QStringLiteral("\\A[A-Za-z0-9<>/_\\\\{}-]*\\z"));
    return rule.match(prefix).hasMatch();
}

QString ParameterModel::filePrefixMessage() { return tr("出图命名规则只能由数字、字母和< > _ - /  "); }

QStringList ParameterModel::frameTexts(int type, const QJsonObject &rdata)
{
    if (rdata.value(QLatin1String("noFrameCheck")).toInt() == 1) // one text for the whole task
        return {text(rdata, "canframe")};
    QStringList list;
    if (type == Max || type == Cinema4D) {
        const QString own = text(rdata.value(QLatin1String("modelParameters")).toObject(), "frames");
        list.append(own.isEmpty() ? text(rdata, "frames") : own);
    }
    for (const QJsonValue &value : entries(type, rdata)) {
        const QJsonObject entry = value.toObject();
        if (!entry.contains(QLatin1String("selected")) || entry.value(QLatin1String("selected")).toInt() == 1)
            list.append(text(entry, "frames"));
    }
    return list;
}

QString ParameterModel::keyFrames(int type, const QJsonObject &rdata)
{
    return FrameSet::keyFrames(FrameSet::expandAll(frameTexts(type, rdata)));
}

QStringList ParameterModel::photonFiles(const QString &file, bool alone)
{
    static const QRegularExpression digits(QStringLiteral("\\d+(?=\\D*$)"));
    const QFileInfo info(file);
    const QRegularExpressionMatch run = digits.match(info.fileName());
    if (alone || !run.hasMatch())
        return info.isFile() ? QStringList(file) : QStringList();
    const QString name = info.fileName();
    const QRegularExpression rule(QRegularExpression::anchoredPattern(
                                      QRegularExpression::escape(name.left(run.capturedStart())) +
                                      QStringLiteral("\\d+") + QRegularExpression::escape(name.mid(run.capturedEnd()))),
                                  QRegularExpression::CaseInsensitiveOption);
    QStringList files;
    for (const QString &one : info.dir().entryList(QDir::Files, QDir::Name)) {
        if (rule.match(one).hasMatch())
            files.append(info.dir().filePath(one));
    }
    return files;
}

QStringList ParameterModel::gicFiles(const QString &file)
{
    const QDir folder = QFileInfo(file).dir();
    QStringList files;
    for (const QString &one : folder.entryList({QStringLiteral("*.gic")}, QDir::Files, QDir::Name))
        files.append(folder.filePath(one));
    return files;
}

QJsonArray ParameterModel::filesOf(const QString &fragment)
{
    const QString whole = QLatin1Char('{') + fragment + QLatin1Char('}');
    return QJsonDocument::fromJson(whole.toUtf8()).object().value(QLatin1String("files")).toArray();
}

QString ParameterModel::fragmentOf(const QJsonArray &files)
{
    const QByteArray whole =
        QJsonDocument(QJsonObject{{QStringLiteral("files"), files}}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(whole.constData() + 1, whole.size() - 2);
}

QString ParameterModel::appendFiles(const QString &fragment, const QStringList &paths)
{
    if (paths.isEmpty())
        return fragment;
    QJsonArray files = filesOf(fragment);
    QSet<QString> seen;
    for (const QJsonValue &one : qAsConst(files))
        seen.insert(one.toString());
    const int before = files.size();
    for (const QString &path : paths) {
        if (!seen.contains(path)) {
            seen.insert(path);
            files.append(path);
        }
    }
    return files.size() == before && !fragment.isEmpty() ? fragment : fragmentOf(files);
}
