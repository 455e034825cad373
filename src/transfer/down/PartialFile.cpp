#include "transfer/down/PartialFile.h"
#include "common/VFunc.h"
#include "transfer/down/TrailingHash.h"
#include "transfer/TransSet.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>

namespace
{
constexpr int MarkWidth = 10;
constexpr int MarkRead = 64; // more isn't a number of ours
} // namespace

PartialFile::PartialFile(const QString &target) : m_target(target), m_temp(tempPath(target)), m_side(sidePath(target))
{
}

PartialFile::~PartialFile()
{
    if (m_temp.isOpen())
        keepNow();
    close();
}

QString PartialFile::tempPath(const QString &target) { return target + ".xtemp"; }

QString PartialFile::sidePath(const QString &target) { return target + ".vd"; }

void PartialFile::removeBoth(const QString &target)
{
    QFile::remove(tempPath(target));
    QFile::remove(sidePath(target));
}

int PartialFile::open(qint64 size)
{
    m_size = size;
    QDir().mkpath(QFileInfo(m_target).absolutePath());
    // A bigger file belongs to another version of the result; what it holds is of no use.
    if (QFileInfo(m_temp.fileName()).size() > size)
        removeBoth(m_target);
    if (!m_temp.exists()) {
        if (const int bad = openFresh(size))
            return bad;
    }
    return openFiles();
}

int PartialFile::openFresh(qint64 size)
{
    m_side.remove(); // it would speak of data that isn't there
    const int made = VFunc::createFixedSizeFile(m_temp.fileName(), size);
    if (made == 0)
        return 0;
    const qint64 free = VFunc::freeSpace(m_target);
    if (made == -2 && free >= 0 && free < size) {
        qWarning().noquote() << "PartialFile::open no room for" << size << "bytes:" << m_target;
        return TransSet::DiskFull;
    }
    if (m_temp.open(QIODevice::ReadWrite)) {
        m_temp.close();
        return 0;
    }
    qWarning().noquote() << "PartialFile::open" << m_temp.fileName() << m_temp.errorString();
    return TransSet::NotWritable;
}

int PartialFile::openFiles()
{
    for (QFile *file : {&m_temp, &m_side}) {
        if (file->open(QIODevice::ReadWrite | QIODevice::Unbuffered))
            continue;
        qWarning().noquote() << "PartialFile::open" << file->fileName() << file->errorString();
        close();
        return TransSet::OpenFailed;
    }
    m_position = readMark();
    if (m_position != m_mark && (!m_side.resize(0) || writeMark(m_position) != 0))
        return TransSet::AccessFailed;
    m_sinceSync.start();
    return m_temp.seek(m_position) ? 0 : int(TransSet::AccessFailed);
}

// Where to go on. m_mark is what the file said (-1: no number), so that a number that doesn't hold is written anew.
qint64 PartialFile::readMark()
{
    bool number = false;
    m_mark = QString::fromLatin1(m_side.read(MarkRead)).trimmed().toLongLong(&number);
    if (!number || m_side.size() > MarkRead)
        m_mark = -1;
    return m_mark >= 0 && m_mark <= qMin(m_size, m_temp.size()) ? m_mark : 0;
}

void PartialFile::trail(const std::atomic_bool &stop)
{
    if (m_size < TrailFrom || !m_temp.isOpen() || m_hash)
        return;
    m_hash = std::make_unique<TrailingHash>(m_temp.fileName(), m_size, stop);
    m_hash->advance(m_position);
}

int PartialFile::write(const char *data, qint64 length)
{
    while (length > 0) {
        const qint64 done = m_temp.write(data, length);
        if (done <= 0) {
            const bool full = m_temp.error() == QFileDevice::ResourceError;
            qWarning().noquote() << "PartialFile::write" << m_temp.fileName() << m_temp.errorString();
            return full ? TransSet::DiskFull : TransSet::AccessFailed;
        }
        m_position += done;
        data += done;
        length -= done;
    }
    if (m_hash)
        m_hash->advance(m_position);
    return keep();
}

int PartialFile::keep()
{
    if (const int bad = takeSync(false))
        return bad;
    if (syncRunning() || m_position == m_mark || m_sinceSync.elapsed() < KeepMs)
        return 0;
    m_syncing = m_position;
    m_sinceSync.start();
    m_sync = std::async(std::launch::async, [fd = m_temp.handle()] { return VFunc::syncFile(fd); });
    return 0;
}

int PartialFile::keepNow()
{
    if (const int bad = takeSync(true))
        return bad;
    if (m_position == m_mark)
        return 0;
    return VFunc::syncFile(m_temp.handle()) ? writeMark(m_position) : int(TransSet::AccessFailed);
}

bool PartialFile::syncRunning() const
{
    return m_sync.valid() && m_sync.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

int PartialFile::takeSync(bool wait)
{
    if (!m_sync.valid() || (!wait && syncRunning()))
        return 0;
    if (m_sync.get())
        return writeMark(m_syncing);
    qWarning().noquote() << "PartialFile::keep sync:" << m_temp.fileName();
    return TransSet::AccessFailed;
}

int PartialFile::writeMark(qint64 position)
{
    const QByteArray text = QByteArray::number(position).rightJustified(MarkWidth, ' ');
    if (!m_side.seek(0) || m_side.write(text) != text.size()) {
        qWarning().noquote() << "PartialFile::keep" << m_side.fileName() << m_side.errorString();
        return m_side.error() == QFileDevice::ResourceError ? TransSet::DiskFull : TransSet::AccessFailed;
    }
    m_mark = position;
    return 0;
}

int PartialFile::finish(const QString &hash, const std::atomic_bool &stop)
{
    if (m_temp.size() != m_size && !m_temp.resize(m_size))
        return TransSet::AccessFailed;
    if (!hash.isEmpty()) {
        const QString digest = m_hash ? m_hash->result() : TransSet::fileMD5(&m_temp, stop);
        if (stop)
            return Stopped;
        if (digest.isEmpty())
            return TransSet::NoHash;
        if (digest.compare(hash, Qt::CaseInsensitive) != 0) {
            qWarning().noquote() << "PartialFile::finish hash" << digest << "instead of" << hash << m_target;
            discard();
            return TransSet::BadHash;
        }
    }
    m_hash.reset();
    if (takeSync(true) != 0 || !VFunc::syncFile(m_temp.handle()))
        return TransSet::AccessFailed;
    close();
    // First the number, then the name: data without a number is fetched again, a number without data would be believed.
    m_side.remove();
    if (QFile::exists(m_target) && !QFile::remove(m_target)) {
        qWarning().noquote() << "PartialFile::finish remove:" << m_target;
        return TransSet::EndFailed;
    }
    if (!QFile::rename(m_temp.fileName(), m_target)) {
        qWarning().noquote() << "PartialFile::finish rename:" << m_target;
        return TransSet::EndFailed;
    }
    return 0;
}

void PartialFile::discard()
{
    close();
    removeBoth(m_target);
}

void PartialFile::close()
{
    m_hash.reset();
    if (m_sync.valid())
        m_sync.wait();
    m_sync = {};
    m_temp.close();
    m_side.close();
}
