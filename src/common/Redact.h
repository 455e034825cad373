#pragma once
// Takes secrets out of what goes into a log: the values behind names such as password, token, sessionId and
// Authorization become "***", in JSON (also JSON within JSON text), in headers and in the queries of addresses. One
// function for all: the log's sink uses it on every line, and so does who sends a log away, since an older program may
// have written it. Any thread.
#include <QString>

QString redacted(const QString &text);
