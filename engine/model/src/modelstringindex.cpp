#include "engine/model/src/modelstringindex.h"

#include <algorithm>
#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

static constexpr uint32_t START_SIZE = 256;

// FNV-1a in 64 bits, folded. The texts come from files of strangers: the seed keeps them from being made so that they
// all meet in one place of the index.
static uint32_t HashText(const char* pText, uint64_t seed)
{
    uint64_t hash = 14695981039346656037ull ^ seed;
    for (; *pText; ++pText)
        hash = (hash ^ static_cast<unsigned char>(*pText)) * 1099511628211ull;
    hash ^= hash >> 32;
    hash *= 0xD6E8FEB86659FD93ull;
    return static_cast<uint32_t>(hash >> 32);
}

void ModelStringIndex::Begin(const ModelStringList& list)
{
    if (IsInUse())
        return;
    m_pEntries = new (std::nothrow) ModelStringRecord*[START_SIZE]();
    m_nEntries = m_pEntries ? START_SIZE : 0;
    m_Seed = reinterpret_cast<uintptr_t>(m_pEntries) * 0x9E3779B97F4A7C15ull;
    m_nUsed = 0;
    for (ModelStringRecord* pRecord = list.m_pHead; pRecord && IsInUse(); pRecord = pRecord->m_pNext)
        Enter(pRecord);
}

void ModelStringIndex::End()
{
    delete[] m_pEntries;
    m_pEntries = nullptr;
    m_nEntries = 0;
    m_nUsed = 0;
    m_NoCase.End();
}

void ModelStringIndex::Clear()
{
    std::fill_n(m_pEntries, m_nEntries, nullptr);
    m_nUsed = 0;
    m_NoCase.End();
}

// The address of the index differs from run to run; only the place in the index depends on it.
uint32_t ModelStringIndex::Hash(const char* pText) const
{
    return HashText(pText, m_Seed);
}

ModelStringRecord* ModelStringIndex::Find(const char* pText) const
{
    for (uint32_t i = Hash(pText);; ++i)
    {
        ModelStringRecord* pRecord = m_pEntries[i & (m_nEntries - 1)];
        if (!pRecord || strcmp(TextOf(pRecord), pText) == 0)
            return pRecord;
    }
}

void ModelStringIndex::Enter(ModelStringRecord* pRecord)
{
    if ((m_nUsed + 1) * 2 > m_nEntries)
        Grow();
    if (!m_pEntries)
        return;
    uint32_t i = Hash(TextOf(pRecord));
    while (m_pEntries[i & (m_nEntries - 1)])
        ++i;
    m_pEntries[i & (m_nEntries - 1)] = pRecord;
    ++m_nUsed;
    m_NoCase.Enter(TextOf(pRecord));
}

bool ModelStringIndex::MayHaveNoCase(const char* pText)
{
    if (!m_NoCase.IsInUse())
    {
        m_NoCase.Begin(m_Seed);
        for (uint32_t i = 0; i < m_nEntries; ++i)
        {
            if (m_pEntries[i])
                m_NoCase.Enter(TextOf(m_pEntries[i]));
        }
    }
    return m_NoCase.MayHave(pText);
}

void ModelStringIndex::Grow()
{
    const uint32_t newSize = m_nEntries * 2;
    ModelStringRecord** pNew = new (std::nothrow) ModelStringRecord*[newSize]();
    if (pNew)
    {
        for (uint32_t iOld = 0; iOld < m_nEntries; ++iOld)
        {
            if (!m_pEntries[iOld])
                continue;
            uint32_t i = Hash(TextOf(m_pEntries[iOld]));
            while (pNew[i & (newSize - 1)])
                ++i;
            pNew[i & (newSize - 1)] = m_pEntries[iOld];
        }
    }
    delete[] m_pEntries;
    m_pEntries = pNew;
    m_nEntries = pNew ? newSize : 0;
}

ZOLT_END_NAMESPACE
