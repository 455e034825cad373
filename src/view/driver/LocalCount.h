#pragma once
// How much is dragged in: the bytes of files and folders of this machine, as far as they are counted within a moment,
// on a thread of its own. Never waited for by the window.
#include <functional>
#include <QObject>
#include <QStringList>
#include <QUrl>

namespace LocalCount
{
constexpr int PatienceMs = 200;
struct Sum {
    qint64 bytes = 0;
    int files = 0;
    bool whole = false; // nothing was left out for lack of time
};
Sum count(const QStringList &paths, int patienceMs = PatienceMs); // links to folders aren't followed
// paths: those of the addresses that are of this machine.
void start(const QList<QUrl> &urls, QObject *guard, std::function<void(const QStringList &paths, const Sum &sum)> then);
} // namespace LocalCount
