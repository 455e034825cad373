// The object-store upload beside the client: it tells its port on standard output ("socket_port <n>") and then serves
// the client that started it, until that client's end of its standard input closes. Keys come in messages and stay in
// memory. Words of the command line: oss_port listens on 46162 instead of any port.
#include "Listener.h"
#include <cstdio>
#include <curl/curl.h>
#include <QCoreApplication>
#include <thread>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QByteArray secret = qgetenv("VANDREL_OSS_AUTH");
    qunsetenv("VANDREL_OSS_AUTH");
    if (secret.isEmpty()) {
        std::fputs("oss is started by the client and does nothing by itself\n", stderr);
        return 2;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);
    int result = 1;
    {
        Listener listener(secret);
        if (!listener.listen(app.arguments().contains(QStringLiteral("oss_port")) ? 46162 : 0)) {
            std::printf("%s %d\n", qPrintable(listener.errorString()), listener.serverError());
            std::fflush(stdout);
            return 1;
        }
        std::printf("socket_port %d\n", listener.port());
        std::fflush(stdout);
        // A client that was killed can't end its child; its end of the pipe closes all the same.
        std::thread([] {
            while (std::getchar() != EOF) {
            }
            QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
        }).detach();
        result = app.exec();
    }
    curl_global_cleanup();
    return result;
}
