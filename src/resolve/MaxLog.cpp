#include "resolve/MaxLog.h"
#include "common/facts/SoftwareType.h"
#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

namespace
{

int number(const QString &text)
{
    bool good = false;
    const int value = text.trimmed().toInt(&good);
    return good ? value : -1;
}

QString slashes(QString path) { return path.replace(QLatin1Char('\\'), QLatin1Char('/')); }

bool endsWith(const QStringList &paths, const QString &ending)
{
    for (const QString &path : paths) {
        if (path.endsWith(ending, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

QString joinedEnding(const QStringList &paths, const QString &ending)
{
    QStringList list;
    for (const QString &path : paths) {
        if (path.endsWith(ending, Qt::CaseInsensitive))
            list.append(slashes(path));
    }
    return list.join(QLatin1Char(','));
}
} // namespace

ParsedLog MaxLog::parse(const QString &text)
{
    MaxLog log;
    QString lines = text;
    lines.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    for (const QStringRef &piece : lines.splitRef(QLatin1String("\n\n"), Qt::SkipEmptyParts)) {
        const QString trimmed = piece.trimmed().toString();
        if (!trimmed.startsWith(QLatin1String("Vandrel_")))
            continue;
        QStringList values = trimmed.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        const QString key = values.takeFirst().trimmed();
        log.block(key, values);
    }
    log.judge();

    ParsedLog result;
    result.found = true;
    result.status = !log.m_errorText.isEmpty() ? 2 : !log.m_warningText.isEmpty() ? 1 : 0;
    result.details = result.status == 2 ? log.m_errorText : log.m_warningText;
    qDebug().noquote() << "MaxLog::parse max的解析状态:" << result.status;
    if (result.status == 2)
        return result;
    result.content = log.result();
    QJsonArray files;
    QSet<QString> seen;
    for (const QString &file : qAsConst(log.m_files)) {
        const QString path = slashes(file.trimmed());
        if (!path.isEmpty() && !seen.contains(path)) {
            seen.insert(path);
            files.append(path);
        }
    }
    const QByteArray fragment =
        QJsonDocument(QJsonObject{{QStringLiteral("files"), files}}).toJson(QJsonDocument::Compact);
    result.files = QString::fromUtf8(fragment.constData() + 1, fragment.size() - 2);
    return result;
}

QString MaxLog::noCameraText() { return tr("警告：没有设置默认相机。\r\n"); }

QString MaxLog::noPhotonText()
{
    return tr("警告：未解析到本地光子，请在参数设置里面修改光子模式或重新指认光子路径。\r\n");
}

void MaxLog::block(const QString &key, const QStringList &values)
{
    const QString first = values.value(0).trimmed();
    const auto is = [&key](const char *name) { return key == QLatin1String(name); };
    if (is("Vandrel_externFile:")) {
        m_files += values;
    } else if (is("Vandrel_cfgfilePath:")) {
        m_files += first;
    } else if (is("Vandrel_sceneName:")) {
        m_scene = first;
        m_files += first;
    } else if (is("Vandrel_sceneCam:")) {
        m_sceneCameras += values;
    } else if (is("Vandrel_renderCam:")) {
        m_renderCameras += values;
    } else if (is("Vandrel_width:")) {
        m_width = number(first);
    } else if (is("Vandrel_height:")) {
        m_height = number(first);
    } else if (is("Vandrel_frames:")) {
        m_frames = first;
    } else if (is("Vandrel_outputFile:")) {
        m_output = first;
    } else if (is("Vandrel_error:") || is("Vandrel_warning:")) {
        for (const QString &value : values)
            (is("Vandrel_error:") ? m_errors : m_warnings).append(number(value));
    } else if (is("Vandrel_missingFile:")) {
        m_warningText += tr("警告：未找到以下贴图\r\n");
        for (const QString &value : values)
            m_warningText += value + QLatin1String("\r\n");
    } else if (is("Vandrel_IrradianceMap:")) {
        m_mode = number(first);
        if (values.size() == 2)
            m_reflection = number(values.at(1));
    } else if (is("Vandrel_photoMapFile:")) {
        m_photons += values;
    } else if (is("Vandrel_exception:")) { // the script could not go on
        m_exception += values;
    } else if (is("Vandrel_renderType:")) {
        m_renderType = first;
    }
}

bool MaxLog::judgeErrors()
{
    for (const QString &line : qAsConst(m_exception))
        m_errorText += line.trimmed() + QLatin1String("\r\n");
    for (int code : qAsConst(m_errors)) {
        switch (code) {
        case 4:
            m_errorText += tr("错误：选定的相机名中含有非法字符。\r\n");
            break;
        case 5:
            m_errorText += tr("错误：帧缓存输出路径无效。\r\n%1\r\n").arg(m_output);
            break;
        case 6:
            m_errorText += tr("错误：未设置帧缓存输出路径。\r\n%1\r\n").arg(m_output);
            break;
        case 7:
            m_errorText += tr("错误：未设置输出自动保存。\r\n%1\r\n").arg(m_output);
            break;
        case 8:
            m_errorText += tr("错误：制作模型的软件版本与选择的软件版本不同。\r\n");
            break;
        case 9:
            m_errorText += tr("错误：模型文件中包含可执行脚本，请清理后提交。\r\n");
            return false;
        case 10:
            m_errorText += tr("当前渲染器为GPU渲染器，提交机型为CPU，请更换机型后重新提交。\r\n");
            return false;
        default:
            break;
        }
    }
    return true;
}

void MaxLog::judge()
{
    if (!judgeErrors())
        return;
    if (m_sceneCameras.isEmpty() && m_renderCameras.isEmpty())
        m_errorText += tr("错误：没有可用相机。\r\n");
    if (m_renderCameras.isEmpty())
        m_warningText.prepend(noCameraText());
    if (m_height == -1)
        m_errorText += tr("错误：出图高度解析异常。\r\n");
    if (m_width == -1)
        m_errorText += tr("错误：出图宽度解析异常。\r\n");
    if ((m_mode == 2 || m_mode == 7) && !endsWith(m_photons, QStringLiteral(".vrmap")))
        m_warningText += noPhotonText();
    if (m_output.isEmpty())
        m_warningText.prepend(tr("警告：无输出路径，请先进行参数设置\r\n"));
    if (m_warnings.contains(8))
        m_warningText.prepend(tr("当前渲染器为CPU渲染器，机型选择GPU，请确认机型后提交。\r\n"));
}

QJsonObject MaxLog::result() const
{
    const QString scene = slashes(m_scene);
    return {{QStringLiteral("sceneName"), scene},
            {QStringLiteral("missionName"), scene.section(QLatin1Char('/'), -1)},
            {QStringLiteral("softwareType"), int(SoftwareType::Max)},
            {QStringLiteral("modelParameters"), model()}};
}

QJsonObject MaxLog::model() const
{
    const QJsonArray render = QJsonArray::fromStringList(m_renderCameras);
    return {{QStringLiteral("frames"), m_frames},
            {QStringLiteral("width"), m_width},
            {QStringLiteral("height"), m_height},
            {QStringLiteral("enableCameras"), render},
            {QStringLiteral("disableCameras"), QJsonArray::fromStringList(m_sceneCameras)},
            {QStringLiteral("cameras"), render},
            {QStringLiteral("outputFile"), m_output},
            {QStringLiteral("vrMode"), m_mode},
            {QStringLiteral("giWidth"), -1},
            {QStringLiteral("giHeight"), -1},
            {QStringLiteral("reflectionRefraction"), m_reflection},
            {QStringLiteral("vrLightCacheFile"), joinedEnding(m_photons, QStringLiteral(".vrlmap"))},
            {QStringLiteral("vrIrradianceMapFile"), joinedEnding(m_photons, QStringLiteral(".vrmap"))}};
}
