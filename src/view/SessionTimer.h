#pragma once
// The one owner of what runs in the background of a session: the stores and the threads of the upload, download
// and analysis queues, and of the drive's transfers. Static, main thread; ClientSession alone
// starts and stops it. start() opens the stores away from the window's thread, then starts the
// queues; stop() lets them do what windows have asked for, ends the queues in the order of their making, waits for
// them, and closes the stores.
#include <functional>

class QObject;
class ResolveScan;

class SessionTimer
{
public:
    // ready() runs on the main thread when stores and queues stand, while guard lives and the session hasn't ended.
    static void start(QObject *guard, std::function<void()> ready);
    static void stop(); // does nothing without a session
    static bool running();
    static ResolveScan *resolve(); // null without a session
};
