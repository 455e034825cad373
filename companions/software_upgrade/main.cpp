// Finds and fetches packages of software; see SoftwareUpgrade.h for its words and answers.
#include "SoftwareUpgrade.h"
#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return SoftwareUpgrade(app.arguments().mid(1)).run();
}
