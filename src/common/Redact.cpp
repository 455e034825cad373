#include "common/Redact.h"
#include <QRegularExpression>

namespace
{
// The name, as far as a quote behind it, and the separator.
const QRegularExpression &names()
{
    static const QRegularExpression one(
        QStringLiteral("(?:passw(?:or)?d|psd|pwd|token|secret|authorization|sessionid)[\\w-]*\\\\*\"?\\s*[:=]\\s*"),
        QRegularExpression::CaseInsensitiveOption);
    return one;
}

int backslashesBefore(const QString &text, int at)
{
    int count = 0;
    while (at - count > 0 && text[at - count - 1] == QLatin1Char('\\'))
        ++count;
    return count;
}

// The end of the value that starts at from; *start: its first character behind a quote. A text that was cut ends it.
int valueEnd(const QString &text, int from, int *start)
{
    int quote = from;
    while (quote < text.size() && text[quote] == QLatin1Char('\\'))
        ++quote;
    if (quote < text.size() && text[quote] == QLatin1Char('"')) {
        // Text within text: a quote of the value itself has more backslashes than those around it.
        const int depth = quote - from;
        *start = quote + 1;
        for (int at = quote + 1; at < text.size(); ++at) {
            if (text[at] == QLatin1Char('"') && backslashesBefore(text, at) == depth)
                return at - depth;
        }
        return text.size();
    }
    static const QString scheme = QStringLiteral("Bearer "), ends = QStringLiteral(" \t\r\n&,;'\"\\{}[]()<>");
    if (text.midRef(from, scheme.size()).compare(scheme, Qt::CaseInsensitive) == 0)
        from += scheme.size();
    *start = from;
    while (from < text.size() && !ends.contains(text[from]))
        ++from;
    return from;
}
} // namespace

QString redacted(const QString &text)
{
    QString out;
    int done = 0;
    for (auto match = names().match(text); match.hasMatch(); match = names().match(text, done)) {
        int start = 0;
        const int end = valueEnd(text, match.capturedEnd(), &start);
        out += text.midRef(done, start - done);
        if (end > start)
            out += QLatin1String("***");
        done = end;
    }
    return done == 0 ? text : out + text.midRef(done);
}
