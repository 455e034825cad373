#include "resolve/ParameterSheet.h"
#include "common/facts/SoftwareType.h"
#include "resolve/FrameSet.h"
#include "resolve/ParameterDefaults.h"
#include "resolve/ParameterModel.h"
#include <algorithm>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

using namespace SoftwareType;

namespace
{
const QString Model = QStringLiteral("modelParameters");
const QString Frames = QStringLiteral("frames"), Step = QStringLiteral("step");

// Numbers came as text and texts as numbers from older clients.
int number(const QJsonValue &value, int absent = 0)
{
    bool good = value.isDouble();
    const double found = good ? value.toDouble() : value.toVariant().toString().trimmed().toDouble(&good);
    if (value.isBool())
        return value.toBool();
    return good && found > -2e9 && found < 2e9 ? int(found) : absent;
}

QString text(const QJsonValue &value) { return value.toVariant().toString().trimmed(); }

QStringList names(const QJsonValue &value)
{
    QStringList list;
    QSet<QString> seen; // hundreds of cameras in hundreds of layers
    const QJsonArray all = value.isArray() ? value.toArray() : QJsonArray{value};
    for (const QJsonValue &one : all)
        if (const QString name = text(one); !name.isEmpty() && !seen.contains(name)) {
            seen << name;
            list << name;
        }
    return list;
}

QStringList united(QStringList list, const QStringList &more)
{
    QSet<QString> seen(list.begin(), list.end());
    for (const QString &one : more)
        if (!seen.contains(one)) {
            seen.insert(one);
            list << one;
        }
    return list;
}

QJsonObject parsed(const QString &words) { return QJsonDocument::fromJson(words.toUtf8()).object(); }

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void tidyNumbers(QJsonObject *values, std::initializer_list<const char *> keys)
{
    for (const char *key : keys) {
        const QLatin1String name(key);
        if (const int found = number(values->value(name)); found > 0)
            values->insert(name, found);
        else
            values->remove(name);
    }
}

QJsonObject withStep(QJsonObject values)
{
    QString frames, step;
    FrameSet::split(text(values.value(Frames)), &frames, &step);
    values.insert(Frames, frames);
    values.insert(Step, step);
    return values;
}

QString framesOf(const ParameterSheet::Output &one)
{
    return FrameSet::join(text(one.values.value(Frames)), text(one.values.value(Step)));
}

// Of Clarisse only layers are rendered; their image goes along.
bool rendered(const ParameterSheet &sheet, const ParameterSheet::Output &one)
{
    return one.on && (sheet.type != Clarisse || one.image >= 0);
}

void join(QJsonObject *values, const char *name, const char *suffix)
{
    const QString end = text(values->take(QLatin1String(suffix))), begin = text(values->take(QLatin1String(name)));
    values->insert(QStringLiteral("outputFile"), end.isEmpty() ? begin : begin + QLatin1Char('.') + end);
}

int typeIn(const db_resolve &res, const QJsonObject &rdata, const QJsonObject &rset)
{
    const int type = ParameterModel::softwareType(res, rdata, rset);
    return SoftwareType::all().contains(type) && type != SketchUp ? type : 0;
}
} // namespace

int ParameterSheet::typeOf(const db_resolve &res) { return typeIn(res, parsed(res.rdata), parsed(res.rset)); }

ParameterSheet ParameterSheet::read(const db_resolve &res, const CommonConfig &config)
{
    ParameterSheet sheet;
    const QJsonObject rdata = parsed(res.rdata), rset = parsed(res.rset);
    sheet.type = typeIn(res, rdata, rset);
    if (sheet.type == Max || sheet.type == Cinema4D)
        sheet.readSingle(rdata);
    else
        sheet.readOutputs(rdata);
    sheet.readTask(rdata, rset, config);
    return sheet;
}

void ParameterSheet::add(const QString &name, const QJsonObject &raw, int image)
{
    Output one;
    one.name = name.isEmpty() ? QString::number(outputs.size() + 1) : name;
    one.image = image;
    one.values = withStep(raw);
    one.on = number(raw.value(QLatin1String("selected")), 1) != 0;
    tidyNumbers(&one.values, {"width", "height", "giWidth", "giHeight", "giStep"});
    outputs.append(one);
}

