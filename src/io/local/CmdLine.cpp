#include "io/local/CmdLine.h"
#include <QRegularExpression>

namespace
{
QString decoded(const QString &text) { return QString::fromUtf8(QByteArray::fromPercentEncoding(text.toUtf8())); }

void setPath(CmdLine *line, QString path)
{
    while (path.contains("//"))
        path.replace("//", "/");
    const QString prefix = QStringLiteral("/readable");
    if (path.startsWith(prefix)) {
        line->readable = true;
        path.remove(0, prefix.size());
    }
    line->path = path;
}

void addArgs(CmdLine *line, const QString &text, bool encoded)
{
    static const QRegularExpression cut(QStringLiteral("[?&]"));
    for (const QString &piece : text.split(cut, Qt::SkipEmptyParts)) {
        const int equals = piece.indexOf('=');
        const QString key = equals < 0 ? piece : piece.left(equals),
                      value = equals < 0 ? QString() : piece.mid(equals + 1);
        line->args.append({encoded ? decoded(key) : key.trimmed(), encoded ? decoded(value) : value.trimmed()});
    }
}
} // namespace

CmdLine CmdLine::fromTarget(const QString &target, const QByteArray &body)
{
    CmdLine line;
    const int query = target.indexOf('?');
    setPath(&line, query < 0 ? target : target.left(query));
    if (query >= 0)
        addArgs(&line, target.mid(query + 1), true);
    line.body = body;
    return line;
}

CmdLine CmdLine::fromWords(const QString &words)
{
    CmdLine line;
    QString rest = words;
    const QString mark = QStringLiteral("-post=");
    if (const int post = rest.indexOf(mark); post >= 0) {
        line.body = rest.mid(post + mark.size()).toUtf8();
        rest.truncate(post);
    }
    const int dash = rest.indexOf('-');
    if (dash >= 0) {
        addArgs(&line, rest.mid(dash + 1).replace(QLatin1String(" -"), QLatin1String("&")), false);
        rest.truncate(dash);
    }
    QString path;
    for (const QString &word : rest.split(' ', Qt::SkipEmptyParts))
        path += '/' + word;
    setPath(&line, path);
    return line;
}

QString CmdLine::arg(const QString &key, const QString &fallback) const
{
    for (const auto &one : args)
        if (one.first == key)
            return one.second;
    return fallback;
}

bool CmdLine::has(const QString &key) const
{
    for (const auto &one : args)
        if (one.first == key)
            return true;
    return false;
}

QStringList CmdLine::list(const QString &one, const QString &many) const
{
    QStringList out;
    for (const QString &token : (arg(one) + ',' + arg(many)).split(',', Qt::SkipEmptyParts)) {
        const QString entry = token.mid(token.indexOf('=') + 1).trimmed();
        if (!entry.isEmpty())
            out.append(entry);
    }
    return out;
}

QList<qlonglong> CmdLine::numbers(const QString &one, const QString &many, bool *tooLong) const
{
    static const QRegularExpression range(QStringLiteral("^(\\d{1,18})(?:\\s*-\\s*(\\d{1,18}))?$"));
    QList<qlonglong> out;
    *tooLong = false;
    for (const QString &entry : list(one, many)) {
        const QRegularExpressionMatch match = range.match(entry);
        if (!match.hasMatch())
            continue;
        const qlonglong first = match.captured(1).toLongLong();
        const qlonglong last = match.captured(2).isEmpty() ? first : match.captured(2).toLongLong();
        if (last - first >= MaxList - out.size()) {
            *tooLong = true;
            return {};
        }
        for (qlonglong number = first; number <= last; ++number)
            out.append(number);
    }
    return out;
}
