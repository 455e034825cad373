#include "io/local/PluginRequest.h"
#include "common/facts/SoftwareType.h"
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

PluginRequest::State PluginRequest::feed(const QByteArray &data)
{
    if (m_state != Incomplete)
        return m_state;
    if (m_data.size() + data.size() > MaxBytes)
        return m_state = Bad;
    m_data += data;
    if (m_depth == 0 && m_read == 0) {
        int start = 0;
        while (start < m_data.size() && QByteArray(" \t\r\n").contains(m_data[start]))
            ++start;
        m_data.remove(0, start);
        if (!m_data.isEmpty() && m_data[0] != '{') {
            const int end = m_data.indexOf('\n');
            return end < 0 ? m_state : word(m_data.left(end));
        }
    }
    for (; m_read < m_data.size(); ++m_read) {
        const char one = m_data[m_read];
        if (m_text) {
            m_text = m_escaped || one != '"';
            m_escaped = !m_escaped && one == '\\';
        } else if (one == '"') {
            m_text = true;
        } else if (one == '{' || one == '[') {
            ++m_depth;
        } else if ((one == '}' || one == ']') && --m_depth == 0) {
            m_data.truncate(m_read + 1);
            return scene();
        }
    }
    return m_state;
}

PluginRequest::State PluginRequest::pause()
{
    return m_state != Incomplete || m_data.isEmpty() || m_data[0] == '{' ? m_state : word(m_data);
}

PluginRequest::State PluginRequest::word(const QByteArray &text)
{
    static const QRegularExpression digits(QStringLiteral("(\\d{1,9})\\D*$"));
    const QString line = QString::fromUtf8(text).trimmed();
    if (line.startsWith(QLatin1String("getProject")))
        return m_state = Projects;
    if (!line.startsWith(QLatin1String("getMachine")))
        return m_state = Bad;
    m_projectId = digits.match(line).captured(1).toInt();
    return m_state = Machines;
}

PluginRequest::State PluginRequest::scene()
{
    m_order = orderOf(QJsonDocument::fromJson(m_data).object());
    m_data.clear();
    return m_state = m_order.isEmpty() ? Bad : Scene;
}

QJsonObject PluginRequest::orderOf(const QJsonObject &message)
{
    const QJsonObject from = message.value(QLatin1String("content")).toArray().at(0).toObject();
    const QString scene = from.value(QLatin1String("renderfile")).toString();
    if (scene.isEmpty())
        return {};
    static const QPair<const char *, const char *> keys[] = {{"pagename", "sceneName"},
                                                             {"renderfile", "scenePath"},
                                                             {"renderfile", "renderfile"},
                                                             {"taskname", "name"},
                                                             {"root", "root"},
                                                             {"files", "files"},
                                                             {"Modal", "machineModel"},
                                                             {"clientId", "clientId"},
                                                             {"Project", "project"},
                                                             {"ProjectID", "projectId"},
                                                             {"SketchupVersion", "software"}};
    QJsonObject order{{"softwareType", int(SoftwareType::SketchUp)}};
    for (const auto &key : keys)
        if (from.contains(QLatin1String(key.first)))
            order[QLatin1String(key.second)] = from.value(QLatin1String(key.first));
    const QJsonObject size = from.value(QLatin1String("reslution")).toObject();
    order["modelParameters"] = QJsonObject{
        {"outputFormat", from.value(QLatin1String("Output"))},
        {"reslution", QJsonObject{{"width", size.value("width")}, {"height", size.value("height")}}},
    };
    return order;
}