void ParameterSheet::readOutputs(const QJsonObject &rdata)
{
    const QJsonValue model = rdata.value(Model);
    QJsonArray list = model.isArray() ? model.toArray() : QJsonArray();
    if (type == Maya && !model.isArray())
        list = model.toObject().value(QLatin1String("layers")).toArray();
    if (type == Houdini && !model.isArray())
        list =
            (rdata.contains(QLatin1String("Rops")) ? rdata : model.toObject()).value(QLatin1String("Rops")).toArray();
    if (type == Clarisse || type == Terragen)
        list = model.toObject().value(QLatin1String(type == Clarisse ? "images" : "cameras")).toArray();
    for (const QJsonValue &value : qAsConst(list)) {
        QJsonObject raw = value.toObject();
        if (type == Maya) {
            add(text(raw.value(QLatin1String("layer"))), raw);
            for (const char *key : {"cameras_array", "enableCameras", "cameras", "camerasArray", "cameras_overide"}) {
                const QStringList found = names(raw.value(QLatin1String(key)));
                outputs.last().cameras = united(outputs.last().cameras, found);
                if (outputs.last().ticked.isEmpty())
                    outputs.last().ticked = found;
            }
        } else if (type == Houdini) {
            const QJsonArray size = raw.take(QStringLiteral("reslution")).toArray();
            for (int i = 0; i < 2 && size.size() == 2; ++i)
                if (const QString key = i ? QStringLiteral("height") : QStringLiteral("width"); !raw.contains(key))
                    raw.insert(key, size.at(i));
            const QString own = text(raw.value(QLatin1String("Rop")));
            add(own.isEmpty() ? text(raw.value(QLatin1String("rop"))) : own, raw);
        } else if (type == Clarisse) {
            const QJsonArray layers = raw.take(QStringLiteral("layers")).toArray();
            const int image = outputs.size();
            add(text(raw.value(QLatin1String("name"))), raw);
            for (const QJsonValue &layer : layers)
                add(outputs.at(image).name + QStringLiteral(" / ") +
                        text(layer.toObject().value(QLatin1String("name"))),
                    layer.toObject(), image);
        } else {
            add(text(raw.value(QLatin1String("name"))), raw);
            QJsonObject &values = outputs.last().values;
            if (raw.contains(QLatin1String("vrMode")) || raw.contains(QLatin1String("giName")))
                values.insert(QStringLiteral("vrMode"), number(raw.value(QLatin1String("vrMode"))));
            for (const auto &[gi, own] : {std::pair("giWidth", "width"), std::pair("giHeight", "height")})
                if (!values.contains(QLatin1String(gi)) && values.contains(QLatin1String(own)))
                    values.insert(QLatin1String(gi), values.value(QLatin1String(own)));
            if (!values.contains(QLatin1String("giStep")))
                values.insert(QStringLiteral("giStep"), 1);
        }
    }
    // An analysis marks none where it can't know; a commit without a dialog takes them all then.
    if (std::none_of(outputs.begin(), outputs.end(), [](const Output &one) { return one.on; }))
        for (Output &one : outputs)
            one.on = true;
    for (Output &one : outputs) // a layer is only rendered in an image that is
        one.on = one.on && (one.image < 0 || outputs.at(one.image).on);
}

