#pragma once

#include <vector>

#include "zoltshared/stdzolt/allocator.h"

// The heap, with a record of what is asked for and a limit on how often it answers.
class TestAllocator : public Allocator
{
public:
    void* Alloc(uint32_t size) override
    {
        if (size == 0)
            return nullptr;
        m_Requests.push_back(size);
        if (m_nLeft == 0)
            return nullptr;
        m_nLeft--;
        m_nLive++;
        return Allocator::Alloc(size);
    }

    void Free(void* pMemory) override
    {
        if (pMemory)
            m_nLive--;
        Allocator::Free(pMemory);
    }

    std::vector<uint32_t> m_Requests;
    uint32_t m_nLeft = 0xFFFFFFFF; // requests that still succeed
    int m_nLive = 0;
};
