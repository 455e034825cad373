#include "transfer/FarmProbe.h"
#include "common/ThreadPool.h"
#include "io/NetWork.h"

namespace
{
void run(std::function<void()> ask)
{
    auto *probe = new FarmProbe;
    ThreadPool::instance()->addWork(probe);
    QMetaObject::invokeMethod(
        probe,
        [probe, ask] {
            ask();
            probe->deleteLater();
        },
        Qt::QueuedConnection);
}
} // namespace

void FarmProbe::askDrive(std::shared_ptr<TransShare> share, int farmId, Drive answer)
{
    run([share, farmId, answer] {
        const QString url = NetWork::instance()->skydriveUrl(farmId);
        const QString token = url.isEmpty() ? QString() : NetWork::instance()->roleToken(farmId);
        share->post([=](TransHandler &handler) { answer(handler, url, token); });
    });
}

void FarmProbe::askServer(std::shared_ptr<TransShare> share, int farmId, Server answer)
{
    run([share, farmId, answer] {
        const NetWork::FarmHost found = NetWork::instance()->farmHost(farmId);
        share->post(
            [=](TransHandler &handler) { answer(handler, found.ip.isEmpty() ? found.domain : found.ip, found.port); });
    });
}
