#include "transfer/down/PartialFile.h"
#include "common/FileNames.h"
#include "common/platform/Platform.h"
#include "common/VFunc.h"
#include "common/WinUtil.h"
#include "transfer/down/TrailingHash.h"
#include "transfer/TransSet.h"
#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QFileInfo>

namespace
{
constexpr int MarkWidth = 10;
constexpr int MarkRead = 128; // more isn't ours

const QByteArray &thisStart()
{
    static const QByteArray mark = QByteArray::fromStdString(platform::bootMark());
    return mark;
}

QByteArray padded(qint64 position) { return QByteArray::number(position).rightJustified(MarkWidth, ' '); }

std::string raw(const QString &path) { return FileNames::native(path); }

qint64 fileSize(int fd)
{
    QFile file;
    return file.open(fd, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::DontCloseHandle) ? file.size() : -1;
}

QString shortened(const QString &target)
{
    constexpr int MostBytes = 255, Ending = 6;
    const QString name = target.mid(target.lastIndexOf('/') + 1);
    if (name.toUtf8().size() + Ending <= MostBytes)
        return target;
    return target.left(target.size() - name.size()) + name.left(40) +
           QString::fromLatin1(QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Md5).toHex());
}

std::unique_ptr<platform::Folder> folderOf(const QString &target, const QString &root, bool make,
                                           platform::Folder::Reason *reason)
{
    const QString folder = QFileInfo(target).path();
    if (root.isEmpty() && make)
        QDir().mkpath(folder);
    const QString from = root.isEmpty() ? folder : root;
    return platform::Folder::reach(raw(from), raw(folder.mid(from.size())), make, reason);
}

// Right behind a call that failed: whether for want of room, else the error that its place has.
int fullOr(int error) { return platform::noRoom() ? int(TransSet::DiskFull) : error; }

int settle(int fd) { return VFunc::syncFile(fd) ? 0 : fullOr(TransSet::AccessFailed); }
} // namespace

PartialFile::PartialFile(const QString &target, const QString &root)
    : m_target(target), m_root(root), m_name(QFileInfo(target).fileName()), m_temp(tempPath(target)),
      m_side(sidePath(target))
{
}

PartialFile::~PartialFile()
{
    if (m_temp.isOpen())
        keepNow();
    close();
}

QString PartialFile::tempPath(const QString &target) { return shortened(target) + ".xtemp"; }

QString PartialFile::sidePath(const QString &target) { return shortened(target) + ".vd"; }

void PartialFile::removeBoth(const QString &target, const QString &root)
{
    const QString name = QFileInfo(target).fileName();
    if (const auto folder = folderOf(target, root, false, nullptr)) {
        folder->remove(raw(tempPath(name)));
        folder->remove(raw(sidePath(name)));
    }
}

