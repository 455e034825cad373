#include "resolve/BatchFile.h"
#include <QDebug>
#include <QFile>
#include <QRegularExpression>

BatchFile::BatchFile(bool windows) : m_windows(windows) {}

QString BatchFile::quoted(const QString &word) const
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9-]+$"));
    if (plain.match(word).hasMatch())
        return word;
    if (m_windows)
        return QLatin1Char('"') + QString(word).replace(QLatin1Char('%'), QLatin1String("%%")) + QLatin1Char('"');
    return QLatin1Char('\'') + QString(word).replace(QLatin1Char('\''), QLatin1String("'\\''")) + QLatin1Char('\'');
}

void BatchFile::set(const QString &name, const QString &value)
{
    if (!m_windows) {
        m_lines.append(QStringLiteral("export ") + name + QLatin1Char('=') + quoted(value));
        return;
    }
    QString escaped;
    for (const QChar c : value) {
        if (QLatin1String("^&|<>()").contains(c))
            escaped += QLatin1Char('^');
        escaped += c;
        if (c == QLatin1Char('%'))
            escaped += c;
    }
    m_lines.append(QStringLiteral("set ") + name + QLatin1Char('=') + escaped);
}

void BatchFile::run(const QStringList &words)
{
    QStringList list;
    for (const QString &word : words)
        list.append(quoted(word));
    m_lines.append(list.join(QLatin1Char(' ')));
}

void BatchFile::show(const QString &file)
{
    m_lines.append((m_windows ? QStringLiteral("type ") : QStringLiteral("cat ")) + quoted(file));
}

QByteArray BatchFile::text() const
{
    const QString end = m_windows ? QStringLiteral("\r\n") : QStringLiteral("\n");
    const QString whole = m_lines.join(end) + end;
    return m_windows ? whole.toLocal8Bit() : whole.toUtf8();
}

QString BatchFile::write(const QString &base) const
{
    return write(base + (m_windows ? QLatin1String(".bat") : QLatin1String(".sh")), text());
}

QString BatchFile::write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush())
        return path;
    qWarning().noquote() << "BatchFile::write" << path << file.errorString();
    return {};
}
