#include "transfer/down/DownTarget.h"
#include <QDebug>

bool DownTarget::initDown()
{
    makeTimers();
    setTotal(m_down.size);
    m_partial = std::make_unique<PartialFile>(m_down.lpath, root());
    if (syncedByOwner())
        m_partial->setSyncedByOwner();
    if (const int bad = m_partial->open(m_down.size)) {
        m_partial.reset();
        failDown(bad);
        return false;
    }
    feedSpeed(m_partial->position());
    if (m_partial->position() == m_down.size) {
        fileHash();
        return false;
    }
    if (!m_down.hash.isEmpty())
        m_partial->trail(closed);
    if (m_down.size > Unkept && !m_keepTimer) {
        m_keepTimer = new QTimer(this);
        connect(m_keepTimer, &QTimer::timeout, this, [this] {
            if (const int bad = over() || !m_partial ? 0 : m_partial->keep())
                failDown(bad);
        });
        m_keepTimer->start(PartialFile::KeepMs);
    }
    return true;
}

bool DownTarget::take(const char *data, qint64 length)
{
    received += length;
    const int bad = m_partial->write(data, length);
    if (bad != 0)
        failDown(bad);
    return bad == 0;
}

void DownTarget::discard()
{
    m_partial->discard();
    m_partial.reset();
}

bool DownTarget::fileHash()
{
    stopWait();
    const int result = m_partial->finish(m_down.hash, closed);
    if (result == 0)
        finishDown(TransSet::Done);
    else if (result == PartialFile::Stopped)
        finishDown(TransSet::Dropped);
    else
        failDown(result);
    return result == 0;
}

void DownTarget::close()
{
    if (m_keepTimer)
        m_keepTimer->stop();
    dropLink();
    m_partial.reset();
}

void DownTarget::finishDown(int kind)
{
    qDebug().noquote() << "DownTarget::finishDown"
                       << QStringLiteral("关闭下载:%1_%2").arg(m_workKey, TransSet::errorText(m_down.error));
    close();
    TransWork::finishDown(kind);
}

void DownTarget::dropPartial()
{
    end();
    close();
    if (const QString below = root(); !below.isEmpty())
        PartialFile::removeBoth(m_down.lpath, below);
}
