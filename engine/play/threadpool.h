#pragma once

#include "engine/play/jobpool.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// Threads that wait for work. The one that calls Run works along.
class ThreadPool final : public JobPool
{
public:
    // So many threads in all, the caller's included; 0 stands for the number of processors. Where the system gives
    // fewer, there are fewer.
    explicit ThreadPool(uint32_t nThreads = 0);
    ~ThreadPool() override;
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    uint32_t NumThreads() const override { return static_cast<uint32_t>(m_Threads.size()) + 1; }
    void Run(uint32_t nParts, Job pJob, void* pUser) override;

private:
    void Work();
    void RunParts();

    std::vector<std::thread> m_Threads;
    std::mutex m_Mutex;
    std::condition_variable m_Begin, m_End;
    uint64_t m_nRuns = 0;    // grows with each Run
    uint32_t m_nWorking = 0; // threads that are at it
    bool m_bQuit = false;
    Job m_pJob = nullptr;
    void* m_pUser = nullptr;
    uint32_t m_nParts = 0;
    std::atomic<uint32_t> m_iNext{0};
};
ZOLT_END_NAMESPACE
} // namespace zolt