void ParameterSheet::readSingle(const QJsonObject &rdata)
{
    QJsonObject all = rdata;
    if (type == Cinema4D)
        ParameterDefaults::cinema4D(&all);
    QJsonObject model = all.value(Model).toObject();
    if (text(model.value(Frames)).isEmpty())
        model.insert(Frames, text(rdata.value(Frames)));
    add(QString(), model);
    Output &one = outputs.first();
    one.name.clear();
    one.on = true;
    const QStringList enabled = names(model.value(QLatin1String("enableCameras")));
    one.ticked = names(model.value(QLatin1String("cameras")));
    one.cameras = united(united(enabled, names(model.value(QLatin1String("disableCameras")))), one.ticked);
    const QString file = text(model.value(QLatin1String("outputFile")));
    const int dot = file.lastIndexOf(QLatin1Char('.'));
    const bool ends =
        dot > 0 && dot > std::max(file.lastIndexOf(QLatin1Char('/')), file.lastIndexOf(QLatin1Char('\\')));
    QString name = ends ? file.left(dot) : file, suffix = ends ? file.mid(dot + 1) : QString();
    if (type == Cinema4D) {
        const QString active = text(model.value(QLatin1String("activeCamera")));
        if (!active.isEmpty())
            one.cameras = united(one.cameras, {active});
        one.values.insert(QStringLiteral("activeCamera"), active);
        if (const QString own = text(model.value(QLatin1String("outputName"))); !own.isEmpty()) {
            name = own;
            suffix = text(model.value(QLatin1String("outputSuffix")));
        }
    } else {
        if (one.ticked.isEmpty())
            one.ticked = enabled;
        const int mode = std::clamp(number(model.value(QLatin1String("vrMode"))), 0, vrModes().size() - 1);
        one.values.insert(QStringLiteral("vrMode"), mode);
        one.values.insert(QStringLiteral("photons"), photonsOf(mode));
        const auto side = [&one](const char *gi, const char *own) {
            return number(one.values.value(QLatin1String(gi)), number(one.values.value(QLatin1String(own))));
        };
        const int width = side("giWidth", "width"), height = side("giHeight", "height");
        one.values.insert(QStringLiteral("giSize"),
                          width > 0 && height > 0 ? QStringLiteral("%1*%2").arg(width).arg(height) : QString());
        one.values.insert(QStringLiteral("giStep"), std::max(1, number(one.values.value(QLatin1String("giStep")), 1)));
    }
    one.values.insert(QStringLiteral("fname"), name);
    one.values.insert(QStringLiteral("fsuffix"), suffix);
}

void ParameterSheet::readTask(const QJsonObject &rdata, const QJsonObject &rset, const CommonConfig &config)
{
    QJsonObject all = rdata;
    if (type == Maya) {
        ParameterDefaults::maya(&all, config);
        // What a dialog or another program settled before stays.
        for (const char *key : {"mayaSplitByLayer", "blocksCount"})
            if (const QLatin1String name(key);
                rdata.contains(name) && number(rdata.value(QLatin1String("hasHand"))) == 1)
                all.insert(name, rdata.value(name));
        task.insert(QStringLiteral("onlyScene"), number(all.value(QLatin1String("onlyScene"))) != 0);
        task.insert(QStringLiteral("mayaSplitByLayer"), number(all.value(QLatin1String("mayaSplitByLayer"))) != 0);
        task.insert(QStringLiteral("filePrefix"), text(all.value(QLatin1String("filePrefix"))));
        for (const char *key : {"renderer", "format"}) // what describes the scene as a whole stands beside the layers
            if (all.contains(QLatin1String(key)))
                task.insert(QLatin1String(key), all.value(QLatin1String(key)));
        QString project = text(rset.value(QLatin1String("mayaProject")));
        const QString mark = QStringLiteral("MAYA_PROJECT=");
        for (const QString &one :
             names(rset.value(QLatin1String("machine")).toObject().value(QLatin1String("envVars"))))
            if (project.isEmpty() && one.startsWith(mark))
                project = one.mid(mark.size());
        task.insert(QStringLiteral("mayaProject"), project);
    }
    for (const char *key : {"keyFrames", "strategy"})
        if (!all.contains(QLatin1String(key)) && rset.contains(QLatin1String(key)))
            all.insert(QLatin1String(key), rset.value(QLatin1String(key)));
    QString keys = text(all.value(QLatin1String("keyFrames")));
    if (keys.isEmpty() && config.frameFirst == 1 && number(all.value(QLatin1String("hasHand"))) != 1)
        keys = keyFrames();
    task.insert(QStringLiteral("keyFrames"), keys);
    task.insert(QStringLiteral("strategy"),
                number(all.value(QLatin1String("strategy")), config.priorityStrategy) == 1 ? 1 : 0);
    const int blocks = number(all.value(QLatin1String("blocksCount")), config.blocksCount);
    task.insert(QStringLiteral("blocksCount"), std::clamp(blocks, 1, 1000));
    for (const char *key : {"noSolutionCheck", "noFrameCheck"})
        task.insert(QLatin1String(key), number(all.value(QLatin1String(key))) == 1);
    for (const char *key : {"canw", "canh"})
        if (const int found = number(all.value(QLatin1String(key))); found > 0)
            task.insert(QLatin1String(key), found);
    task.insert(QStringLiteral("canframe"), text(all.value(QLatin1String("canframe"))));
}

