#include "Core.h"
#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "drive/Drive.h"
#include "FileServer.h"
#include "ObjectStore.h"
#include "Rest.h"
#include "tasks/Filled.h"
#include "tasks/Renderer.h"
#include "tasks/TaskDesk.h"
#include "tasks/Tasks.h"
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QLoggingCategory>

// The steps are for people who watch the program; in a test that only runs against the farm they would be noise.
Q_LOGGING_CATEGORY(farmSteps, "farm", QtWarningMsg)

namespace farm
{

Core::Core(const FarmOptions &given, FarmFaults &givenFaults) : options(given), faults(givenFaults) {}

Core::~Core() { close(); }

// The servers go first, then the threads with what they still do; what they would tell finds nobody any more.
void Core::close()
{
    business.reset();
    desk.reset();
    rest.reset();
    files.reset();
    renderer.reset();
    objects.reset();
    drive.reset();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        m_jobs.clear();
    }
    m_wake.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
    m_threads.clear();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_inbox.clear();
    }
    store.reset();
    tasks.reset();
    account.reset();
    db.close();
    lock.reset();
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
    lock = std::make_unique<QLockFile>(options.dir + QStringLiteral("/farm.lock"));
    lock->setStaleLockTime(0); // only a dead owner makes it stale
    if (!lock->tryLock(2000)) {
        *error = QStringLiteral("%1 is in use by another farm").arg(options.dir);
        return false;
    }
    if (!db.open(options.dir + QStringLiteral("/farm.db"), error))
        return false;
    QFile told(options.dir + QStringLiteral("/violations.txt"));
    if (told.open(QIODevice::ReadOnly))
        violations = QString::fromUtf8(told.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (int i = 0; i < qMax(1, options.renderThreads) + 1; ++i)
        m_threads.emplace_back([this] { work(); });
    account = std::make_unique<Account>(*this);
    tasks = std::make_unique<Tasks>(*this);
    store = std::make_unique<ContentStore>(*this);
    objects = std::make_unique<ObjectStore>(*this);
    QString why;
    if (!options.objectStore.isEmpty() && !objects->open(options.objectStore, &why)) {
        *error = QStringLiteral("--object-store: %1").arg(why);
        return false;
    }
    drive = std::make_unique<Drive>(*this);
    renderer = std::make_unique<Renderer>(*this);
    business = std::make_unique<Business>(*this);
    desk = std::make_unique<TaskDesk>(*this);
    rest = std::make_unique<Rest>(*this);
    files = std::make_unique<FileServer>(*this);
    if (!business->listen(options.businessPort, error) || !rest->listen(options.httpPort, error) ||
        !files->listen(options.filePort, error))
        return false;
    if (options.filled && tasks->all().isEmpty())
        fillTasks(*this);
    renderer->wake();
    return true;
}

FarmPorts Core::ports() const { return {business->port(), rest->port(), files->port()}; }

void Core::violation(const QString &text)
{
    qWarning().noquote() << "farm::Core::violation" << text;
    if (violations.size() < 1000) {
        violations += text;
        QFile file(options.dir + QStringLiteral("/violations.txt"));
        if (file.open(QIODevice::Append))
            file.write(text.toUtf8() + '\n');
    }
    emit violated(text);
}

void Core::event(const QString &text)
{
    qCDebug(farmSteps).noquote() << text;
    events += text;
    if (events.size() > 5000)
        events.removeFirst();
}

void Core::background(std::function<void()> job, std::function<void()> done)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_jobs.push_back([this, job = std::move(job), done = std::move(done)] {
            job();
            post(done);
        });
    }
    m_wake.notify_one();
}

void Core::work()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || !m_jobs.empty(); });
        if (m_stop)
            return;
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

void Core::post(std::function<void()> job)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_inbox.push_back(std::move(job));
    }
    QMetaObject::invokeMethod(this, "drain", Qt::QueuedConnection);
}

void Core::drain()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_inbox.empty()) {
        const std::function<void()> job = std::move(m_inbox.front());
        m_inbox.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

QString Core::folder(const QString &name) const
{
    const QString path = options.dir + QLatin1Char('/') + name;
    QDir().mkpath(path);
    return path;
}

} // namespace farm
