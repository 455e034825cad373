#pragma once
// Told once to stop; who walks files or reads a long text asks it at every step. Copies share the one flag. Any thread.
#include <atomic>
#include <memory>

class StopToken
{
public:
    void stop() const { *m_flag = true; }
    bool stopped() const { return *m_flag; }

private:
    std::shared_ptr<std::atomic<bool>> m_flag = std::make_shared<std::atomic<bool>>(false);
};