int PartialFile::open(qint64 size)
{
    m_size = size;
    if (const int bad = reach())
        return bad;
    int fd = m_folder->open(raw(tempPath(m_name)));
    m_grown = fd >= 0 ? fileSize(fd) : -1;
    if (m_grown < 0 || m_grown > size) { // a bigger one belongs to another version of the result
        if (fd >= 0)
            QFile().open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
        if (const int bad = openFresh())
            return bad;
    } else if (!m_temp.open(fd, QIODevice::ReadWrite | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        return TransSet::OpenFailed;
    }
    return openFiles();
}

int PartialFile::reach()
{
    platform::Folder::Reason reason;
    m_folder = folderOf(m_target, m_root, true, &reason);
    if (m_folder)
        return 0;
    qWarning().noquote() << "PartialFile::reach" << m_target << QString::fromStdString(reason.text);
    return reason.planted ? TransSet::NoFolder : reason.noRoom ? TransSet::DiskFull : TransSet::NotWritable;
}

int PartialFile::openFresh()
{
    m_folder->remove(raw(sidePath(m_name))); // it would speak of data that isn't there
    const int fd = m_folder->create(raw(tempPath(m_name)));
    const int refused = fd < 0 ? fullOr(TransSet::NotWritable) : int(TransSet::NotWritable);
    if (fd < 0 || !m_temp.open(fd, QIODevice::ReadWrite | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        qWarning().noquote() << "PartialFile::openFresh can't be made:" << m_temp.fileName() << refused;
        return refused;
    }
    m_grown = 0;
    const int bad = grow(qMin(m_size, Step));
    if (bad != 0)
        discard();
    return bad;
}

int PartialFile::openFiles()
{
    int fd = m_folder->open(raw(sidePath(m_name)));
    if (fd < 0 && m_size < MarkFrom) {
        m_sinceSync.start();
        return 0;
    }
    if (fd < 0)
        fd = m_folder->create(raw(sidePath(m_name)));
    const int refused = fd < 0 ? fullOr(TransSet::OpenFailed) : int(TransSet::OpenFailed);
    if (fd < 0 || !m_side.open(fd, QIODevice::ReadWrite | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        qWarning().noquote() << "PartialFile::openFiles" << m_side.fileName() << refused;
        close();
        return refused;
    }
    m_position = readMark();
    const bool stands = m_position == m_mark && m_sideSize <= padded(m_mark).size();
    if (!stands) {
        int bad = m_position > 0 ? settle(m_temp.handle()) : 0;
        if (bad == 0)
            bad = writeMark(m_position);
        if (bad != 0)
            return bad;
    }
    m_noted = m_position;
    m_sinceSync.start();
    return m_temp.seek(m_position) ? 0 : int(TransSet::AccessFailed);
}

// In steps, so that a size that a server made up takes nothing; all that is still to come has to fit above Spare, so
// that a full disk shows at the start.
int PartialFile::grow(qint64 upTo)
{
    if (upTo <= m_grown)
        return 0;
    const qint64 free = VFunc::freeSpace(m_target);
    const bool fits = free < 0 || m_size - m_grown <= free - Spare;
    const int result = fits ? WinUtil::createFixedSizeFile(m_temp.handle(), upTo) : -2;
    if (result == -2) {
        qWarning().noquote() << "PartialFile::grow no room for" << m_size << "bytes:" << m_target;
        return TransSet::DiskFull;
    }
    m_grown = upTo; // a file system that can't give room ahead takes the bytes as they come
    return 0;
}

// Where to go on. m_mark is what the file said (-1: nothing that holds), so that what doesn't hold is written anew.
qint64 PartialFile::readMark()
{
    const QList<QByteArray> lines = m_side.read(MarkRead).split('\n');
    const qint64 most = qMin(m_size, m_temp.size());
    bool number = false;
    m_mark = lines.first().trimmed().toLongLong(&number);
    m_sideSize = m_side.size();
    if (!number || m_sideSize > MarkRead || m_mark < 0 || m_mark > most) {
        m_mark = -1;
        return 0;
    }
    const QList<QByteArray> note = lines.value(1).simplified().split(' ');
    const qint64 noted = note.size() == 2 && note.at(1) == thisStart() ? note.at(0).toLongLong() : 0;
    return noted > m_mark && noted <= most ? noted : m_mark;
}

void PartialFile::trail(const std::atomic_bool &stop)
{
    if (m_size < TrailFrom || !m_temp.isOpen() || m_hash)
        return;
    const int fd = m_folder->open(raw(tempPath(m_name)), false);
    if (fd < 0)
        return; // hashed at the end then
    m_hash = std::make_unique<TrailingHash>(fd, m_size, stop);
    m_hash->advance(m_position);
}

int PartialFile::write(const char *data, qint64 length)
{
    if (m_position + length > m_grown) {
        if (const int bad = grow(qMin(m_size, qMax(m_grown, m_position + length) + Step)))
            return bad;
    }
    while (length > 0) {
        const qint64 done = m_temp.write(data, length);
        if (done <= 0) {
            const int refused = fullOr(TransSet::AccessFailed);
            qWarning().noquote() << "PartialFile::write" << m_temp.fileName() << m_temp.errorString();
            return refused;
        }
        m_position += done;
        data += done;
        length -= done;
    }
    if (m_hash)
        m_hash->advance(m_position);
    if (m_position - m_noted >= NoteStep) {
        if (const int bad = writeMark(m_mark))
            return bad;
    }
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
    m_sync = std::async(std::launch::async, [fd = m_temp.handle()] { return settle(fd); });
    return 0;
}

int PartialFile::keepNow()
{
    if (const int bad = takeSync(true))
        return bad;
    if (m_position == m_mark)
        return 0;
    const int bad = settle(m_temp.handle());
    return bad == 0 ? writeMark(m_position) : bad;
}

bool PartialFile::syncRunning() const
{
    return m_sync.valid() && m_sync.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

int PartialFile::takeSync(bool wait)
{
    if (!m_sync.valid() || (!wait && syncRunning()))
        return 0;
    const int bad = m_sync.get();
    if (bad == 0)
        return writeMark(m_syncing);
    qWarning().noquote() << "PartialFile::takeSync" << m_temp.fileName() << bad;
    return bad;
}

// synced: bytes that are on the medium; what is written beyond them is noted. In one write, which no kill can halve.
int PartialFile::writeMark(qint64 synced)
{
    if (!m_side.isOpen()) {
        m_mark = synced;
        m_noted = m_position;
        return 0;
    }
    QByteArray text = padded(synced);
    if (m_position > synced && !thisStart().isEmpty())
        text += '\n' + padded(m_position) + ' ' + thisStart();
    const bool shorter = text.size() < m_sideSize;
    if (!m_side.seek(0) || m_side.write(text) != text.size() || (shorter && !m_side.resize(text.size()))) {
        const int refused = fullOr(TransSet::AccessFailed);
        qWarning().noquote() << "PartialFile::writeMark" << m_side.fileName() << m_side.errorString();
        return refused;
    }
    m_sideSize = text.size();
    m_mark = synced;
    m_noted = m_position;
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
    int bad = takeSync(true);
    if (bad == 0 && m_ownSync)
        bad = settle(m_temp.handle());
    if (bad != 0)
        return bad;
    m_temp.close();
    const bool marked = m_side.isOpen();
    m_side.close();
    // First the number, then the name: data without a number is fetched again, a number without data would be believed.
    if (marked)
        m_folder->remove(raw(sidePath(m_name)));
    if (!m_folder->rename(raw(tempPath(m_name)), raw(m_name))) {
        const int refused = fullOr(TransSet::EndFailed);
        qWarning().noquote() << "PartialFile::finish rename:" << m_target << refused;
        return refused;
    }
    // The name too: the farm forgets a frame once it's told that it arrived.
    if (m_ownSync && !m_folder->sync()) {
        qWarning().noquote() << "PartialFile::finish sync:" << m_target;
        return TransSet::EndFailed;
    }
    return 0;
}

void PartialFile::discard()
{
    close();
    m_folder->remove(raw(tempPath(m_name)));
    m_folder->remove(raw(sidePath(m_name)));
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
