#pragma once
// A child program whose output the test reads line by line. The end of the output shows that every process that
// inherited it is gone.
#include <cstdint>
#include <string>
#include <vector>

class Child
{
public:
    ~Child();
    bool start(const std::string &program, const std::vector<std::string> &words, bool ownTree = false);
    std::string line(); // without its end; empty at the end of the output
    bool outputEnded(); // reads to the end of the output; false when that took half as long as a child waits
    int wait();         // exit code, negative for a signal
    std::int64_t pid() const { return m_pid; }

private:
    int read();
    std::int64_t m_pid = 0;
    std::intptr_t m_output = -1, m_process = -1;
};

std::string ownProgram();
// Starts this program with the given words, sharing the output; doesn't wait for it.
// This process ends; what goes on in its place has nothing of it: no session, no parent, no environment.
void forgetOrigin(int code = 0);
std::int64_t ownPid();
void spawnShared(const std::vector<std::string> &words, bool waitForEnd);
