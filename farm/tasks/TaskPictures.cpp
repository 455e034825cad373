// Logs, pictures and results of chosen sub-tasks.
#include "Account.h"
#include "Core.h"
#include "FileServer.h"
#include "Rest.h"
#include "tasks/Renderer.h"
#include "tasks/TaskDesk.h"
#include <QBuffer>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>

namespace farm
{

namespace
{
constexpr int linkedWidth = 1280; // of a picture behind a link

// What a frame has beside its beauty pass, by the names that the order tells for it.
QStringList passes(const Task &task)
{
    const QJsonObject model = task.body.value("modelParameters").toObject();
    QStringList names{QStringLiteral("RGB")};
    for (const QJsonValue &one : model.value("elements").toArray())
        names += one.toString();
    return names.mid(0, 4);
}

// A pass is one view of the picture: its red, green or blue part.
QImage passOf(const QImage &whole, int pass)
{
    if (pass <= 0)
        return whole;
    QImage one = whole.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < one.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(one.scanLine(y));
        for (int x = 0; x < one.width(); ++x) {
            const int value = pass == 1 ? qRed(line[x]) : pass == 2 ? qGreen(line[x]) : qBlue(line[x]);
            line[x] = qRgb(value, value, value);
        }
    }
    return one;
}
} // namespace

int TaskDesk::picCount(const Task &task) const
{
    const int count = passes(task).size();
    return count > 1 ? count : 0;
}

// The file of a frame that is done; of one that runs what there is of it by now. Empty: none.
QByteArray TaskDesk::imageOf(const Task &task, int index) const
{
    const TaskFrame &one = task.frames.at(index);
    if (one.state == FrameRunning || (one.blocks > 0 && one.state == FrameWaiting))
        return m_core.renderer->halfPicture(task, index);
    QFile file(m_core.tasks->resultFile(task.id, one.job.path));
    return one.state == FrameDone && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Nobody guesses it: the farm's own secret is in it.
QString TaskDesk::link(const Task &task, int index, int picture) const
{
    const QString what = QStringLiteral("%1-%2").arg(subTaskId(task, index)).arg(picture);
    const QByteArray sign =
        QCryptographicHash::hash((m_core.account->accessToken() + what).toUtf8(), QCryptographicHash::Sha256)
            .toHex()
            .left(20);
    return QStringLiteral("%1/preview/%2-%3.jpg").arg(m_core.rest->address(), what, QLatin1String(sign));
}

QByteArray TaskDesk::picture(const QString &name) const
{
    const qint64 id = name.section(QLatin1Char('-'), 0, 0).toLongLong();
    const int pass = name.section(QLatin1Char('-'), 1, 1).toInt();
    const Task *task = m_core.tasks->byId(int(id / SubTaskStep));
    const int index = task ? m_core.tasks->indexOf(*task, id) : -1;
    if (index < 0 || !link(*task, index, pass).endsWith(QLatin1Char('/') + name))
        return {};
    QImage image = passOf(QImage::fromData(imageOf(*task, index)), pass);
    if (image.width() > linkedWidth)
        image = image.scaledToWidth(linkedWidth, Qt::SmoothTransformation);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return !image.isNull() && image.save(&buffer, "jpg", 90) ? bytes : QByteArray();
}

void TaskDesk::addPictures()
{
    on(10407, [this](Link &, const QJsonObject &body, Task &task, Answer *answer) {
        const int index = m_core.tasks->indexOf(task, body.value("subjobId").toVariant().toLongLong());
        const QByteArray image =
            index < 0 || m_core.faults.happens(QStringLiteral("no-preview")) ? QByteArray() : imageOf(task, index);
        if (image.isEmpty())
            answer->val = 1040701;
        else if (task.softwareType == 3)
            answer->body = {{"url", link(task, index, 0)}, {"picCount", picCount(task)}};
        else
            answer->stream = image;
    });
    on(10801, [this](Link &, const QJsonObject &body, Task &task, Answer *answer) {
        const int index = m_core.tasks->indexOf(task, body.value("subjobId").toVariant().toLongLong());
        const int picture = body.value("picIndex").toVariant().toInt();
        const QStringList names = passes(task);
        if (index < 0 || picture < 0 || picture >= names.size() ||
            m_core.faults.happens(QStringLiteral("no-preview")) || imageOf(task, index).isEmpty()) {
            answer->val = 1080102;
            return;
        }
        answer->body = {{"url", link(task, index, picture)},
                        {"picIndex", picture},
                        {"picCount", picCount(task)},
                        {"name", names.at(picture)}};
    });
    on(10804, [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) {
        const int index = m_core.tasks->indexOf(task, body.value("subjobId").toVariant().toLongLong());
        const QString path = index < 0 ? QString() : m_core.tasks->logPath(task, index);
        const QFileInfo file(m_core.options.dir + QLatin1Char('/') + path);
        if (index < 0 || !file.isFile()) {
            answer->val = 1080402;
            return;
        }
        answer->body = {{"path", path},
                        {"size", file.size()},
                        {"running", task.frames.at(index).state == FrameRunning ? 1 : 0},
                        {"ip", m_core.options.address},
                        {"ipLan", m_core.options.address},
                        {"ipWan", m_core.options.address},
                        {"port", m_core.files->port()},
                        {"port0", m_core.files->port()},
                        {"farmId", FarmId},
                        {"token", QString(link.session).remove(QLatin1Char('-'))}};
    });
    on(10806, [this](Link &, const QJsonObject &body, Task &task, Answer *answer) {
        answer->body = m_core.tasks->resultHead(task);
        QJsonArray rows;
        for (const QString &word :
             body.value("subjobIds").toVariant().toString().split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const int index = m_core.tasks->indexOf(task, word.toLongLong());
            int mission = 0;
            if (index >= 0 && task.frames.at(index).result > 0)
                if (const FarmResult row = m_core.tasks->result(task.frames.at(index).result, &mission); row.id > 0)
                    rows.append(m_core.tasks->resultRow(row));
        }
        answer->body.insert("rows", rows);
    });
}

} // namespace farm
