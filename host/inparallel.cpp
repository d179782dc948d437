#include "host/inparallel.h"

#include <algorithm>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

unsigned CountThreads(unsigned jobs)
{
    return std::max(1U, jobs != 0 ? jobs : std::thread::hardware_concurrency());
}

void RunInParallel(std::size_t count, unsigned jobs, const std::function<void(std::size_t, std::size_t)>& body)
{
    const std::size_t nParts = std::max<std::size_t>(1, std::min<std::size_t>(CountThreads(jobs), count));
    std::vector<std::exception_ptr> failures(nParts);
    const auto run = [&](std::size_t part)
    {
        try
        {
            body(part * count / nParts, (part + 1) * count / nParts);
        }
        catch (...)
        {
            failures[part] = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(nParts);
    std::size_t nStarted = 1; // the first part is done here
    try
    {
        for (; nStarted < nParts; nStarted++)
            threads.emplace_back(run, nStarted);
    }
    catch (const std::system_error&)
    {
        // Where no more threads can be had, the rest is done here too.
    }
    run(0);
    for (std::size_t part = nStarted; part < nParts; part++)
        run(part);
    for (std::thread& thread : threads)
        thread.join();
    for (const std::exception_ptr& failure : failures)
    {
        if (failure)
            std::rethrow_exception(failure);
    }
}
