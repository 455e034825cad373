#include "common/IniWriter.h"
#include <condition_variable>
#include <mutex>
#include <QCoreApplication>
#include <QDebug>
#include <QList>
#include <QSettings>
#include <thread>

namespace
{
struct Change {
    QString file, key;
    QVariant value;
};

struct Queue {
    std::mutex mutex;
    std::condition_variable wake, done;
    QList<Change> changes;
    quint64 asked = 0, written = 0;
    bool started = false;
};

// Never destroyed: its thread waits in it until the process is gone.
Queue &queue()
{
    static Queue *one = new Queue;
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

void run(Queue &self)
{
    std::unique_lock<std::mutex> lock(self.mutex);
    for (;;) {
        self.wake.wait(lock, [&self] { return !self.changes.isEmpty(); });
        QList<Change> changes;
        changes.swap(self.changes);
        lock.unlock();
        QStringList files;
        for (const Change &change : qAsConst(changes)) {
            if (!files.contains(change.file))
                files.append(change.file);
        }
        for (const QString &file : qAsConst(files))
            writeFile(file, changes);
        lock.lock();
        self.written += quint64(changes.size());
        self.done.notify_all();
    }
}
} // namespace

void IniWriter::write(const QString &file, const QString &key, const QVariant &value)
{
    Queue &self = queue();
    std::lock_guard<std::mutex> lock(self.mutex);
    self.changes.append({file, key, value});
    ++self.asked;
    if (!self.started) {
        self.started = true;
        std::thread([&self] { run(self); }).detach();
        qAddPostRoutine(IniWriter::flush);
    }
    self.wake.notify_one();
}

void IniWriter::flush()
{
    Queue &self = queue();
    std::unique_lock<std::mutex> lock(self.mutex);
    const quint64 wanted = self.asked;
    self.done.wait(lock, [&self, wanted] { return self.written >= wanted; });
}
