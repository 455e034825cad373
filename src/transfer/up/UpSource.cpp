#include "transfer/up/UpSource.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "io/SourceFile.h"
#include <QDateTime>
#include <QFileInfo>

bool UpSource::initUp()
{
    makeTimers();
    m_sendPath = VFunc::followLinks(m_up.lpath);
    m_up.isLink = m_sendPath != m_up.lpath;
    const QString path = m_transType == 2 ? m_up.remotePath : QFileInfo(m_up.lpath).absoluteFilePath();
    const SourceFile known = SourceFile::of(path, m_up.size, m_up.modtime);
    m_key = known.key;
    m_diskKey = known.diskKey;
    if (!measure())
        return false;
    setTotal(m_up.size);
    if (QFileInfo(m_sendPath).absolutePath().size() > MaxFolder) {
        failUp(TransSet::PathTooLong);
        return false;
    }
    const bool replaces = m_transType == 2 && !m_up.hash.isEmpty(); // a file of the drive that has other bytes
    if (UserInfo::upHash() != 1 && !replaces)
        return true;
    m_eTag = TransSet::fileHash(m_sendPath, closed);
    if (closed) {
        finishUp(TransSet::Dropped);
        return false;
    }
    if (m_eTag.isEmpty()) {
        failUp(TransSet::NoHash);
        return false;
    }
    m_up.hash = m_eTag;
    emit updateFile(1, m_up);
    return true;
}

// The row tells what was analysed; the server knows a file by size and time. Whatever differs now is another file.
bool UpSource::measure()
{
    const QFileInfo info(m_sendPath);
    if (!info.exists() || !info.isFile()) {
        failUp(TransSet::NoFile);
        return false;
    }
    const qint64 modified = info.lastModified().toMSecsSinceEpoch();
    if (modified == m_up.modtime && info.size() == m_up.size)
        return true;
    const bool first = m_up.modtime == 0;
    m_up.modtime = modified;
    m_up.size = info.size();
    m_up.hash.clear();
    setTotal(m_up.size);
    sourceChanged();
    emit updateFile(3, m_up);
    if (!first)
        failUp(TransSet::Changed);
    return first;
}
