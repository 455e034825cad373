#pragma once
// Queued calls between the handlers of a session, typed. A handler implements an interface of calls (UpCalls,
// DownCalls, ResolveCalls, WindowCalls) and attaches itself; anyone may post a call, which then runs on the handler's
// own thread. A misspelled call doesn't compile, and no caller includes the handler. A call to a handler that isn't
// there is dropped. post() and attach() may be called from any thread; detach() belongs into the handler's destructor
// (first line), so that nothing is posted to an object that is half gone.
//
//   Seam<UpCalls>::post([=](UpCalls &up) { up.pauseUp(order, mission, 0, false); });
#include <mutex>
#include <QMetaObject>
#include <QObject>

template <class Calls> class Seam
{
public:
    // The guard is the QObject whose thread the calls run on; usually the same object as the calls.
    static void attach(QObject *guard, Calls *calls)
    {
        std::lock_guard<std::mutex> lock(slot().mutex);
        slot().guard = guard;
        slot().calls = calls;
    }
    static void detach(Calls *calls)
    {
        std::lock_guard<std::mutex> lock(slot().mutex);
        if (slot().calls == calls) {
            slot().guard = nullptr;
            slot().calls = nullptr;
        }
    }
    static bool attached()
    {
        std::lock_guard<std::mutex> lock(slot().mutex);
        return slot().guard != nullptr;
    }
    // False when no handler is attached; the call is then lost.
    template <class Call> static bool post(Call call)
    {
        std::lock_guard<std::mutex> lock(slot().mutex);
        if (!slot().guard)
            return false;
        Calls *calls = slot().calls;
        return QMetaObject::invokeMethod(
            slot().guard, [calls, call] { call(*calls); }, Qt::QueuedConnection);
    }

private:
    struct Slot {
        std::mutex mutex;
        QObject *guard = nullptr;
        Calls *calls = nullptr;
    };
    static Slot &slot()
    {
        static Slot one;
        return one;
    }
};
