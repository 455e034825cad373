#include "common/IniWriter.h"
#include "common/SerialQueue.h"
#include <mutex>
#include <QCoreApplication>
#include <QDebug>
#include <QList>
#include <QSettings>

namespace
{
struct Change {
    QString file, key;
    QVariant value;
};

struct Pending {
    std::mutex mutex;
    QList<Change> changes; // not begun
    bool started = false;
    SerialQueue queue;
};

// Never destroyed: its thread waits in it until the process is gone.
Pending &pending()
{
    static Pending *one = new Pending;
    return *one;
}

void writeFile(const QString &file, const QList<Change> &changes)
{
    QSettings ini(file, QSettings::IniFormat);
    for (const Change &change : changes) {
        if (change.file == file)
            ini.setValue(change.key, change.value);
    }
    ini.sync();
    if (ini.status() != QSettings::NoError)
        qWarning().noquote() << "IniWriter::writeFile not written:" << file;
}

// All that has come by now; the jobs of the changes that it takes along find nothing left.
void writeAll()
{
    QList<Change> changes;
    {
        const std::lock_guard lock(pending().mutex);
        changes.swap(pending().changes);
    }
    QStringList files;
    for (const Change &change : qAsConst(changes)) {
        if (!files.contains(change.file))
            files.append(change.file);
    }
    for (const QString &file : qAsConst(files))
        writeFile(file, changes);
}
} // namespace

void IniWriter::write(const QString &file, const QString &key, const QVariant &value)
{
    Pending &self = pending();
    bool first = false;
    {
        const std::lock_guard lock(self.mutex);
        self.changes.append({file, key, value});
        first = !std::exchange(self.started, true);
    }
    if (first)
        qAddPostRoutine(IniWriter::flush);
    self.queue.post(writeAll);
}

void IniWriter::flush() { pending().queue.flush(); }
