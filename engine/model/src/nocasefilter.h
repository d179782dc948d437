#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// Which texts certainly aren't among those that were entered, whatever the case of A to Z: for whoever looks for free
// names. It knows hashes alone, each once, so that texts that differ by case alone cost no more than others. It lives
// on the heap; without memory every text may be among them.
class NoCaseFilter
{
public:
    NoCaseFilter() = default;
    ~NoCaseFilter() { End(); }
    NoCaseFilter(const NoCaseFilter&) = delete;
    NoCaseFilter& operator=(const NoCaseFilter&) = delete;

    // With no texts in it. The seed keeps strangers from making texts that meet in one place.
    void Begin(uint64_t seed);
    void End();
    bool IsInUse() const { return m_pHashes != nullptr; }

    void Enter(const char* pText);
    bool MayHave(const char* pText) const { return !IsInUse() || *FindPlace(Hash(pText)) != 0; }

private:
    uint64_t Hash(const char* pText) const;
    uint64_t* FindPlace(uint64_t hash) const;

    uint64_t* m_pHashes = nullptr; // open addressing, a power of two entries, 0 for a free one
    uint32_t m_nHashes = 0;
    uint32_t m_nUsed = 0;
    uint64_t m_Seed = 0;
};

ZOLT_END_NAMESPACE
