#pragma once
// One question to the business server from a window, and its answer there: good, refused (with the code's text) or
// lost. The answer comes exactly once, on the main thread, while the guard lives; a reply after the deadline is
// dropped.
#include <functional>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>

class QObject;

class ServerCall
{
public:
    struct Answer {
        enum Kind { Good, Refused, Lost };
        Kind kind = Lost;
        int code = 0;
        QJsonDocument doc;
        bool good() const { return kind == Good; }
        QJsonObject object() const { return doc.object(); }
        QString text() const; // what to tell the user; empty where it's good
    };
    static constexpr int DeadlineMs = 10000;
    // good: the codes that mean success; empty: cmd * 100.
    static void ask(QObject *guard, int cmd, const QJsonObject &body, std::function<void(const Answer &)> then,
                    const QList<int> &good = {}, int deadlineMs = DeadlineMs);
    // A code in words with the number behind it: "余额不足 (1040002)".
    static QString codeText(int code);
};
