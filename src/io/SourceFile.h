#pragma once
// A file of an order as the farm's storage service knows it, and the question whether the service has it
// ("/sourceFiles"). Values; nothing here touches disk or network. Any thread.
#include <QString>

struct SourceFile {
    // The answer's code; others refuse.
    enum Answer { Here = 101401, NotHere = 101402, OrderOver = 1070006 };

    QString key, diskKey;          // diskKey: as the account's drive tells case apart
    qint64 size = 0, modified = 0; // bytes; ms since the epoch

    static SourceFile of(const QString &absolutePath, qint64 size, qint64 modified);
    static QString relative(const QString &path); // no ":", no leading "/"
    static constexpr int NoTask = -1;             // it's no order's question, and nothing is booked for it
    // Address of the question. mark: the asker's own word.
    QString question(const QString &server, int taskId, const QString &eTag, const QString &mark) const;
};
