// The updater beside the client; see Update.h for its words.
#include "Update.h"
#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return Update(app.arguments().mid(1)).run();
}
