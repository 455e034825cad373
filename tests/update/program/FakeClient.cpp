// Stands for the client in an update: notes that it ran, counts its start, and does what the file "behaviour" beside it
// says: "comes up", "dies" or "waits".
#include "package/TreeSwap.h"
#include <QCoreApplication>
#include <QFile>
#include <QThread>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QString tree = QCoreApplication::applicationDirPath();
    TreeSwap swap(tree);
    const QString version = swap.installed();
    const bool goesOn = swap.countStart();
    QFile ran(tree + QStringLiteral(".ran"));
    if (ran.open(QIODevice::Append))
        ran.write((version.isEmpty() ? QByteArray("first") : version.toUtf8()) + ' ' +
                  app.arguments().mid(1).join(QLatin1Char(' ')).toUtf8() + (goesOn ? "\n" : " gives up\n"));
    ran.close();
    QFile file(tree + QStringLiteral("/behaviour"));
    const QByteArray behaviour = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (behaviour == "waits") { // for the updater to be ready, and a moment more: it isn't to go on meanwhile
        for (int i = 0; i < 1000 && TreeSwap(tree).state() != TreeSwap::Ready; ++i)
            QThread::msleep(10);
        QThread::msleep(500);
        return TreeSwap(tree).state() == TreeSwap::Ready ? 0 : 4;
    }
    return behaviour == "dies" || !swap.passed() ? 3 : 0;
}
