#pragma once
// An entry of the drive as the browser shows it: the listing's record, what is under way with it, and its words.
// Values; the functions are pure, any thread.
#include "db/DriveRecords.h"
#include <QVector>

struct FileView : SubFile {
    static constexpr const char *NewDir = "新建dir"; // id of the row that is only being named
    FileView() = default;
    FileView(const SubFile &entry) : SubFile(entry) {} // NOLINT: an entry is shown as it came
    QString pending;                                   // behind the name while a request runs: " (重命名中 ...)"

    bool isDisk() const { return isFolder() && fileType == 1 && parent == QLatin1String(Root); }
    bool isNew() const { return id == QLatin1String(NewDir); }
    bool shownAs(const FileView &other) const;
};
Q_DECLARE_METATYPE(FileView)

namespace DriveText
{
QString name(const FileView &entry); // with what is under way; nothing in it ends a line or turns the writing
QString clean(const QString &text);  // one line that can't hide anything
QString type(const FileView &entry); // "盘符", "文件夹", "PNG 文件"
QString size(qlonglong bytes);       // "12.3KB"
QString time(qlonglong ms);          // empty for 0
QString tip(const FileView &entry);
QString icon(const FileView &entry); // of IconTool
bool picture(const FileView &entry); // one that can be shown small
} // namespace DriveText

namespace DriveSort
{
enum Column { Name, Time, Kind, Size };
// Folders stand before files, numbers in names count as numbers. A long list takes long: off the window's thread.
void sort(QVector<FileView> *rows, int column, bool down);
} // namespace DriveSort
