#include "view/driver/FileView.h"
#include "common/facts/SoftwareType.h"
#include "view/TransferList.h"
#include <QCoreApplication>
#include <QDateTime>
#include <QSet>

namespace
{
QString tr(const char *text) { return QCoreApplication::translate("DriveText", text); }

bool steersText(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
           c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph;
}
} // namespace

bool FileView::shownAs(const FileView &other) const
{
    return name == other.name && type == other.type && size == other.size && createdAt == other.createdAt &&
           updatedAt == other.updatedAt && ordernum == other.ordernum && pending == other.pending;
}

QString DriveText::clean(const QString &text)
{
    QString out = text;
    for (QChar &c : out)
        if (steersText(c))
            c = QChar(0xfffd);
    return out;
}

QString DriveText::ending(const QString &name)
{
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot <= 0 ? QString() : name.mid(dot + 1).toLower();
}

QString DriveText::name(const FileView &entry) { return clean(entry.name) + entry.pending; }

QString DriveText::type(const FileView &entry)
{
    if (entry.isFolder())
        return entry.isDisk() ? tr("盘符") : tr("文件夹");
    const QString end = DriveText::ending(entry.name);
    return end.isEmpty() || end.size() > 8 ? tr("文件") : tr("%1 文件").arg(clean(end).toUpper());
}

QString DriveText::size(qlonglong bytes) { return TransferList::sizeText(bytes); }

QString DriveText::time(qlonglong ms)
{
    return ms <= 0 ? QString() : QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString DriveText::tip(const FileView &entry)
{
    const QString bytes = entry.isFolder() ? QString() : tr("大小：%1\r\n").arg(size(entry.size));
    return tr("名称：%1\r\n类型：%2\r\n%3修改日期：%4")
        .arg(clean(entry.name), type(entry), bytes, time(entry.updatedAt ? entry.updatedAt : entry.createdAt));
}

QString DriveText::icon(const FileView &entry)
{
    if (entry.isFolder())
        return entry.isDisk() ? QStringLiteral("disk") : QStringLiteral("folder");
    if (SoftwareType::ofPath(entry.name) != SoftwareType::Unknown)
        return QStringLiteral("scene");
    return picture(entry) ? QStringLiteral("image") : QStringLiteral("file");
}

bool DriveText::picture(const FileView &entry)
{
    static const QSet<QString> shown{"png", "jpg", "jpeg", "bmp", "tif", "tiff", "tga", "exr", "webp", "gif"};
    return !entry.isFolder() && shown.contains(ending(entry.name));
}
