#include "view/driver/FileView.h"
#include "common/facts/SoftwareType.h"
#include "view/TransferList.h"
#include <algorithm>
#include <QCollator>
#include <QCoreApplication>
#include <QDateTime>
#include <QSet>

namespace
{
QString tr(const char *text) { return QCoreApplication::translate("DriveText", text); }

QString ending(const QString &name)
{
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot <= 0 ? QString() : name.mid(dot + 1).toLower();
}

bool steersText(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
           c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph;
}

struct Place {
    QCollatorSortKey name;
    QString text; // of the column, where it's no number
    qlonglong number;
    int row;
    bool folder;
};
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

QString DriveText::name(const FileView &entry) { return clean(entry.name) + entry.pending; }

QString DriveText::type(const FileView &entry)
{
    if (entry.isFolder())
        return entry.isDisk() ? tr("盘符") : tr("文件夹");
    const QString end = ending(entry.name);
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

void DriveSort::sort(QVector<FileView> *rows, int column, bool down)
{
    // Where the system names no language there is no order of words, nor of numbers in them.
    QCollator collator(QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale());
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<Place> places;
    places.reserve(std::size_t(rows->size()));
    for (int i = 0; i < rows->size(); ++i) {
        const FileView &row = rows->at(i);
        Place place{collator.sortKey(row.name), {}, 0, i, row.isFolder()};
        if (column == Time)
            place.number = row.fileType == 1 && row.updatedAt ? row.updatedAt : row.createdAt;
        else if (column == Size)
            place.number = row.size;
        else if (column == Kind)
            place.text = row.fileType == 1 ? ending(row.name) : row.ordernum;
        places.push_back(std::move(place));
    }
    std::stable_sort(places.begin(), places.end(), [down](const Place &a, const Place &b) {
        if (a.folder != b.folder)
            return a.folder;
        const Place &first = down ? b : a, &second = down ? a : b;
        if (first.number != second.number)
            return first.number < second.number;
        if (const int by = first.text.compare(second.text))
            return by < 0;
        return first.name < second.name;
    });
    QVector<FileView> sorted;
    sorted.reserve(rows->size());
    for (const Place &place : places)
        sorted << rows->at(place.row);
    rows->swap(sorted);
}
