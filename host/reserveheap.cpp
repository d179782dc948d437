#include "host/reserveheap.h"

#include <climits>

#include <malloc.h>

static constexpr int MAX_HEAP_BLOCK = 32 << 20;
static constexpr int STEP = 16 << 20;

void ReserveHeap()
{
    // A small block that is freed joins its neighbours at once, and not, with thousands of others, when all of them
    // have left the cache.
    mallopt(M_MXFAST, 0);
    mallopt(M_MMAP_THRESHOLD, MAX_HEAP_BLOCK);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_TOP_PAD, STEP);
}