void ParameterSheet::tick(int output, bool on)
{
    if (output < 0 || output >= outputs.size())
        return;
    outputs[output].on = on;
    const int image = outputs.at(output).image;
    bool any = false;
    for (Output &one : outputs) {
        if (one.image == output)
            one.on = on;
        any = any || (image >= 0 && one.image == image && one.on);
    }
    if (image >= 0)
        outputs[image].on = any;
}

QStringList ParameterSheet::frameTexts() const
{
    if (task.value(QLatin1String("noFrameCheck")).toBool())
        return {text(task.value(QLatin1String("canframe")))};
    QStringList list;
    for (int i = 0; i < outputs.size(); ++i)
        if (rendered(*this, outputs.at(i)))
            list << framesOf(outputs.at(i));
    return list;
}

QString ParameterSheet::keyFrames() const { return FrameSet::keyFrames(FrameSet::expandAll(frameTexts())); }

ParameterSheet::Summary ParameterSheet::summary() const
{
    Summary sum;
    QHash<QString, int> counts; // hundreds of layers mostly share their frames
    const bool sized = task.value(QLatin1String("noSolutionCheck")).toBool();
    const bool framed = task.value(QLatin1String("noFrameCheck")).toBool();
    for (const Output &one : outputs) {
        sum.all += type != Clarisse || one.image >= 0;
        if (!rendered(*this, one))
            continue;
        const QString frames = framed ? text(task.value(QLatin1String("canframe"))) : framesOf(one);
        if (!counts.contains(frames))
            counts.insert(frames, FrameSet::expand(frames).size());
        const qlonglong pictures = qlonglong(counts.value(frames)) * std::max(1, one.ticked.size());
        const QJsonObject &from = sized ? task : one.values;
        ++sum.outputs;
        sum.frames += pictures;
        sum.pixels += double(pictures) * number(from.value(QLatin1String(sized ? "canw" : "width"))) *
                      number(from.value(QLatin1String(sized ? "canh" : "height")));
    }
    return sum;
}

QString ParameterSheet::check() const
{
    QString message;
    const auto test = [&message](const QString &fault) { message = message.isEmpty() ? fault : message; };
    const auto told = [](const Output &one, const QString &fault) {
        return fault.isEmpty() || one.name.isEmpty() ? fault : fault + QLatin1Char('\n') + one.name.left(200);
    };
    const auto on = [this](const Output &one) { return rendered(*this, one); };
    if (std::none_of(outputs.begin(), outputs.end(), on))
        test(type == Maya       ? tr("请选择渲染层")
             : type == Houdini  ? ParameterModel::tr("请选择渲染节点")
             : type == Clarisse ? ParameterModel::tr("请选择层")
                                : ParameterModel::tr("请选择节点"));
    for (const Output &one : outputs)
        if (one.on && one.ticked.isEmpty() && (type == Max || !one.cameras.isEmpty()))
            test(type == Maya ? told(one, ParameterModel::tr("请选择相机")) : ParameterModel::tr("请选择相机"));
    const QStringList frames = frameTexts();
    test(FrameSet::checkKeyFrames(text(task.value(QLatin1String("keyFrames"))), frames));
    for (int i = 0; i < outputs.size(); ++i)
        if (rendered(*this, outputs.at(i)))
            test(told(outputs.at(i),
                      FrameSet::checkKeyFrames(text(outputs.at(i).values.value(QLatin1String("keyFrames"))),
                                               {framesOf(outputs.at(i))})));
    if (task.value(QLatin1String("noFrameCheck")).toBool())
        test(FrameSet::checkFrames(text(task.value(QLatin1String("canframe")))));
    for (int i = 0; i < outputs.size(); ++i) {
        const QJsonObject &values = outputs.at(i).values;
        const QString own = text(values.value(Frames));
        if (!outputs.at(i).on)
            continue;
        if (rendered(*this, outputs.at(i)) || !own.isEmpty())
            test(told(outputs.at(i), FrameSet::checkFrames(own)));
        test(told(outputs.at(i), FrameSet::checkStep(own, text(values.value(Step)))));
    }
    if (task.value(QLatin1String("noSolutionCheck")).toBool())
        for (const char *key : {"canw", "canh"})
            if (number(task.value(QLatin1String(key))) < 1)
                test(tr("请输入统一的宽度和高度"));
    const auto sizes = [&](const QJsonObject &values, std::initializer_list<const char *> keys) {
        for (const char *key : keys) {
            const QString typed = text(values.value(QLatin1String(key)));
            const int found = number(values.value(QLatin1String(key)));
            if (!typed.isEmpty() && (found < 1 || found > LongestSide))
                return tr("请输入 1 到 %1 之间的数字：%2").arg(LongestSide).arg(typed.left(40));
        }
        return QString();
    };
    test(sizes(task, {"canw", "canh", "blocksCount"}));
    for (const Output &one : outputs)
        if (one.on)
            test(told(one, sizes(one.values, {"width", "height", "giWidth", "giHeight", "giStep"})));
    if (type == Maya && !ParameterModel::filePrefixOk(text(task.value(QLatin1String("filePrefix")))))
        test(ParameterModel::filePrefixMessage());
    if (type == Max) {
        const QJsonObject &values = outputs.first().values;
        int width = 0, height = 0;
        if (text(values.value(QLatin1String("fname"))).isEmpty())
            test(tr("请输入出图名称"));
        if (const QString size = text(values.value(QLatin1String("giSize")));
            !size.isEmpty() && !parseSize(size, &width, &height))
            test(tr("光子尺寸的格式为“宽*高”"));
        if (fileApplies(number(values.value(QLatin1String("vrMode")))) &&
            text(values.value(QLatin1String("vrIrradianceMapFile")))
                .section(QLatin1Char(','), 0, 0)
                .trimmed()
                .isEmpty())
            test(ParameterModel::tr("请设置光子路径"));
    }
    if (type == Terragen)
        for (const Output &one : outputs)
            if (one.on && number(one.values.value(QLatin1String("vrMode"))) == 1 &&
                text(one.values.value(QLatin1String("giFile"))).isEmpty())
                test(told(one, ParameterModel::tr("请设置光子路径")));
    return message;
}

