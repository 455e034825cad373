#pragma once
// Uploads one file of an order to an object store, on a thread of ThreadPool: the companion program beside the client
// does it and tells how far it is; then the business server is told that the file is there. All workers share the
// companion, each over a link of its own, and know their answers by the rule. What was sent is the companion's to keep
// (its check point file in the account's folder), so a worker that is dropped only says "pause".
//
// To the companion: compact JSON objects, each beginning with the secret. From it: 8 decimal digits, the length in
// bytes, then that many bytes of JSON; "uploading" with the bytes that are over, "uploadFinish" with the code.
//
//   upReq -> upload -> uploading ... -> uploadFinish 200 -> 10703 -> done
//                      30 s without a word -> 10010, which the next try passes on as 203
#include "io/LocalSocket.h"
#include "transfer/up/UpSource.h"
#include <QJsonObject>

class UpOss : public UpSource
{
    Q_OBJECT
public:
    static constexpr int ReportMs = 30000;
    static constexpr int MessageCeiling = 1024 * 1024; // of one message of the companion
    static constexpr int PartSize = 2097152, Threads = 2;
    // What the companion tells of the store itself; the texts are in TransSet::errorText.
    enum StoreError { AccessDenied = 120003, KeysExpired = 120006, StoreBusy = 120007, UploadForgotten = 120008 };

    // store: the farm's description with "socketPort" and "backerror". auth: what the companion wants to hear first.
    // silenceMs: without a word of the companion the file is tried again.
    UpOss(std::shared_ptr<TransShare> share, const QJsonObject &store, const QByteArray &auth, int silenceMs);
    ~UpOss() override;

    void upReq(db_upfile file) override;
    void finishUp(int kind) override;
    static void removeUnwanted(); // check points of files that no order is to upload any more
    static void removeOld();      // check points that nobody has gone on with for a month: stores forget them too

private slots:
    void readyRead(QByteArray data);
    void finished(int code);

private:
    void tell(const QJsonObject &message);
    void take(const QJsonObject &message);
    QString checkPoint() const;

    LocalSocket *m_link = nullptr;
    QJsonObject m_store;
    const int m_silenceMs;
    QByteArray m_auth, m_buffer;
    bool m_started = false, m_done = false; // asked to upload; the object is there
};
