#pragma once
// Work on files that may not answer: an open on a dead share holds its thread for minutes. It runs on a thread of its
// own, so that the owner's thread goes on with its timers and can be told to stop at any time.
//
// A member of its owner; used on the owner's thread. What the work returns is called there, unless the owner is gone.
// Destruction stops the work and waits GraceMs for it; a thread that hangs in the system is left to end by itself, and
// whatever it finds then is dropped.
#include "resolve/StopToken.h"
#include <functional>
#include <QObject>

class DiskWork
{
public:
    static constexpr int GraceMs = 1000;
    using Result = std::function<void()>;

    explicit DiskWork(QObject *owner);
    ~DiskWork();
    DiskWork(const DiskWork &) = delete;
    DiskWork &operator=(const DiskWork &) = delete;

    void start(std::function<Result(const StopToken &)> work);

private:
    struct Shared;
    std::shared_ptr<Shared> m_shared;
};