QString ParameterSheet::question() const
{
    const QJsonObject values = outputs.isEmpty() ? QJsonObject() : outputs.first().values;
    const bool asks = type == Max && stepApplies(number(values.value(QLatin1String("vrMode")))) &&
                      number(values.value(QLatin1String("giStep")), 1) == 1;
    return asks ? tr("当前光子隔帧为1，确认提交吗？") : QString();
}

QJsonObject ParameterSheet::writeSingle(const Output &one) const
{
    QJsonObject values = one.values;
    tidyNumbers(&values, {"width", "height", "giStep"});
    values.insert(Frames, FrameSet::rewrite(framesOf(one)));
    values.remove(Step);
    QStringList others;
    std::copy_if(
        one.cameras.begin(), one.cameras.end(), std::back_inserter(others),
        [on = QSet<QString>(one.ticked.begin(), one.ticked.end())](const QString &name) { return !on.contains(name); });
    const QJsonArray ticked = QJsonArray::fromStringList(one.ticked);
    values.insert(QStringLiteral("cameras"), ticked);
    if (type == Cinema4D) {
        values.insert(QStringLiteral("enableCameras"), QJsonArray::fromStringList(one.cameras));
        values.insert(QStringLiteral("outputName"), values.value(QLatin1String("fname")));
        values.insert(QStringLiteral("outputSuffix"), values.value(QLatin1String("fsuffix")));
    } else {
        values.insert(QStringLiteral("enableCameras"), ticked);
        values.insert(QStringLiteral("disableCameras"), QJsonArray::fromStringList(others));
        int width = 0, height = 0;
        if (parseSize(text(values.take(QStringLiteral("giSize"))), &width, &height)) {
            values.insert(QStringLiteral("giWidth"), width);
            values.insert(QStringLiteral("giHeight"), height);
        } else { // the size of the output
            values.insert(QStringLiteral("giWidth"), values.value(QLatin1String("width")));
            values.insert(QStringLiteral("giHeight"), values.value(QLatin1String("height")));
        }
        values.remove(QStringLiteral("photons"));
        values.insert(QStringLiteral("reflectionRefraction"),
                      number(values.value(QLatin1String("reflectionRefraction"))) ? 1 : 0);
    }
    join(&values, "fname", "fsuffix");
    return values;
}

