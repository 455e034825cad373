#pragma once
// A log that lies in a file and may still grow, read by lines without holding it: an index remembers where every
// StrideLines-th line begins, a line's text is read when it's asked for. Lines end with LF, CR LF or CR LF of UTF-16
// where a mark at the front says so. Any thread; scan() and find() read for long and belong off the window's thread,
// the others read some KiB. A file that has become shorter, or no longer holds what was read last and first of it, is
// begun anew: shrunk() tells once.
#include <atomic>
#include <memory>
#include <mutex>
#include <QByteArray>
#include <QFile>
#include <QRegularExpression>
#include <QString>
#include <vector>

class LogFile
{
public:
    static constexpr int StrideLines = 64;
    static constexpr int MostChars = 4000; // shown of one line; the rest is told by its length
    enum class Coding { Utf8, Utf16le, Utf16be, Gb18030, Latin1 };

    explicit LogFile(const QString &path);
    QString path() const { return m_path; }

    // Indexes on from where it stands, at most that many bytes; true while there is more to index at once.
    bool scan(qint64 most);
    void restart();         // it's another file now, though nothing of it may tell
    bool shrunk();          // true once after the file was begun anew
    qint64 lines() const;   // known so far; the last one may have no end yet
    qint64 indexed() const; // bytes
    qint64 longest() const; // bytes of the longest line known
    Coding coding() const;
    void setCoding(Coding coding); // chosen by hand: kept over growth

    // Text of a line, at most MostChars, control characters shown as their pictures; empty beyond the end.
    QString line(qint64 number) const;
    QStringList lines(qint64 first, int count) const; // one read for all of them
    // The whole bytes of lines first to last, as they stand, for copying; at most `most` bytes.
    QByteArray bytes(qint64 first, qint64 last, qint64 most) const;
    // The first line from `from` on (or before it, backwards) that matches; -1: none, or stop was raised.
    qint64 find(const QRegularExpression &what, qint64 from, bool forward, const std::atomic_bool &stop) const;
    static Coding guess(const QByteArray &start);

private:
    struct Place {
        qint64 line = 0, offset = 0;
    };
    Place placeOf(qint64 line) const;              // the nearest indexed line at or before it
    QString decode(const QByteArray &bytes) const; // one line without its end
    int unit() const { return m_coding == Coding::Utf16le || m_coding == Coding::Utf16be ? 2 : 1; }
    qint64 nextEnd(const QByteArray &block, qint64 from) const; // place behind the next line's end, -1: none in it
    void begin();
    bool same(QFile *file) const; // what was read of it still stands there
    void note(const QByteArray &block);
    template <class Take> void walk(qint64 first, qint64 count, qint64 mostOfLine, Take take) const;

    QString m_path;
    mutable std::mutex m_mutex;   // everything below
    std::vector<qint64> m_starts; // of line 0, StrideLines, 2 * StrideLines ...
    qint64 m_lines = 0;           // line ends seen
    qint64 m_at = 0;              // indexed so far
    qint64 m_lineStart = 0, m_longest = 0;
    Coding m_coding = Coding::Utf8;
    QByteArray m_head, m_tail; // the first bytes, and the last ones before m_at
    bool m_known = false, m_chosen = false, m_shrunk = false;
};
