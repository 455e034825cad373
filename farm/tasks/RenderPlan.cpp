#include "tasks/RenderPlan.h"
#include <algorithm>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>

namespace farm
{

namespace
{
struct Output {
    QString name;
    QString frames, keyFrames;
    int width = 0, height = 0;
};

QString textOf(const QJsonValue &value) { return value.isDouble() ? QString::number(value.toInt()) : value.toString(); }

int numberOf(const QJsonValue &value) { return value.isString() ? value.toString().toInt() : value.toInt(); }

QStringList names(const QJsonValue &value)
{
    QStringList list;
    for (const QJsonValue &one : value.toArray())
        list += one.isObject() ? one.toObject().value("name").toString() : textOf(one);
    if (value.isString())
        list = value.toString().split(QLatin1Char(','), Qt::SkipEmptyParts);
    list.removeAll(QString());
    return list;
}

QStringList cameras(const QJsonObject &from, std::initializer_list<const char *> keys)
{
    for (const char *key : keys) {
        const QStringList list = names(from.value(QLatin1String(key)));
        if (!list.isEmpty())
            return list;
    }
    return {};
}

// Those that are ticked; all of them where nobody ticked any.
QVector<QJsonObject> chosen(const QJsonArray &entries)
{
    QVector<QJsonObject> ticked, all;
    for (const QJsonValue &one : entries) {
        all += one.toObject();
        if (numberOf(one.toObject().value("selected")) == 1)
            ticked += one.toObject();
    }
    return ticked.isEmpty() ? all : ticked;
}

Output output(const QString &name, const QJsonObject &from, const QJsonObject &fallback = {})
{
    const auto pick = [&](const char *key) {
        const QString word = QLatin1String(key);
        return from.contains(word) ? from.value(word) : fallback.value(word);
    };
    const QJsonArray pair = pick("reslution").toArray();
    Output one{name, textOf(pick("frames")), textOf(pick("keyFrames")), numberOf(pick("width")),
               numberOf(pick("height"))};
    if (pair.size() == 2 && one.width <= 0)
        one.width = numberOf(pair.at(0)), one.height = numberOf(pair.at(1));
    return one;
}

QVector<Output> outputsOf(const QJsonObject &order, int softwareType)
{
    const QJsonValue value = order.value("modelParameters");
    const QJsonObject model = value.toObject();
    QVector<Output> list;
    switch (softwareType) {
    case 1:
        for (const QJsonObject &layer : chosen(value.isArray() ? value.toArray() : model.value("layers").toArray())) {
            QStringList views =
                cameras(layer, {"cameras_array", "camerasArray", "enableCameras", "cameras", "cameras_overide"});
            for (const QString &view : views.isEmpty() ? QStringList{QString()} : views) {
                const QString name = layer.value("layer").toString();
                list += output(view.isEmpty() ? name : QStringLiteral("%1_%2").arg(name, view), layer, model);
            }
        }
        break;
    case 4:
        for (const QJsonObject &node : chosen(value.isArray() ? value.toArray() : order.value("Rops").toArray()))
            list += output(textOf(node.contains("Rop") ? node.value("Rop") : node.value("rop")), node);
        break;
    case 7:
        for (const QJsonObject &image : chosen(model.value("images").toArray())) {
            const QVector<QJsonObject> layers = chosen(image.value("layers").toArray());
            for (const QJsonObject &layer : layers)
                list += output(image.value("name").toString() + QLatin1Char('_') + layer.value("name").toString(),
                               layer, image);
            if (layers.isEmpty())
                list += output(image.value("name").toString(), image);
        }
        break;
    case 8:
        for (const QJsonObject &camera : chosen(model.value("cameras").toArray()))
            list += output(camera.value("name").toString(), camera);
        break;
    default:
        for (const QString &camera : cameras(model, {"cameras", "activeCamera", "enableCameras"}))
            list += output(camera, model);
    }
    if (list.isEmpty())
        list += output(QStringLiteral("camera"), model);
    return list;
}

int clampFrame(qint64 frame) { return int(qBound(qint64(-10000), frame, qint64(100000))); }
} // namespace

QVector<int> frameNumbers(const QString &text)
{
    static const QRegularExpression term(QStringLiteral("^(-?\\d{1,9})(?:-(-?\\d{1,9}))?(?::(\\d{1,9}))?$"));
    QSet<int> found;
    const QStringList terms =
        QString(text).replace(QChar(0xff0c), QLatin1Char(',')).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString &one : terms) {
        const QRegularExpressionMatch match = term.match(one.trimmed());
        if (!match.hasMatch())
            continue;
        const int first = clampFrame(match.captured(1).toLongLong());
        const int last = match.captured(2).isEmpty() ? first : clampFrame(match.captured(2).toLongLong());
        const int step = match.captured(3).toInt();
        for (int frame = first; frame <= last; frame += step < 1 || step > 1000 ? 1 : step)
            found.insert(frame);
    }
    QVector<int> list(found.begin(), found.end());
    std::sort(list.begin(), list.end());
    return list;
}