QJsonArray ParameterSheet::writeOutputs() const
{
    QJsonArray list;
    QVector<int> places(outputs.size(), -1); // of images
    for (int i = 0; i < outputs.size(); ++i) {
        const Output &one = outputs.at(i);
        QJsonObject values = one.values;
        tidyNumbers(&values, {"width", "height", "giWidth", "giHeight", "giStep"});
        const QString frames = framesOf(one);
        if (!frames.isEmpty() || values.contains(Frames))
            values.insert(Frames, one.on ? FrameSet::rewrite(frames) : frames);
        values.remove(Step);
        if (text(values.value(QLatin1String("keyFrames"))).isEmpty())
            values.remove(QStringLiteral("keyFrames"));
        if (type == Maya) {
            if (!one.on)
                continue;
            const QJsonArray cameras = QJsonArray::fromStringList(one.ticked);
            QJsonObject layer{{QStringLiteral("camerasArray"), cameras},
                              {QStringLiteral("cameras_array"), cameras},
                              {QStringLiteral("cameras"), cameras}};
            for (const char *key : {"frames", "layer", "width", "height", "keyFrames"})
                if (values.contains(QLatin1String(key)))
                    layer.insert(QLatin1String(key), values.value(QLatin1String(key)));
            list.append(layer);
            continue;
        }
        values.insert(QStringLiteral("selected"), one.on ? 1 : 0);
        if (type == Clarisse && one.image >= 0) {
            QJsonObject image = list.at(places.at(one.image)).toObject();
            QJsonArray layers = image.value(QLatin1String("layers")).toArray();
            layers.append(values);
            image.insert(QStringLiteral("layers"), layers);
            list.replace(places.at(one.image), image);
            continue;
        }
        if (type == Clarisse)
            values.insert(QStringLiteral("layers"), QJsonArray());
        places[i] = list.size();
        list.append(values);
    }
    return list;
}

void ParameterSheet::write(db_resolve *res) const
{
    QJsonObject rdata = parsed(res->rdata), rset = parsed(res->rset), model = rdata.value(Model).toObject();
    ParameterModel::fillNames(type, *res, &rdata);
    if (type == Houdini && !rdata.contains(QLatin1String("coverParameters")))
        rdata.insert(QStringLiteral("coverParameters"), rdata.contains(QLatin1String("Rops"))
                                                            ? rdata.value(QLatin1String("Rops")).toArray()
                                                            : model.value(QLatin1String("Rops")).toArray());
    if (type == Max || type == Cinema4D)
        rdata.insert(Model, writeSingle(outputs.first()));
    else if (type == Maya || type == Houdini)
        rdata.insert(Model, writeOutputs());
    else
        model.insert(type == Clarisse ? QStringLiteral("images") : QStringLiteral("cameras"), writeOutputs());
    if (type == Clarisse || type == Terragen)
        rdata.insert(Model, model);
    if (type == Cinema4D && rdata.contains(Frames)) // two places of one text
        rdata.insert(Frames, rdata.value(Model).toObject().value(Frames));
    for (auto it = task.begin(); it != task.end(); ++it)
        rdata.insert(it.key(), it.value().isBool() ? QJsonValue(it.value().toBool() ? 1 : 0) : it.value());
    for (const char *key : {"keyFrames", "canframe"})
        rdata.insert(QLatin1String(key), FrameSet::rewrite(text(rdata.value(QLatin1String(key)))));
    // What is forced on the whole task stands there only where it's ticked.
    if (!task.value(QLatin1String("noSolutionCheck")).toBool())
        for (const char *key : {"noSolutionCheck", "canw", "canh"})
            rdata.remove(QLatin1String(key));
    if (!task.value(QLatin1String("noFrameCheck")).toBool())
        for (const char *key : {"noFrameCheck", "canframe"})
            rdata.remove(QLatin1String(key));
    if (type == Maya) {
        rset.insert(QStringLiteral("mayaProject"), rdata.take(QStringLiteral("mayaProject")));
        if (!task.value(QLatin1String("onlyScene")).toBool())
            rdata.remove(QStringLiteral("onlyScene"));
        res->rset = compact(rset);
    }
    rdata.insert(QStringLiteral("hasHand"), 1);
    res->rdata = compact(rdata);
}
