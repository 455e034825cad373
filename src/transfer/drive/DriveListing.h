#pragma once
// A listing of the drive out of its bytes as they arrive: each entry is read once it's whole, so that nobody holds the
// text of a million of them. What isn't an entry (code, msg, total) stays as rest(), the same answer with an empty
// list. The list is the first one that isn't empty of "files", "resultFiles" and "list", at the top or in "data", or
// "data" itself. An answer that was cut or isn't JSON has a rest() that isn't JSON either. A value, one thread at a
// time.
#include "db/DriveRecords.h"
#include "transfer/drive/DriveNames.h"
#include <QByteArray>
#include <QJsonObject>
#include <QVector>

class DriveListing
{
public:
    explicit DriveListing(const QString &folder = {}); // whose children they are; empty: of many
    void add(const QByteArray &bytes);
    QVector<SubFile> take(); // that have come since the last time
    int unusable() const { return m_unusable; }
    QByteArray rest() const { return m_broken ? QByteArray() : m_rest; }

    static bool entry(const QJsonObject &object, SubFile *entry); // false: id, kind, size or name can't be used

private:
    const char *inList(const char *at, const char *end);
    const char *outside(const char *at, const char *end);
    const char *text(const char *at, const char *end); // to the end of what is between quotes
    bool opensList() const;
    void whole(const QByteArray &element);
    void accept(const SubFile &entry);

    QString m_folder;
    QByteArray m_rest, m_element, m_open, m_key; // m_open: the brackets that are open, outside of the list
    int m_keyAt = 0, m_inner = 0, m_count = 0, m_unusable = 0;
    bool m_list = false, m_text = false, m_escaped = false, m_data = false, m_broken = false;
    bool m_later = false; // a list behind the one that counts
    QVector<SubFile> m_fresh;
    NameSet m_seen;
    QString m_parent, m_disk; // of the last entry: most have the same
};
