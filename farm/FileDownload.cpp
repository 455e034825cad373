// A file link that gives a file out: a result, whose reader knows its size and closes the link, or a log.
#include "Core.h"
#include "FileServer.h"
#include <QDir>

namespace farm
{

void FileLink::download(const QJsonObject &body)
{
    if (!body.value("path").isString() || !body.value("startPoint").isDouble())
        m_core.violation(QStringLiteral("download ask: path or startPoint missing"));
    const qint64 code = m_core.faults.number(QStringLiteral("download-code"));
    if (code >= 0)
        return reply(0, int(code));
    const QString path = body.value("path").toString();
    const QString whole = QDir::cleanPath(m_core.options.dir + QLatin1Char('/') + path);
    m_log = whole.startsWith(m_core.options.dir + QStringLiteral("/logs/"));
    if ((!m_log && !whole.startsWith(m_core.options.dir + QStringLiteral("/results/"))) ||
        path.contains(QStringLiteral(".."))) {
        m_core.violation(QStringLiteral("download of %1").arg(path));
        return reply(0, FileCode::NoFile);
    }
    m_file.setFileName(whole);
    if (!m_file.open(QIODevice::ReadOnly))
        return reply(0, FileCode::NoFile);
    const qint64 start = body.value("startPoint").toVariant().toLongLong();
    if (start < 0 || start > m_file.size() || !m_file.seek(start)) {
        m_file.close();
        return reply(0, FileCode::StartTooFar);
    }
    m_sendLeft = m_file.size() - start;
    m_cutDown = m_core.faults.number(QStringLiteral("cut-download"));
    m_corrupt = m_core.faults.happens(QStringLiteral("corrupt-download"));
    m_pace = m_core.faults.number(QStringLiteral("slow-download"));
    m_core.event(QStringLiteral("download %1+%2 %3").arg(start).arg(m_sendLeft).arg(path));
    m_state = Sending;
    reply(0, FileCode::DataFollows);
    if (m_pace >= 0)
        m_paceTimer.start();
    pump();
}

void FileLink::pump()
{
    if (m_state != Sending || m_held)
        return;
    while (m_sendLeft > 0 && m_socket->bytesToWrite() < FileWindow) {
        qint64 want = qMin<qint64>(m_sendLeft, 1 << 20);
        if (m_pace >= 0)
            want = qMin(want, sender() == &m_paceTimer ? qMax<qint64>(1, m_pace / 10) : 0);
        if (m_cutDown >= 0)
            want = qMin(want, m_cutDown);
        QByteArray bytes = m_file.read(want);
        if (bytes.isEmpty())
            break;
        if (m_corrupt)
            bytes[0] = char(~bytes.at(0));
        m_corrupt = false;
        m_socket->write(bytes);
        m_sendLeft -= bytes.size();
        m_core.counters.bytesDown += bytes.size();
        if (m_cutDown >= 0)
            m_cutDown -= bytes.size();
        if (m_pace >= 0)
            break;
    }
    if (m_log && m_sendLeft == 0)
        m_socket->disconnectFromHost(); // once all is written: nothing else tells where a log ends for now
    if (m_cutDown == 0 && m_sendLeft > 0 && m_socket->bytesToWrite() == 0) {
        m_core.event(QStringLiteral("cut a download"));
        drop();
    }
}

} // namespace farm
