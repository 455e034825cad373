#pragma once
// An entry of the drive as the browser shows it: the listing's record, what is under way with it, and its words.
// Values; the functions are pure, any thread.
#include "db/DriveRecords.h"

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
Q_DECLARE_TYPEINFO(FileView, Q_MOVABLE_TYPE);

namespace DriveText
{
QString name(const FileView &entry); // with what is under way; nothing in it ends a line or turns the writing
QString ending(const QString &name); // "png"; empty: none
QString clean(const QString &text);  // one line that can't hide anything
QString type(const FileView &entry); // "盘符", "文件夹", "PNG 文件"
QString size(qlonglong bytes);       // "12.3KB"
QString time(qlonglong ms);          // empty for 0
QString tip(const FileView &entry);
QString icon(const FileView &entry); // of IconTool
bool picture(const FileView &entry); // one that can be shown small
} // namespace DriveText
