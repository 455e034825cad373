#include "Show.h"
#include <cstdio>
#include <QJsonDocument>
#include <QVector>
#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace
{
void out(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    fflush(stdout);
}

// What comes from elsewhere mustn't steer the terminal.
QString plain(const QJsonValue &value)
{
    QString text = value.toVariant().toString();
    for (QChar &one : text)
        if (one.category() == QChar::Other_Control)
            one = ' ';
    return text;
}

int width(const QString &text) // of cells: Chinese takes two
{
    int cells = 0;
    for (QChar one : text)
        cells += one.unicode() >= 0x1100 ? 2 : 1;
    return cells;
}
} // namespace

Show::~Show() { endLine(); }

bool Show::terminal()
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stdout));
#else
    return isatty(STDOUT_FILENO);
#endif
}

void Show::endLine()
{
    if (m_open)
        out(QStringLiteral("\n"));
    m_open = false;
}

void Show::value(const QJsonValue &value)
{
    const QJsonDocument doc = value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    out(QString::fromUtf8(doc.toJson(m_json ? QJsonDocument::Compact : QJsonDocument::Indented)).trimmed() + '\n');
}

void Show::table(const QJsonArray &rows, const QStringList &columns)
{
    QList<QStringList> lines{{}};
    QVector<int> widths;
    for (const QString &column : columns)
        lines[0] << column.section(':', -1);
    for (const QJsonValue &row : rows) {
        lines << QStringList();
        for (const QString &column : columns)
            lines.last() << plain(row[column.section(':', 0, 0)]);
    }
    widths.resize(columns.size());
    for (const QStringList &cells : qAsConst(lines))
        for (int i = 0; i < cells.size(); ++i)
            widths[i] = qMax(widths[i], width(cells[i]));
    for (const QStringList &cells : qAsConst(lines)) {
        QString text;
        for (int i = 0; i < cells.size(); ++i)
            text += cells[i] + QString(widths[i] - width(cells[i]) + 2, ' ');
        out(text.trimmed() + '\n');
    }
}

void Show::progress(const QString &what, int done, int total, QJsonObject more)
{
    const QString text = QStringLiteral("%1 %2/%3").arg(plain(what)).arg(done).arg(total);
    if (text == m_last)
        return;
    m_last = text;
    if (m_json) {
        more["state"] = what;
        more["done"] = done;
        more["total"] = total;
        value(more);
        return;
    }
    const int filled = total > 0 ? qBound(0, int(30LL * done / total), 30) : 0;
    out(QStringLiteral("\r\x1b[K[%1%2] %3").arg(QString(filled, '#'), QString(30 - filled, '.'), text));
    m_open = true;
}

void Show::station(const QString &what, QJsonObject more)
{
    if (what == m_last)
        return;
    m_last = what;
    endLine();
    if (m_json) {
        more["state"] = what;
        value(more);
    } else {
        out(plain(what) + '\n');
    }
}

void Show::complain(const QString &text)
{
    endLine();
    fprintf(stderr, "vandrelctl: %s\n", plain(text).toUtf8().constData());
}
