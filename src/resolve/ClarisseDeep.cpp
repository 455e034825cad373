#include "resolve/ClarisseDeep.h"
#include "common/VFunc.h"
#include <QFile>
#include <QVector>

namespace
{
struct Block {
    QString type, name;
    bool deep = false;
};

QString unquoted(QString text) { return text.remove(QLatin1Char('"')).trimmed(); }

QString key(const QString &image, const QString &layer) { return image + QLatin1Char('\n') + layer; }

// Braces outside quotes.
void count(const QString &line, int *opened, int *closed)
{
    bool quoted = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (quoted && c == QLatin1Char('\\'))
            ++i;
        else if (c == QLatin1Char('"'))
            quoted = !quoted;
        else if (!quoted && c == QLatin1Char('{'))
            ++*opened;
        else if (!quoted && c == QLatin1Char('}'))
            ++*closed;
    }
}

// The head of a block: its type, and the name of a context, which stands beside it.
Block head(const QString &line)
{
    Block block;
    const int blank = line.indexOf(QLatin1Char(' '));
    block.type = line.left(blank);
    if (block.type == QLatin1String("Context"))
        block.name = unquoted(line.mid(blank + 1).remove(QLatin1Char('{')));
    return block;
}

const Block *enclosing(const QVector<Block> &stack, const QString &type)
{
    for (int i = stack.size() - 1; i >= 0; --i) {
        if (stack.at(i).type == type)
            return &stack.at(i);
    }
    return nullptr;
}

QString wholeName(const QVector<Block> &stack, const QString &image)
{
    QString path = QStringLiteral("project:/");
    for (const Block &block : stack) {
        if (block.type == QLatin1String("Context"))
            path += QLatin1Char('/') + block.name;
    }
    return path + QLatin1Char('/') + image;
}
} // namespace

ClarisseDeep ClarisseDeep::scan(const QString &projectFile, const StopToken &stop)
{
    QFile file(projectFile);
    return VFunc::openRegular(&file, true) ? scan(&file, stop) : ClarisseDeep();
}

ClarisseDeep ClarisseDeep::scan(QIODevice *device, const StopToken &stop)
{
    ClarisseDeep result;
    QVector<Block> stack;
    while (true) {
        const QByteArray bytes = device->readLine(MaxLine);
        if (bytes.isEmpty() || stop.stopped())
            return result;
        const QString line = QString::fromUtf8(bytes).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        int opened = 0, closed = 0;
        count(line, &opened, &closed);
        for (int i = 0; i < opened; ++i)
            stack.append(head(line));
        if (opened == 0 && !stack.isEmpty()) {
            Block &block = stack.last();
            const bool named = block.type == QLatin1String("Image") || block.type == QLatin1String("Layer3d");
            if (named && block.name.isEmpty() && line.startsWith(QLatin1String("name ")))
                block.name = unquoted(line.mid(5));
            else if (line.contains(QLatin1String("enable_deep_output")) && line.contains(QLatin1String("yes")))
                block.deep = true;
            else if (block.deep && line.contains(QLatin1String("save_deep_data_as"))) {
                const Block *image = enclosing(stack, QStringLiteral("Image"));
                const QString path = unquoted(QString(line).remove(QLatin1String("save_deep_data_as")));
                if (image && block.type == QLatin1String("Layer3d") && !path.isEmpty()) {
                    result.m_files.insert(key(image->name, block.name), path);
                    result.m_files.insert(key(wholeName(stack, image->name), block.name), path);
                }
            }
        }
        stack.resize(qMax(0, stack.size() - closed));
    }
}

QString ClarisseDeep::imageName(const QString &reported)
{
    return reported.contains(QLatin1String("://")) ? reported.section(QLatin1Char('/'), -1) : reported;
}

QString ClarisseDeep::layerName(const QString &image, const QString &reported)
{
    if (!reported.contains(QLatin1String("://")))
        return reported;
    const QString last = reported.section(QLatin1Char('/'), -1), own = imageName(image) + QLatin1Char('.');
    return last.startsWith(own) ? last.mid(own.size()) : last.section(QLatin1Char('.'), -1);
}

QString ClarisseDeep::file(const QString &image, const QString &layer) const
{
    const QString name = layerName(image, layer);
    const auto whole = m_files.constFind(key(image, name));
    return whole != m_files.constEnd() ? *whole : m_files.value(key(imageName(image), name));
}
