// A file link that takes a file in.
#include "Core.h"
#include "drive/Drive.h"
#include "FileServer.h"
#include "tasks/Tasks.h"
#include <QJsonDocument>
#include <QPointer>

namespace farm
{

bool FileLink::checkAsk(const QJsonObject &body)
{
    QStringList wrong;
    const auto want = [&](const char *key, QJsonValue::Type type) {
        if (body.value(QLatin1String(key)).type() != type)
            wrong += QLatin1String(key);
    };
    for (const char *key : {"fileId", "key", "diskKey"})
        want(key, QJsonValue::String);
    for (const char *key : {"size", "compressedSize", "lastModified", "taskId"})
        want(key, QJsonValue::Double);
    want("isCompressed", QJsonValue::Bool);
    if (!wrong.isEmpty())
        m_core.violation(QStringLiteral("upload ask: %1 missing or of another type").arg(wrong.join(QLatin1Char(','))));
    return wrong.isEmpty();
}

void FileLink::ask(const QJsonObject &body)
{
    m_asked = m_mayData = false;
    m_file.close();
    if (!checkAsk(body))
        return reply(0, FileCode::NoRecord);
    m_identity.key = body.value("key").toString();
    m_identity.size = body.value("size").toVariant().toLongLong();
    m_identity.mtime = body.value("lastModified").toVariant().toLongLong();
    m_identity.task = body.value("taskId").toInt();
    m_identity.compressed = body.value("isCompressed").toBool();
    m_identity.wireSize =
        m_identity.compressed ? body.value("compressedSize").toVariant().toLongLong() : m_identity.size;
    m_identity.etag = body.value("ETag").toString().toLower();
    if (body.value("retry").toInt() == 1)
        m_core.event(QStringLiteral("retry %1").arg(m_identity.key));
    if (const int code = refusal(body.value("fileId").toString().toInt()))
        return reply(0, code);
    const qint64 code = m_core.faults.number(QStringLiteral("ask-code"));
    if (code >= 0)
        return reply(0, int(code));
    m_asked = true;
    if (const int stage = m_core.store->stage(m_identity))
        return reply(0, stage);
    const bool here = m_identity.task == 0 ? m_core.drive->holds(m_farm, m_identity.place, m_identity.size,
                                                                 m_identity.mtime, m_identity.etag)
                                           : m_core.store->known(m_identity.key, m_identity.size, m_identity.mtime);
    if (here) {
        arrived();
        return reply(0, FileCode::MoveOk);
    }
    qint64 received = m_core.store->received(m_identity);
    if (received > m_identity.wireSize) {
        m_core.store->forgetPart(m_identity);
        received = 0;
    }
    if (const QString past = m_core.faults.take(QStringLiteral("start-past")); !past.isNull())
        return reply(0, FileCode::StartHere, {{"startPoint", m_identity.wireSize + past.toLongLong()}});
    if (received == m_identity.wireSize)
        return reply(0, FileCode::AllHere);
    m_mayData = true;
    reply(0, FileCode::StartHere, {{"startPoint", received}});
}

int FileLink::refusal(int id)
{
    if (m_identity.size < 0 || m_identity.wireSize < 0)
        return FileCode::NoRecord;
    if (m_identity.task == 0) {
        const QString key = m_identity.key;
        m_identity.place = cleanKey(key);
        m_identity.key = DriveTree::storeKey(m_farm, key);
        return m_core.drive->refuses(m_farm, key, m_identity.size);
    }
    const Task *task = m_core.tasks->byId(m_identity.task);
    if (!task)
        return FileCode::NoRecord;
    if (task->result == farm::Cancelled)
        return FileCode::Cancelled;
    if (!task->keys.contains(cleanKey(m_identity.key)))
        m_core.violation(QStringLiteral("task %1 has no file %2").arg(task->id).arg(m_identity.key));
    constexpr int Few = 100; // beyond, the look would cost more than it tells
    for (int i = 0; i < task->files.size() && task->files.size() < Few; ++i) {
        const QJsonObject file = task->files.at(i).toObject();
        if (cleanKey(file.value("path").toString()) == cleanKey(m_identity.key) && file.value("id").toInt() != id)
            m_core.violation(
                QStringLiteral("file %1 of task %2 is asked for as %3").arg(m_identity.key).arg(task->id).arg(id));
    }
    return 0;
}

void FileLink::commit(const QJsonObject &body)
{
    if (!body.value("lastModified").isDouble())
        m_core.violation(QStringLiteral("upload commit without lastModified"));
    const qint64 code = m_core.faults.number(QStringLiteral("commit-code"));
    if (code >= 0)
        return reply(2, int(code));
    if (!m_asked || m_core.store->received(m_identity) != m_identity.wireSize) {
        m_core.violation(QStringLiteral("commit of a file that isn't whole"));
        return reply(2, FileCode::WriteFailed);
    }
    m_file.close();
    QPointer<FileLink> self(this);
    m_core.store->finish(m_identity, [self](int answer) {
        if (!self)
            return;
        const bool kept = answer != FileCode::Arrived || self->arrived();
        self->reply(2, kept ? answer : int(FileCode::WriteFailed));
    });
}

bool FileLink::arrived()
{
    ++m_core.counters.filesReceived;
    if (m_identity.task == 0)
        return m_core.drive->arrived(m_farm, m_identity.place, m_identity.size, m_identity.mtime);
    if (Task *task = m_core.tasks->byId(m_identity.task))
        m_core.tasks->markHere(*task, cleanKey(m_identity.key));
    m_core.event(QStringLiteral("upload %1 %2").arg(m_identity.size).arg(m_identity.key));
    return true;
}

void FileLink::beginData()
{
    m_dataGood = false;
    m_dataCode = FileCode::WriteFailed;
    m_state = m_left > 0 ? Data : Head;
    if (!m_asked) {
        m_core.violation(QStringLiteral("chunk without an ask"));
        m_state = Skip;
    } else if (!m_mayData) {
        m_core.violation(QStringLiteral("chunk without an ask of its own, or of a whole file"));
        m_state = Skip;
    } else if (const qint64 code = m_core.faults.number(QStringLiteral("data-code")); code >= 0) {
        m_dataCode = int(code);
        m_state = Skip;
    } else if (m_core.faults.happens(QStringLiteral("drop-chunk"))) {
        m_dataCode = FileCode::ChunkKept;
        m_state = Skip;
    } else if (m_frame.offset < 0 || m_frame.offset > m_core.store->received(m_identity) ||
               m_frame.offset + m_left > m_identity.wireSize) {
        m_core.violation(QStringLiteral("chunk %1+%2 of %3, %4 bytes here")
                             .arg(m_frame.offset)
                             .arg(m_left)
                             .arg(m_identity.wireSize)
                             .arg(m_core.store->received(m_identity)));
        m_dataCode = FileCode::TooMuch;
        m_state = Skip;
    } else {
        m_file.setFileName(m_core.store->partPath(m_identity));
        m_dataGood = m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && m_file.seek(m_frame.offset);
        m_state = m_dataGood ? Data : Skip;
    }
    m_mayData = false;
    if (m_cutUp == -2)
        m_cutUp = m_core.faults.number(QStringLiteral("cut-upload"));
    if (m_pace < 0 && (m_pace = m_core.faults.number(QStringLiteral("slow-upload"))) >= 0) {
        m_socket->setReadBufferSize(65536);
        m_paceTimer.start();
    }
    if (m_left == 0)
        endData();
}

bool FileLink::readData()
{
    qint64 want = qMin<qint64>(m_left, 1 << 20);
    if (m_pace >= 0)
        want = qMin(want, qMax<qint64>(1, m_pace / 10));
    if (m_cutUp >= 0 && m_state == Data)
        want = qMin(want, m_cutUp);
    const QByteArray bytes = m_socket->read(want);
    if (m_state == Data) {
        m_dataGood = m_dataGood && m_file.write(bytes) == bytes.size();
        m_core.counters.bytesUp += bytes.size();
        if (m_cutUp >= 0 && (m_cutUp -= bytes.size()) == 0) {
            m_core.event(QStringLiteral("cut an upload"));
            drop();
            return false;
        }
    }
    m_left -= bytes.size();
    m_got += bytes.size();
    if (m_left == 0)
        endData();
    return !bytes.isEmpty() && (m_pace < 0 || m_left == 0);
}

void FileLink::endData()
{
    const bool kept = m_state == Data, answer = kept || m_dataCode != 0;
    m_state = Head;
    m_file.close();
    if (answer)
        reply(1, kept && m_dataGood ? FileCode::ChunkKept : m_dataCode != 0 ? m_dataCode : FileCode::WriteFailed);
}

} // namespace farm
