// The command line of the client's local API; Words.cpp tells its words.
#include "Client.h"
#include "Commands.h"
#include "io/local/ApiTable.h"
#include "Show.h"
#include "Words.h"
#include <cstdio>
#include <QCoreApplication>
#include <QJsonDocument>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const Words words = Words::of(QCoreApplication::arguments().mid(1));
    const auto print = [](const QByteArray &text) { fwrite(text.constData(), 1, size_t(text.size()), stdout); };
    Show show(words.has("json") || !Show::terminal());
    if (words.has("help")) {
        print(Words::help().toUtf8());
        return int(Exit::Good);
    }
    if (!words.wrong.isEmpty()) {
        show.complain(words.wrong + QStringLiteral("; vandrelctl --help tells more"));
        return int(Exit::BadWords);
    }
    const QString told = words.has("url") ? words.option("url") : qEnvironmentVariable("VANDREL_URL");
    const QUrl url = told.isEmpty() ? Client::localUrl() : QUrl::fromUserInput(told);
    if (words.command == QLatin1String("completion")) {
        print(Words::completion().toUtf8());
        return int(Exit::Good);
    }
    if (words.command == QLatin1String("describe")) {
        print(words.has("markdown")
                  ? ApiTable::readme()
                  : QJsonDocument(ApiTable::openApi(url.toString(), QStringLiteral(VN_VERSION))).toJson());
        return int(Exit::Good);
    }
    const QString token = words.has("token") ? words.option("token") : qEnvironmentVariable("VANDREL_TOKEN");
    Client client(url, token.toUtf8());
    return int(run(words, &client, &show));
}
