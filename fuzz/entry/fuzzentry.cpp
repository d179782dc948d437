#include "fuzz/targets.h"

#include <cstddef>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size)
{
    ZOLT_FUZZ_TARGET({pData, size});
    return 0;
}
