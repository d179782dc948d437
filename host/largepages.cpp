#include "host/largepages.h"

#include <climits>
#include <cstdint>
#include <cstdlib>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

static constexpr int RESERVED = 512 << 20; // bytes of addresses, not of memory
static constexpr int MAX_HEAP_BLOCK = 32 << 20;
static constexpr int STEP = 16 << 20;
static constexpr std::uintptr_t PAGE = 4096;

void UseLargePages()
{
    mallopt(M_MMAP_THRESHOLD, MAX_HEAP_BLOCK);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_TOP_PAD, RESERVED);
    void* block =
        std::malloc(1 << 20); // NOLINT(cppcoreguidelines-no-malloc): the heap grows for it, by all that is reserved
    mallopt(M_TOP_PAD, STEP);
    const auto start = (reinterpret_cast<std::uintptr_t>(block) + PAGE - 1) / PAGE * PAGE;
    const auto end = reinterpret_cast<std::uintptr_t>(sbrk(0)) / PAGE * PAGE;
    if (block && start < end && end - start < 2 * std::uintptr_t(RESERVED))
        madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc)
}
