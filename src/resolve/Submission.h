#pragma once
// Sends the orders of committed rows, (104, 10400), and turns each reply into rows of the upload store. Lives on the
// queue's thread, a part of ResolveHandler.
//
//   Committed -> step(): Submitting, sent -> good reply -> rows in the upload store -> UploadWaiting
//                            refusal, or no reply within 60 s -> SubmitFailed (a late good reply still counts)
//                            link lost -> Committed, as after a restart
#include "db/Records.h"
#include "io/Ask.h"
#include "resolve/OrderMessage.h"
#include <QElapsedTimer>
#include <QMap>
#include <QObject>

class Submission : public QObject
{
    Q_OBJECT
public:
    explicit Submission(QObject *parent = nullptr);
    void step();                 // the next row, one a scan; also times out what got no reply
    void forget(qlonglong rkey); // the row is gone
    void setReplyMs(int ms) { m_replyMs = ms; }

private:
    struct Sent {
        int attempt = 0;
        QElapsedTimer since;
        bool late = false;
        QList<OrderMessage::File> files;
    };
    struct Accepted {
        QList<db_upfile> rows;
        qlonglong bytes = 0;
        int filetype = 0;
    };
    void send(const db_resolve &row);
    void lost(qlonglong rkey, int attempt, Ask::Loss why);
    void replied(qlonglong rkey, int attempt, int val, const QJsonObject &reply);
    Accepted uploadRows(const db_resolve &row, const QList<OrderMessage::File> &files, const QJsonObject &reply) const;
    bool store(qlonglong rkey, const Accepted &accepted);
    void timeOut();

    QMap<qlonglong, Sent> m_sent;
    QMap<qlonglong, Accepted> m_accepted; // replies whose rows couldn't be stored yet
    int m_attempts = 0;
    int m_replyMs = 60000;
};
