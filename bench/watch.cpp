// watch.so, loaded before the client (LD_PRELOAD): times each turn of its window's thread, from the end of one wait for
// events to the next, and shows and scrolls a list of its drive transfers when it's told to. VN_WATCH is the path of
// the socket that it listens on, one word a line:
//
//   turns       {"turns","worst","over"} by the clock, {"worstOwn","overOwn"} by the thread's own processor time; in
//   ms,
//               over: longer than a frame; counted since the last asking
//   list N      the page with that list, 2 uploads, 3 downloads, 4 what is over; the first batch is opened
//   scroll N    so many pixels a frame; at the end it begins at the head, 0: stands still
//   grab PATH   a picture of the window
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <poll.h>
#include <QAbstractItemModel>
#include <QActionGroup>
#include <QApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QMetaObject>
#include <QPixmap>
#include <QScrollBar>
#include <QTimer>
#include <QTreeView>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
constexpr double FrameMs = 16;
constexpr int StepMs = 16;

double msOf(clockid_t clock)
{
    timespec now;
    clock_gettime(clock, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// Of the window's thread alone, which asks for them too.
struct Turns {
    long turns = 0, over = 0, overOwn = 0;
    double worst = 0, worstOwn = 0, began = 0, beganOwn = 0;

    void end()
    {
        if (began == 0)
            return;
        const double took = msOf(CLOCK_MONOTONIC) - began, own = msOf(CLOCK_THREAD_CPUTIME_ID) - beganOwn;
        ++turns;
        over += took > FrameMs;
        overOwn += own > FrameMs;
        worst = std::max(worst, took);
        worstOwn = std::max(worstOwn, own);
    }
    void begin()
    {
        began = msOf(CLOCK_MONOTONIC);
        beganOwn = msOf(CLOCK_THREAD_CPUTIME_ID);
    }
} turns;

bool windowThread() { return syscall(SYS_gettid) == getpid(); }

template <class Wait> int timed(Wait wait)
{
    if (!windowThread())
        return wait();
    turns.end();
    const int ready = wait();
    turns.begin();
    return ready;
}

class Watch : public QObject
{
public:
    explicit Watch(const QString &path)
    {
        QLocalServer::removeServer(path);
        m_server.listen(path);
        connect(&m_server, &QLocalServer::newConnection, this, [this] {
            QLocalSocket *asker = m_server.nextPendingConnection();
            connect(asker, &QLocalSocket::disconnected, asker, &QObject::deleteLater);
            connect(asker, &QLocalSocket::readyRead, this, [this, asker] {
                while (asker->canReadLine())
                    asker->write(answer(asker->readLine().trimmed()) + '\n');
            });
        });
        connect(&m_scroll, &QTimer::timeout, this, [this] {
            QScrollBar *bar = m_view ? m_view->verticalScrollBar() : nullptr;
            if (bar)
                bar->setValue(bar->value() == bar->maximum() ? 0 : bar->value() + m_step);
        });
    }

private:
    QByteArray answer(const QByteArray &line)
    {
        const QByteArray word = line.split(' ').first(), rest = line.mid(word.size() + 1);
        if (word == "turns") {
            const Turns was = turns;
            turns = {};
            return QStringLiteral(R"({"turns":%1,"worst":%2,"over":%3,"worstOwn":%4,"overOwn":%5,"rows":%6})")
                .arg(was.turns)
                .arg(was.worst)
                .arg(was.over)
                .arg(was.worstOwn)
                .arg(was.overOwn)
                .arg(m_view ? m_view->model()->rowCount(m_view->model()->index(0, 0)) : 0)
                .toUtf8();
        }
        if (word == "list")
            return show(rest.toInt()) ? "{}" : "null";
        if (word == "scroll") {
            m_step = rest.toInt();
            m_step == 0 ? m_scroll.stop() : m_scroll.start(StepMs);
        } else if (word == "grab" && m_view) {
            m_view->window()->grab().save(QString::fromUtf8(rest));
            turns = {};
        }
        return "{}";
    }

    static QObject *find(QObject *from, const char *name)
    {
        const QObjectList all = from->findChildren<QObject *>();
        const auto is = [name](const QObject *one) { return qstrcmp(one->metaObject()->className(), name) == 0; };
        const auto found = std::find_if(all.begin(), all.end(), is);
        return found == all.end() ? nullptr : *found;
    }

    bool show(int list)
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            QObject *menu = find(window, "LeftMenu");
            QObject *page = menu ? find(window, "Transfer") : nullptr;
            QObject *drive = page ? find(page, "TransferD") : nullptr;
            if (!drive)
                continue;
            QMetaObject::invokeMethod(menu, "pageChosen", Q_ARG(QString, QStringLiteral("transfer")));
            if (const auto *tabs = page->findChild<QActionGroup *>())
                tabs->actions().last()->trigger();
            QMetaObject::invokeMethod(drive, "initDAOView", Q_ARG(int, list));
            for (QTreeView *view : static_cast<QWidget *>(drive)->findChildren<QTreeView *>()) {
                if (view->isVisible())
                    m_view = view;
            }
            if (!m_view)
                return false;
            m_view->expand(m_view->model()->index(0, 0));
            return m_view->isExpanded(m_view->model()->index(0, 0));
        }
        return false;
    }

    QLocalServer m_server;
    QTimer m_scroll;
    QTreeView *m_view = nullptr;
    int m_step = 0;
};

void startWatch()
{
    const QString path = qEnvironmentVariable("VN_WATCH");
    if (!path.isEmpty() && qobject_cast<QApplication *>(QCoreApplication::instance()))
        new Watch(path);
}
Q_COREAPP_STARTUP_FUNCTION(startWatch)
} // namespace

extern "C" int poll(pollfd *fds, nfds_t count, int ms)
{
    static const auto real = reinterpret_cast<int (*)(pollfd *, nfds_t, int)>(dlsym(RTLD_NEXT, "poll"));
    return timed([&] { return real(fds, count, ms); });
}

extern "C" int ppoll(pollfd *fds, nfds_t count, const timespec *time, const sigset_t *mask)
{
    using Ppoll = int (*)(pollfd *, nfds_t, const timespec *, const sigset_t *);
    static const auto real = reinterpret_cast<Ppoll>(dlsym(RTLD_NEXT, "ppoll"));
    return timed([&] { return real(fds, count, time, mask); });
}
