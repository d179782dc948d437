#include "host/seedrandom.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>

void SeedRandom()
{
    uint64_t seed = 0;
    const char* fixed = std::getenv("SOURCE_DATE_EPOCH"); // NOLINT(concurrency-mt-unsafe)
    const char* last = fixed ? fixed + std::strlen(fixed) : nullptr;
    if (!fixed || fixed == last || std::from_chars(fixed, last, seed).ptr != last)
        seed = static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    std::srand(static_cast<unsigned>(seed ^ (seed >> 32)));
}
