#include "common/ui/Background.h"

namespace {
QThreadPool &pool()
{
    static QThreadPool one;
    one.setMaxThreadCount(1);
    return one;
}

class Job : public QRunnable
{
public:
    explicit Job(std::function<void()> work) : m_work(std::move(work)) {}
    void run() override { m_work(); }

private:
    std::function<void()> m_work;
};
} // namespace

void Background::post(std::function<void()> work)
{
    pool().start(new Job(std::move(work)));
}

void Background::finish()
{
    pool().waitForDone();
}
