#include "host/largepages.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

static constexpr int RESERVED = 512 << 20; // bytes of addresses, not of memory
static constexpr int MAX_HEAP_BLOCK = 32 << 20;
static constexpr int STEP = 16 << 20;
static constexpr std::size_t FIRST = 1 << 20; // more than the heap has when the program starts
static constexpr std::uintptr_t PAGE = 4096;
static constexpr std::uintptr_t LARGE_PAGE = 2 << 20;

// What lies ahead of the first large page: never used, so that no small page is asked for. It is addresses, no memory.
// It reaches beyond the block that made the heap grow, behind which the heap has noted its size in a small page.
static void* volatile s_Ahead = nullptr;

void UseLargePages()
{
    // A small block that is freed joins its neighbours at once, and not, with thousands of others, when all of them have
    // left the cache.
    mallopt(M_MXFAST, 0);
    mallopt(M_MMAP_THRESHOLD, MAX_HEAP_BLOCK);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_TOP_PAD, RESERVED);
    void* block = std::malloc(FIRST); // the heap grows for it, by all that is reserved
    mallopt(M_TOP_PAD, STEP);
    if (!block)
        return;
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    char* const start = static_cast<char*>(block) + (PAGE - address % PAGE);
    char* const end = static_cast<char*>(sbrk(0));
    // A block that isn't of the heap has its end elsewhere.
    const bool isOfHeap = start < end && end - start < 2 * std::ptrdiff_t(RESERVED);
    const bool hasLargePages = isOfHeap && madvise(start, static_cast<std::size_t>(end - start), MADV_HUGEPAGE) == 0;
    std::free(block);
    if (hasLargePages)
        s_Ahead = std::malloc(FIRST + LARGE_PAGE - (address + FIRST) % LARGE_PAGE);
}
