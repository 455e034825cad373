#pragma once
// Server addresses, the text tables of the business protocol, and the two process-wide marks that everything obeys:
// live (a session's queues run) and closing (the event loop is over). All static, any thread.
#include <QString>

class Session
{
public:
    static QString qnIP();   // host of the business server, no scheme, no port
    static QString qnhttp(); // base address of REST calls, with scheme, no trailing "/"
    static QString bsAddress();
    // Other addresses of service.ini, group server: "login", "update", "logs", "share", "chat", "cms"; absent:
    // qnhttp().
    static QString address(const QString &key);
    static quint16 localServicePort(); // from <baseDir>/service, 0 when absent
    static void clearAddresses();      // forget the cached ones (tests, other service.ini)

    static QString cmdName(int cmd);
    static QString errorText(int code);
    static QString actionText(int code);

    static bool live();
    static void setLive(bool on);
    static bool closing();
    static void setClosing(bool on);
};
