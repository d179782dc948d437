#include "engine/model/src/nocasefilter.h"

#include "zoltshared/stdzolt/strcasecompare.h"

#include <new>
#include <utility>

ZOLT_BEGIN_NAMESPACE

static constexpr uint32_t START_HASHES = 256;

void NoCaseFilter::Begin(uint64_t seed)
{
    End();
    m_pHashes = new (std::nothrow) uint64_t[START_HASHES]();
    m_nHashes = m_pHashes ? START_HASHES : 0;
    m_Seed = seed;
}

void NoCaseFilter::End()
{
    delete[] m_pHashes;
    m_pHashes = nullptr;
    m_nHashes = 0;
    m_nUsed = 0;
}

// FNV-1a over the letters that CompareNoCase compares; never 0.
uint64_t NoCaseFilter::Hash(const char* pText) const
{
    uint64_t hash = 14695981039346656037ull ^ m_Seed;
    for (; *pText; ++pText)
        hash = (hash ^ static_cast<unsigned char>(FoldCase(*pText))) * 1099511628211ull;
    hash ^= hash >> 32;
    hash *= 0xD6E8FEB86659FD93ull;
    return hash ? hash : 1;
}

// That of the hash, or the free one where it would go.
uint64_t* NoCaseFilter::FindPlace(uint64_t hash) const
{
    uint64_t i = hash >> 32;
    while (m_pHashes[i & (m_nHashes - 1)] != 0 && m_pHashes[i & (m_nHashes - 1)] != hash)
        ++i;
    return &m_pHashes[i & (m_nHashes - 1)];
}

void NoCaseFilter::Enter(const char* pText)
{
    if (!IsInUse())
        return;
    if ((m_nUsed + 1) * 2 > m_nHashes)
    {
        const uint32_t nOld = m_nHashes;
        uint64_t* pOld = std::exchange(m_pHashes, new (std::nothrow) uint64_t[uint64_t(nOld) * 2]());
        m_nHashes = m_pHashes ? nOld * 2 : 0;
        for (uint32_t i = 0; m_pHashes && i < nOld; ++i)
        {
            if (pOld[i] != 0)
                *FindPlace(pOld[i]) = pOld[i];
        }
        delete[] pOld;
        if (!m_pHashes)
            return;
    }
    const uint64_t hash = Hash(pText);
    uint64_t* pPlace = FindPlace(hash);
    m_nUsed += *pPlace == 0 ? 1 : 0;
    *pPlace = hash;
}

ZOLT_END_NAMESPACE
