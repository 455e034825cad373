#pragma once
// One frame (or piece of one) on its way through a pool thread: rendered by the painter or by a command, with a log
// that grows line by line. Made and read by the renderer on the farm's thread; between start and end only stop, percent
// and half() are touched by both sides.
#include "tasks/FramePainter.h"
#include <atomic>
#include <mutex>
#include <QStringList>

namespace farm
{

struct RenderWork {
    int task = 0, index = 0;
    qint64 startedMs = 0;
    FramePicture picture;
    enum How { Paint, Command, Join, Mean } how = Paint;
    QStringList pieces; // of Join and Mean: the pictures to put together
    QString sceneFile, command, target, log, node;
    QStringList head;    // lines that the log begins with
    double seconds = 0;  // it takes at least that long
    qint64 logBytes = 0; // the log is filled up to that
    bool fail = false, vanish = false;
    std::atomic<bool> stop{false};
    std::atomic<int> percent{0};

    bool good = false, vanished = false;
    qint64 size = 0;
    int memoryMb = 0;
    QString hash, error;

    // On the pool thread. The frame gets its name when it is whole, so a killed farm leaves no half picture.
    void run();
    QImage half() const; // what there is of the picture; null before the first rows

private:
    bool paint(const QString &file);
    bool runCommand(const QString &file);
    bool told(int rows, int of, const QImage &image);
    bool waitUntil(double share); // of its seconds; false: it was stopped
    void line(const QString &text);
    void fillLog();

    mutable std::mutex m_mutex;
    QImage m_half;
};

} // namespace farm
