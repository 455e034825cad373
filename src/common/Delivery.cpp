#include "common/Delivery.h"
#include <mutex>
#include <QThread>
#include <QThreadStorage>

struct Delivery::Door {
    std::mutex mutex;
    QObject *target = nullptr; // lives on the thread; null once that has ended
};

namespace
{
// Dies with its thread: by the thread's storage, or by the deferred delete that the thread runs when it has finished.
class Target : public QObject
{
public:
    explicit Target(std::shared_ptr<Delivery::Door> door) : m_door(std::move(door)) { m_door->target = this; }
    ~Target() override
    {
        const std::lock_guard<std::mutex> lock(m_door->mutex);
        m_door->target = nullptr;
    }
    std::shared_ptr<Delivery::Door> door() const { return m_door; }

private:
    std::shared_ptr<Delivery::Door> m_door;
};

QThreadStorage<Target *> &ownTarget()
{
    static QThreadStorage<Target *> storage;
    return storage;
}
} // namespace

Delivery Delivery::here()
{
    auto &storage = ownTarget();
    if (!storage.hasLocalData())
        storage.setLocalData(new Target(std::make_shared<Door>()));
    Delivery way;
    way.m_door = storage.localData()->door();
    return way;
}

Delivery Delivery::to(QThread *thread)
{
    if (!thread || thread == QThread::currentThread())
        return here();
    Delivery way;
    way.m_door = std::make_shared<Door>();
    auto *target = new Target(way.m_door);
    QObject::connect(thread, &QThread::finished, target, &QObject::deleteLater);
    target->moveToThread(thread);
    return way;
}

bool Delivery::post(std::function<void()> work) const
{
    if (!m_door)
        return false;
    const std::lock_guard<std::mutex> lock(m_door->mutex);
    return m_door->target && QMetaObject::invokeMethod(m_door->target, std::move(work), Qt::QueuedConnection);
}

bool Delivery::post(const QPointer<QObject> &guard, std::function<void()> work) const
{
    return post([guard, work = std::move(work)] {
        if (guard)
            work();
    });
}
