#pragma once
// The way back to a thread that asked for something. Taken on that thread (or for it), copied anywhere, posted to from
// any thread: the work then runs in the thread's event loop. Once the thread has ended, post() does nothing and says
// so; nobody has to ask a QThread that may be half gone whether it still runs.
#include <functional>
#include <memory>
#include <QObject>
#include <QPointer>

class QThread;

class Delivery
{
public:
    static Delivery here();                      // to the calling thread
    static Delivery to(QThread *thread);         // to a thread that lives at this moment; null: the calling one
    bool post(std::function<void()> work) const; // false: the thread is gone
    // The same, but nothing runs when the guard, an object of that thread, has died by then.
    bool post(const QPointer<QObject> &guard, std::function<void()> work) const;

    struct Door;

private:
    std::shared_ptr<Door> m_door;
};
