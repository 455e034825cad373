#include "resolve/XmlSource.h"
#include <algorithm>
#include <cstring>
#include <QDebug>

namespace
{
constexpr qint64 Block = 64 * 1024;

// How many bytes at the end could be the beginning of the mark.
int begun(const QByteArray &bytes, const QByteArray &mark)
{
    for (int length = mark.size() - 1; length > 0; --length) {
        if (bytes.endsWith(mark.left(length)))
            return length;
    }
    return 0;
}
} // namespace

XmlSource::XmlSource(QFile *file, const StopToken &stop, QTextCodec *codec, qint64 from, qint64 to)
    : m_file(file), m_stop(stop), m_decoder(codec ? codec->makeDecoder() : nullptr),
      m_left((to < 0 ? file->size() : to) - from)
{
    m_file->seek(from);
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

void XmlSource::attach(QXmlStreamReader *xml)
{
    xml->setDevice(this);
    xml->setEntityExpansionLimit(EntityLimit);
}

bool XmlSource::undecodable() const { return m_decoder && m_decoder->hasFailure(); }

bool XmlSource::refill()
{
    while (m_ready.isEmpty()) {
        const QByteArray raw = m_left > 0 && !m_stop.stopped() ? m_file->read(qMin(Block, m_left)) : QByteArray();
        m_left -= raw.size();
        if (raw.isEmpty()) {
            m_ready.swap(m_held); // what never became a mark
            m_held.clear();
            return !m_ready.isEmpty() && !m_stop.stopped();
        }
        const QByteArray decoded = m_decoder ? m_decoder->toUnicode(raw).toUtf8() : raw;
        if (undecodable() && !m_lenient)
            return false;
        m_ready = m_held + decoded;
        m_held.clear();
        if (m_tiles) {
            m_ready.replace(TileMark, "&lt;UDIM&gt;");
            m_held = m_ready.right(begun(m_ready, TileMark));
            m_ready.chop(m_held.size());
        }
    }
    return true;
}

qint64 XmlSource::readData(char *data, qint64 max)
{
    if (max <= 0 || !refill())
        return -1;
    const int length = int(qMin<qint64>(max, m_ready.size()));
    std::memcpy(data, m_ready.constData(), std::size_t(length));
    const auto isReference = [](char c) { return c == '&'; };
    m_references += std::count_if(data, data + length, isReference);
    m_ready.remove(0, length);
    if (!m_limited || m_references <= MaxReferences)
        return length;
    qWarning() << "XmlSource::readData more than" << MaxReferences << "references in a file with entities of its own";
    m_left = 0;
    m_ready.clear();
    m_held.clear();
    return -1;
}
