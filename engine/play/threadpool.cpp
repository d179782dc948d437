#include "engine/play/threadpool.h"

#include <algorithm>
#include <exception>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
ThreadPool::ThreadPool(uint32_t nThreads)
{
    if (nThreads == 0)
        nThreads = std::max(std::thread::hardware_concurrency(), 1u);
    try
    {
        m_Threads.reserve(nThreads - 1);
        while (m_Threads.size() + 1 < nThreads)
            m_Threads.emplace_back(&ThreadPool::Work, this);
    }
    catch (const std::exception&) // No more threads, or no memory: those that there are will do.
    {
    }
}

ThreadPool::~ThreadPool()
{
    {
        const std::lock_guard lock(m_Mutex);
        m_bQuit = true;
    }
    m_Begin.notify_all();
    for (std::thread& thread : m_Threads)
        thread.join();
}

void ThreadPool::Run(uint32_t nParts, Job pJob, void* pUser)
{
    {
        const std::lock_guard lock(m_Mutex);
        m_pJob = pJob;
        m_pUser = pUser;
        m_nParts = nParts;
        m_iNext = 0;
        m_nWorking = static_cast<uint32_t>(m_Threads.size());
        ++m_nRuns;
    }
    m_Begin.notify_all();
    RunParts();
    std::unique_lock lock(m_Mutex);
    m_End.wait(lock, [this] { return m_nWorking == 0; });
}

void ThreadPool::RunParts()
{
    for (uint32_t i = m_iNext++; i < m_nParts; i = m_iNext++)
        m_pJob(m_pUser, i);
}

void ThreadPool::Work()
{
    std::unique_lock lock(m_Mutex);
    for (uint64_t nSeen = 0;;)
    {
        m_Begin.wait(lock, [&] { return m_bQuit || m_nRuns != nSeen; });
        if (m_bQuit)
            return;
        nSeen = m_nRuns;
        lock.unlock();
        RunParts();
        lock.lock();
        if (--m_nWorking == 0)
            m_End.notify_one();
    }
}
ZOLT_END_NAMESPACE
} // namespace zolt
