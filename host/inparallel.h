// Work on many things of one kind by several threads.
#pragma once

#include <cstddef>
#include <functional>

// How many threads `jobs` asks for: 0 is one for each processor.
unsigned CountThreads(unsigned jobs);

// Calls body(first, last) for parts that together are 0 to count, each thing once, on up to CountThreads(jobs) threads
// at once, this one among them. Returns when all are done; what one throws is thrown on here.
void RunInParallel(std::size_t count, unsigned jobs, const std::function<void(std::size_t, std::size_t)>& body);
