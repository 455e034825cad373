#pragma once
// One file on its way into the store: looked for there first, then sent in one piece or in parts, several at a time,
// each kept in the check point once the store has it. run() blocks and belongs on a thread of its own; stop() and
// sent() may be called from any thread. A stopped job leaves its check point and the store's parts for the next one.
#include "CheckPoint.h"
#include "S3Client.h"
#include "SourceFile.h"
#include "StoreDescription.h"
#include <atomic>
#include <mutex>
#include <QJsonObject>

class UploadJob
{
public:
    static constexpr qint64 LeastPart = 5 * 1024 * 1024; // no store takes less, but for the last one
    static constexpr qint64 MostPart = 5LL * 1024 * 1024 * 1024;
    static constexpr int MostParts = 10000; // no store takes more

    // The "upload" message. error() is OssError::Done when it can be run.
    explicit UploadJob(const QJsonObject &message, int sourceLimitMs = SourceFile::LimitMs);
    int error() const { return m_error; }
    QString rule() const { return m_rule; }

    int run(); // an OssError::Code; Stopped after stop()
    void stop() { m_stop = true; }
    qint64 sent() const; // bytes of the file that the store has or is being given
    QString lastError() const;
    static qint64 partSize(qint64 wanted, qint64 fileSize);

private:
    int confirm(S3Client *store);
    int sendWhole(S3Client *store);
    int sendParts(S3Client *store);
    int resume(S3Client *store); // begins where the check point doesn't hold; Done when parts can be sent
    int sendMissing();           // on m_threads threads
    int partWorker();            // takes one number after the other
    int takePart(int number, const QByteArray &eTag);
    int unchanged(); // Done, FileChanged or what keeps it from looking
    S3Client::Meta meta() const;
    qint64 sizeOf(int number) const;
    int fail(int code, const QString &words);

    int m_error = 0;
    QString m_file, m_link, m_rule, m_checkPath, m_key, m_eTag;
    bool m_cover = false, m_doubt = false; // doubt: the last try lost contact, or "resumable": the check point is
                                           // checked against the store first
    qint64 m_wantedPart = 0;
    int m_threads = 2, m_sourceLimitMs;
    StoreDescription m_store;

    std::atomic_bool m_stop{false};
    std::atomic<qint64> m_whole{0}; // bytes of parts that are through
    mutable std::mutex m_mutex;     // the members below
    QMap<int, qint64> m_moving;     // part -> bytes on the way
    CheckPoint m_check;
    int m_next = 1;
    QString m_words;
};
