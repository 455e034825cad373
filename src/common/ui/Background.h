#pragma once
// Disk work that the window asks for, off the window's thread: one after the other on a thread of its own, the result
// brought back to the main thread and handed over only if the guard still lives. run() from the main thread.
#include <functional>
#include <memory>
#include <QCoreApplication>
#include <QMetaObject>
#include <QPointer>

class Background
{
public:
    // work() runs elsewhere and returns a value; done(value) runs on the main thread while guard lives.
    template <class Work, class Done> static void run(QObject *guard, Work work, Done done)
    {
        auto alive = std::make_shared<QPointer<QObject>>(guard);
        post([alive, work, done] {
            auto value = work();
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [alive, value, done] {
                    if (*alive)
                        done(value);
                },
                Qt::QueuedConnection);
        });
    }
    static void post(std::function<void()> work);
    static void finish(); // waits for what was asked; at the program's end, before the application goes
};
