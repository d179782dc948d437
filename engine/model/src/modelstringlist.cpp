#include "engine/model/src/modelstringlist.h"

#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/emptystring.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

namespace
{
constexpr uint32_t INDEX_START_SIZE = 256;

// The characters go on behind m_Text, so they are reached from the start of the record's memory.
const char* TextOf(const ModelStringRecord* pRecord)
{
    return reinterpret_cast<const char*>(pRecord) + offsetof(ModelStringRecord, m_Text);
}

// FNV-1a in 64 bits, folded. The texts come from files of strangers: the seed keeps them from being made so that they
// all meet in one place of the index.
uint32_t HashText(const char* pText, uint64_t seed)
{
    uint64_t hash = 14695981039346656037ull ^ seed;
    for (; *pText; ++pText)
        hash = (hash ^ static_cast<unsigned char>(*pText)) * 1099511628211ull;
    hash ^= hash >> 32;
    hash *= 0xD6E8FEB86659FD93ull;
    return static_cast<uint32_t>(hash >> 32);
}

// A record asks for its bytes rounded up to its own alignment, so that in one block the next one is aligned too. Never
// more than MODEL_STRING_FIXED_SIZE and the length, which the size of a block counts on.
uint64_t RecordSize(uint64_t length)
{
    const uint64_t alignment = alignof(ModelStringRecord);
    const uint64_t bytes = offsetof(ModelStringRecord, m_Text) + length + 1;
    const uint64_t rounded = (bytes + alignment - 1) & ~(alignment - 1);
    return rounded < MODEL_STRING_FIXED_SIZE ? MODEL_STRING_FIXED_SIZE : rounded;
}
} // namespace

ModelStringList::ModelStringList(Allocator* pAllocator) : m_pAllocator(pAllocator) {}

ModelStringList::~ModelStringList()
{
    Term();
    EndIndex();
}

const char* ModelStringList::AddString(const char* pText, Allocator* pAllocator)
{
    if (!pText || !*pText)
        return g_EmptyString;
    const size_t length = strlen(pText);
    if (length > 0x7FFFFFFFu)
        return g_EmptyString;
    if (ModelStringRecord* pFound = Find(pText, static_cast<uint32_t>(length)))
        return TextOf(pFound);

    const uint64_t size = RecordSize(length);
    void* pMemory = (pAllocator ? pAllocator : m_pAllocator)->Alloc(static_cast<uint32_t>(size));
    if (!pMemory)
        return g_EmptyString;
    ModelStringRecord* pRecord = new (pMemory) ModelStringRecord;
    pRecord->m_Size = static_cast<uint32_t>(size);
    pRecord->m_pNext = m_pHead;
    char* pChars = static_cast<char*>(pMemory) + offsetof(ModelStringRecord, m_Text);
    memcpy(pChars, pText, length + 1);
    m_pHead = pRecord;
    if (m_pIndex)
        EnterInIndex(pRecord);
    return pChars;
}

void ModelStringList::Term()
{
    while (m_pHead)
    {
        ModelStringRecord* pNext = m_pHead->m_pNext;
        m_pAllocator->Free(m_pHead);
        m_pHead = pNext;
    }
    if (m_pIndex)
    {
        std::fill_n(m_pIndex, m_nIndexSize, nullptr);
        m_nIndexed = 0;
    }
}

QZBOOL ModelStringList::SetAllocator(Allocator* pAllocator)
{
    if (!ZOLT_ASSERT(!m_pHead, "!m_pHead"))
        return QZFALSE;
    m_pAllocator = pAllocator;
    return QZTRUE;
}

uint32_t ModelStringList::NumStrings() const
{
    uint32_t nStrings = 0;
    for (const ModelStringRecord* pRecord = m_pHead; pRecord; pRecord = pRecord->m_pNext)
        ++nStrings;
    return nStrings;
}

uint32_t ModelStringList::StringLengths() const
{
    uint32_t total = 0;
    for (const ModelStringRecord* pRecord = m_pHead; pRecord; pRecord = pRecord->m_pNext)
        total += static_cast<uint32_t>(strlen(TextOf(pRecord)));
    return total;
}

void ModelStringList::BeginIndex()
{
    if (m_pIndex)
        return;
    m_pIndex = new (std::nothrow) ModelStringRecord*[INDEX_START_SIZE]();
    m_nIndexSize = m_pIndex ? INDEX_START_SIZE : 0;
    m_HashSeed = reinterpret_cast<uintptr_t>(m_pIndex) * 0x9E3779B97F4A7C15ull;
    m_nIndexed = 0;
    for (ModelStringRecord* pRecord = m_pHead; pRecord && m_pIndex; pRecord = pRecord->m_pNext)
        EnterInIndex(pRecord);
}

void ModelStringList::EndIndex()
{
    delete[] m_pIndex;
    m_pIndex = nullptr;
    m_nIndexSize = 0;
    m_nIndexed = 0;
}

// The address of the index differs from run to run; only the place in the index depends on it.
uint32_t ModelStringList::Hash(const char* pText) const
{
    return HashText(pText, m_HashSeed);
}

ModelStringRecord* ModelStringList::Find(const char* pText, uint32_t length) const
{
    if (m_pIndex)
    {
        for (uint32_t i = Hash(pText);; ++i)
        {
            ModelStringRecord* pRecord = m_pIndex[i & (m_nIndexSize - 1)];
            if (!pRecord || strcmp(TextOf(pRecord), pText) == 0)
                return pRecord;
        }
    }
    // The size tells most texts apart without touching their characters.
    const uint64_t size = RecordSize(length);
    for (ModelStringRecord* pRecord = m_pHead; pRecord; pRecord = pRecord->m_pNext)
    {
        if (pRecord->m_Size == size && strcmp(TextOf(pRecord), pText) == 0)
            return pRecord;
    }
    return nullptr;
}

void ModelStringList::EnterInIndex(ModelStringRecord* pRecord)
{
    if ((m_nIndexed + 1) * 2 > m_nIndexSize)
        GrowIndex();
    if (!m_pIndex)
        return;
    uint32_t i = Hash(TextOf(pRecord));
    while (m_pIndex[i & (m_nIndexSize - 1)])
        ++i;
    m_pIndex[i & (m_nIndexSize - 1)] = pRecord;
    ++m_nIndexed;
}

void ModelStringList::GrowIndex()
{
    const uint32_t newSize = m_nIndexSize * 2;
    ModelStringRecord** pNew = new (std::nothrow) ModelStringRecord*[newSize]();
    if (pNew)
    {
        for (uint32_t iOld = 0; iOld < m_nIndexSize; ++iOld)
        {
            if (!m_pIndex[iOld])
                continue;
            uint32_t i = Hash(TextOf(m_pIndex[iOld]));
            while (pNew[i & (newSize - 1)])
                ++i;
            pNew[i & (newSize - 1)] = m_pIndex[iOld];
        }
    }
    delete[] m_pIndex;
    m_pIndex = pNew;
    m_nIndexSize = pNew ? newSize : 0;
}

ZOLT_END_NAMESPACE
