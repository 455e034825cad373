#pragma once
// Disk work that the window asks for, off the window's thread: one after the other on a thread of its own, the result
// brought back to the asking thread and handed over only if the guard still lives.
#include "common/Delivery.h"

class Background
{
public:
    // work() runs elsewhere and returns a value; done(value) runs on the asking thread while guard lives.
    template <class Work, class Done> static void run(QObject *guard, Work work, Done done)
    {
        post([way = Delivery::here(), alive = QPointer<QObject>(guard), work, done] {
            way.post(alive, [value = work(), done] { done(value); });
        });
    }
    static void post(std::function<void()> work);
    static void finish(); // waits for what was asked; at the program's end, before the application goes
};