QString pathPiece(const QString &name)
{
    static const QRegularExpression bad(QStringLiteral("[\\x00-\\x1f<>:\"/\\\\|?*]"));
    QString piece = QString(name).replace(bad, QStringLiteral("_")).trimmed().left(80);
    while (piece.endsWith(QLatin1Char('.')))
        piece.chop(1);
    return piece.isEmpty() ? QStringLiteral("_") : piece;
}

QVector<FrameJob> framePlan(const QJsonObject &order, int softwareType, const QString &sceneName, int maxWidth)
{
    const QString base = pathPiece(sceneName.section(QLatin1Char('/'), -1).section(QLatin1Char('.'), 0, -2));
    const bool forceSize = numberOf(order.value("noSolutionCheck")) == 1,
               forceFrames = numberOf(order.value("noFrameCheck")) == 1;
    const QString keyText = textOf(order.value("keyFrames"));
    QVector<FrameJob> first, rest;
    QSet<QString> folders;
    for (Output one : outputsOf(order, softwareType)) {
        if (forceSize && numberOf(order.value("canw")) > 0 && numberOf(order.value("canh")) > 0)
            one.width = numberOf(order.value("canw")), one.height = numberOf(order.value("canh"));
        if (forceFrames)
            one.frames = textOf(order.value("canframe"));
        if (one.width <= 0 || one.height <= 0)
            one.width = 1280, one.height = 720;
        if (one.width > maxWidth) {
            one.height = qMax(1, int(qint64(one.height) * maxWidth / one.width));
            one.width = maxWidth;
        }
        one.height = qMin(one.height, 8192);
        QString folder = pathPiece(one.name);
        for (int i = 2; folders.contains(folder.toLower()); ++i)
            folder = QStringLiteral("%1_%2").arg(pathPiece(one.name)).arg(i);
        folders.insert(folder.toLower());
        QVector<int> numbers = frameNumbers(one.frames);
        if (numbers.isEmpty())
            numbers += 1;
        const QVector<int> keys = frameNumbers(one.keyFrames.isEmpty() ? keyText : one.keyFrames);
        int place = 0;
        for (int frame : numbers) {
            const QString digits = QStringLiteral("%1%2")
                                       .arg(frame < 0 ? QStringLiteral("-") : QString())
                                       .arg(qAbs(frame), 4, 10, QLatin1Char('0'));
            const FrameJob job{one.name,
                               frame,
                               one.width,
                               one.height,
                               std::binary_search(keys.begin(), keys.end(), frame),
                               QStringLiteral("%1/%2.%3.png").arg(folder, base, digits),
                               place++,
                               numbers.size()};
            (job.key ? first : rest) += job;
        }
    }
    return first + rest;
}

} // namespace farm
