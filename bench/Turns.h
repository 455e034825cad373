#pragma once
// Turns of the event loop in ms, without the time that it waited, by the clock and by what the thread itself worked
// (for a machine that others use too).
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <QElapsedTimer>
#include <vector>

class Turns
{
public:
    static constexpr int FrameMs = 16;

    template <class Work> void time(Work work)
    {
        QElapsedTimer clock;
        clock.start();
        const double before = ownMs();
        work();
        m_own.push_back(ownMs() - before);
        m_ms.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    // Prints both, and begins anew.
    void tell(const char *what)
    {
        if (m_ms.empty())
            return;
        std::sort(m_ms.begin(), m_ms.end());
        std::sort(m_own.begin(), m_own.end());
        const auto over = m_ms.end() - std::upper_bound(m_ms.begin(), m_ms.end(), double(FrameMs));
        std::printf("%-34s turns %7zu   median %6.2f ms   p99 %6.2f ms   worst %6.2f ms   over 16 ms: %ld\n", what,
                    m_ms.size(), m_ms[m_ms.size() / 2], m_ms[m_ms.size() * 99 / 100], m_ms.back(), long(over));
        std::printf("%-34s of the processor alone: p99 %6.2f ms   worst %6.2f ms\n", "", m_own[m_own.size() * 99 / 100],
                    m_own.back());
        std::fflush(stdout);
        m_ms.clear();
        m_own.clear();
    }

private:
    static double ownMs()
    {
#ifdef Q_OS_UNIX
        timespec now;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
#else
        return 0;
#endif
    }
    std::vector<double> m_ms, m_own;
};
