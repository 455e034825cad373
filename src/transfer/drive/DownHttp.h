#pragma once
// Fetches one file of a drive by ranges over HTTP, on a thread of ThreadPool: "/files/ID/data" below the farm's
// address, 262,145 bytes at a time, over a long line the next range asked for while one arrives. Continues the partial
// file where it stands, so a lost connection costs what was under way. Life as in TransWork; what it tells is
// DownWorkFinished, exactly once.
//
//   downReq -> the file is there already: over
//           -> initDown -> request ... -> every byte there -> fileHash -> finished
//
// The first answer tells the size behind the "/" of X-Content-Range: it wins over the row's, and what was begun with
// another size begins again. The hash is the row's, else that of an ETag, else there is none and the size must do. A
// server that answers a range with the whole file (200) is read from there.
#include "transfer/down/DownTarget.h"
#include <QElapsedTimer>
#include <QNetworkReply>

class WebRead;

class DownHttp : public DownTarget
{
    Q_OBJECT
public:
    explicit DownHttp(std::shared_ptr<TransShare> share);

    // Before the worker is moved. root: the local folder of the batch. same: a file that stands there with this size
    // and hash is the one that is wanted. ask: another one isn't touched, see `conflict`.
    void setSource(int fileType, const QString &root, bool same, bool ask);
    void downReq(db_downfile file); // the first call, queued; path is the chain of ids

    std::atomic_bool stale{false};    // the access token wasn't good
    std::atomic_bool astray{false};   // a page, or another address, in place of the file
    std::atomic_bool conflict{false}; // another file stands there; ended as dropped

    static constexpr int WaitMs = 15000;
    static constexpr qint64 RangeStep = 262144;              // both ends of a range count
    static constexpr int CrawlMs = 60000, CrawlBytes = 4096; // what comes slower than this is given up for now
    static constexpr int MostScanty = 64; // answers in a row that end with fewer than CrawlBytes of their range
    // An answer that begins later than this came over a long line: the next range is asked for while one arrives. Where
    // answers come at once it would only be lost with the connection, too.
    static constexpr int FarMs = 20;

private slots:
    void readyRead();
    void replyFinish();
    void error(QNetworkReply::NetworkError error);

private:
    struct Range {
        WebRead *reply = nullptr;
        qint64 from = 0, to = 0;
        bool alone = false; // nothing was in hand when it was asked for
        QElapsedTimer asked;
    };
    bool initDown() override;
    QString root() const override { return m_root; }
    void dropLink() override { dropRanges(); }
    bool syncedByOwner() const override;
    bool standsAlready();
    void finishDown(int kind) override;
    void request();
    bool takeHead(); // of the first range in hand; false: the worker has ended or began again
    bool takeSize(qint64 size);
    bool crawls();
    bool isPiece(const Range &range, const QByteArray &told) const;
    void takeBytes();
    void dropRanges(int kept = 0); // those behind the first ones
    void tooLittle(qint64 got);
    bool refusedByCode();

    int m_fileType = 1;
    qint64 m_listed = -1;     // the size before the drive told another one
    bool m_confirmed = false; // it has told that again
    QString m_root;
    bool m_same = false, m_ask = false, m_sized = false;
    QList<Range> m_ranges; // in the order of the file
    qint64 m_asked = 0;    // the file's bytes up to here are asked for
    bool m_headRead = false, m_whole = false;
    qint64 m_skip = 0;               // bytes of a whole file that are here already
    qint64 m_left = 0;               // bytes that the range in hand may still bring
    int m_stalled = 0, m_scanty = 0; // answers in a row without a byte, with hardly any
    QElapsedTimer m_crawl;
    qint64 m_crawlFrom = 0;
    QByteArray m_block;
};
