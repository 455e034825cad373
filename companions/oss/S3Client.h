#pragma once
// Requests to one S3 store over libcurl, signed with version 4. One object serves one thread; a call returns when the
// answer is there, the stop flag was raised (within a second) or nothing moved for half a minute. What passes by
// itself (a lost connection, 500, 503) is tried again with growing pauses. Bodies are sent with an unsigned payload and
// checked by the store against their Content-MD5.
#include "StoreDescription.h"
#include <atomic>
#include <functional>
#include <QList>
#include <QMap>
#include <QPair>

class SourceFile;

class S3Client
{
public:
    // stop: raised by another thread to end every call with OssError::Stopped. Owned by the caller, outlives this.
    S3Client(StoreDescription store, const std::atomic_bool *stop);
    ~S3Client();
    S3Client(const S3Client &) = delete;
    S3Client &operator=(const S3Client &) = delete;

    using Meta = QMap<QByteArray, QByteArray>; // names without "x-amz-meta-", values ASCII
    struct Head {
        bool there = false;
        qint64 size = 0;
        Meta meta;
    };
    struct Part {
        int number = 0;
        QByteArray eTag;
    };
    using Moved = std::function<void(qint64 bytes)>; // sent so far of this body, on the calling thread

    // Each answers an OssError::Code, Done on success; bodies come from an open source. AccessDenied of head() may only
    // mean that these keys may write and not look.
    int head(const QString &key, Head *answer);
    int put(const QString &key, SourceFile *body, qint64 size, const Meta &meta, const Moved &moved);
    int begin(const QString &key, const Meta &meta, QString *uploadId);
    int part(const QString &key, const QString &uploadId, int number, SourceFile *file, qint64 from, qint64 size,
             const Moved &moved, QByteArray *eTag);
    int parts(const QString &key, const QString &uploadId, QMap<int, QByteArray> *there); // UploadForgotten: unknown
    int complete(const QString &key, const QString &uploadId, const QMap<int, QByteArray> &parts);
    int abort(const QString &key, const QString &uploadId);
    QString lastError() const { return m_error; } // of the last call that failed; never holds a key

private:
    struct Body {
        SourceFile *file = nullptr;
        qint64 from = 0, size = 0;
        QByteArray text; // where there is no file
    };
    struct Answer {
        long status = 0;
        QByteArray text;
        QMap<QByteArray, QByteArray> heads; // names in lower case
    };
    using Items = QList<QPair<QByteArray, QByteArray>>;
    int ask(const char *verb, const QString &key, Items query, const Body &body, const Items &heads, const Moved &moved,
            Answer *answer);
    int once(const char *verb, const QByteArray &url, const Body &body, const Items &heads, const Moved &moved,
             Answer *answer);
    int judge(const Answer &answer);
    bool rest(int ms) const; // false: stopped meanwhile
    static Items metaHeads(const Meta &meta);

    StoreDescription m_store;
    const std::atomic_bool *m_stop;
    void *m_curl;
    QString m_error;
};
