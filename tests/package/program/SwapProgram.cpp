// What the updater does with a tree, as a process that can be killed before any of its operations.
// Usage: swap_program recover | install PACKAGE | start | back   TREE   (or files PACKAGE FOLDER JOURNAL)
#include "package/FileInstall.h"
#include "package/TreeSwap.h"
#include <cstdio>

namespace
{
const QByteArray key = qgetenv("VN_TEST_KEY");

template <class Worker> int tell(bool good, const Worker &worker)
{
    if (!good)
        std::fprintf(stderr, "%s\n", qPrintable(worker.why()));
    return good ? 0 : 1;
}
} // namespace

int main(int argc, char **argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    if (words.value(0) == QLatin1String("files")) {
        FileInstall files(words.value(2), words.value(3));
        Package package(words.value(1));
        if (words.value(1).isEmpty())
            return tell(files.recover(), files);
        return package.open(key) ? tell(files.install(&package), files) : tell(false, package);
    }
    TreeSwap swap(words.last());
    if (!swap.recover())
        return tell(false, swap);
    if (words.first() == QLatin1String("recover"))
        return 0;
    if (words.first() == QLatin1String("start"))
        return tell(swap.countStart() && swap.passed(), swap);
    if (words.first() == QLatin1String("back"))
        return tell(swap.back(), swap);
    if (swap.state() == TreeSwap::Trial)
        return 0; // a kill came after the swap: there is nothing left to install
    Package package(words.value(1));
    if (!package.open(key))
        return tell(false, package);
    return tell(swap.prepare(&package) && swap.swap(), swap);
}
