#include "engine/model/src/modelstringlist.h"

#include "engine/model/src/modelstringindex.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/emptystring.h"

#include <cstddef>
#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

namespace
{
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
}

const char* ModelStringList::AddString(const char* pText, Allocator* pAllocator, ModelStringIndex* pIndex)
{
    if (!pText || !*pText)
        return g_EmptyString;
    const size_t length = strlen(pText);
    if (length > 0x7FFFFFFFu)
        return g_EmptyString;
    if (pIndex && !pIndex->IsInUse())
        pIndex = nullptr;
    if (ModelStringRecord* pFound = pIndex ? pIndex->Find(pText) : Find(pText, static_cast<uint32_t>(length)))
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
    if (pIndex)
        pIndex->Enter(pRecord);
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

ModelStringRecord* ModelStringList::Find(const char* pText, uint32_t length) const
{
    // The size tells most texts apart without touching their characters.
    const uint64_t size = RecordSize(length);
    for (ModelStringRecord* pRecord = m_pHead; pRecord; pRecord = pRecord->m_pNext)
    {
        if (pRecord->m_Size == size && strcmp(TextOf(pRecord), pText) == 0)
            return pRecord;
    }
    return nullptr;
}

ZOLT_END_NAMESPACE
