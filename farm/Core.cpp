#include "Core.h"
#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "FileServer.h"
#include "Renderer.h"
#include "Rest.h"
#include "Tasks.h"
#include <QDebug>
#include <QDir>
#include <QHostAddress>
#include <QPointer>
#include <QRunnable>

namespace farm {

namespace {
class Job : public QRunnable
{
public:
    explicit Job(std::function<void()> work) : m_work(std::move(work)) {}
    void run() override { m_work(); }

private:
    std::function<void()> m_work;
};
}

Core::Core(const FarmOptions &given, FarmFaults &givenFaults) : options(given), faults(givenFaults)
{
    pool.setMaxThreadCount(qMax(1, options.renderThreads) + 1);
}

Core::~Core()
{
    // Nobody may be asked once the pool's last job posts its end, so the servers go first.
    business.reset();
    rest.reset();
    files.reset();
    renderer.reset();
    pool.waitForDone();
    store.reset();
    tasks.reset();
    account.reset();
}

bool Core::open(QString *error)
{
    if (!QHostAddress(options.address).isLoopback()) {
        *error = QStringLiteral("%1 isn't a loopback address").arg(options.address);
        return false;
    }
    if (!QDir().mkpath(options.dir)) {
        *error = QStringLiteral("%1 can't be made").arg(options.dir);
        return false;
    }
    if (!db.open(options.dir + QStringLiteral("/farm.db"), error))
        return false;
    account = std::make_unique<Account>(*this);
    tasks = std::make_unique<Tasks>(*this);
    store = std::make_unique<ContentStore>(*this);
    renderer = std::make_unique<Renderer>(*this);
    business = std::make_unique<Business>(*this);
    rest = std::make_unique<Rest>(*this);
    files = std::make_unique<FileServer>(*this);
    if (!business->listen(options.businessPort, error) || !rest->listen(options.httpPort, error) || !files->listen(options.filePort, error))
        return false;
    renderer->wake();
    return true;
}

FarmPorts Core::ports() const
{
    return {business->port(), rest->port(), files->port()};
}

void Core::violation(const QString &text)
{
    qWarning().noquote() << "farm::Core::violation" << text;
    if (violations.size() < 1000)
        violations += text;
    emit violated(text);
}

void Core::event(const QString &text)
{
    qDebug().noquote() << "farm:" << text;
    events += text;
    if (events.size() > 5000)
        events.removeFirst();
}

void Core::background(std::function<void()> work, std::function<void()> done)
{
    // The pool is waited for before this object dies, so posting to it from a job is safe. The fence orders what the two
    // threads write, also for tools that don't see into the toolkit's locks.
    m_fence.fetch_add(1);
    pool.start(new Job([this, work = std::move(work), done = std::move(done)] {
        m_fence.fetch_add(1);
        work();
        m_fence.fetch_add(1);
        QMetaObject::invokeMethod(this, [this, done] {
            m_fence.fetch_add(1);
            done();
        }, Qt::QueuedConnection);
    }));
}

QString Core::folder(const QString &name) const
{
    const QString path = options.dir + QLatin1Char('/') + name;
    QDir().mkpath(path);
    return path;
}

}
