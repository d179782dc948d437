// Memory that is refused at one request after the other.
#pragma once

#include <functional>

// While one lives, requests count, and those that the loop below has chosen are refused: every malloc of the program
// and its static libraries, which is what the allocators ask, and every operator new that doesn't throw. Shared
// libraries and the containers of the standard library, which stand for the world around, get theirs.
class MemoryFault
{
public:
    MemoryFault();
    ~MemoryFault();
    MemoryFault(const MemoryFault&) = delete;
    MemoryFault& operator=(const MemoryFault&) = delete;
};

// Runs `run`, which has a MemoryFault around what it tests, with the n-th request refused, for n from 1 until there are
// no more requests; then the same with all behind the n-th refused as well. Ends early at the first failed expectation.
// The number of requests of the last run, in which nothing was refused.
long RefuseEachRequest(const std::function<void()>& run);
