#pragma once

#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// One interned text. The characters go on behind the record.
struct ModelStringRecord
{
    uint32_t m_Size; // bytes that were asked for
    ModelStringRecord* m_pNext;
    char m_Text[1];
};

// What a record takes with an empty text. On a 64-bit build the record's padding is part of it.
constexpr uint32_t MODEL_STRING_FIXED_SIZE = sizeof(ModelStringRecord);

// Interned names and command strings of one model, newest first. Comparison is case-sensitive.
class ModelStringList
{
public:
    explicit ModelStringList(Allocator* pAllocator);
    ~ModelStringList();
    ModelStringList(const ModelStringList&) = delete;
    ModelStringList& operator=(const ModelStringList&) = delete;

    // The stored copy; the shared empty string for an empty or null text and when there is no memory. pAllocator, if
    // given, serves this one record in place of the list's allocator, which must be able to free it.
    const char* AddString(const char* pText, Allocator* pAllocator = nullptr);
    // Frees all records.
    void Term();
    // Refused and reported while the list holds records.
    QZBOOL SetAllocator(Allocator* pAllocator);

    uint32_t NumStrings() const;
    // Sum of the lengths, terminators not counted.
    uint32_t StringLengths() const;

    // Between the two, look-ups go through an index on the heap instead of along the list: a load interns many
    // strings. Without memory for the index, look-ups simply stay linear.
    void BeginIndex();
    void EndIndex();

    ModelStringRecord* m_pHead = nullptr;
    Allocator* m_pAllocator;

private:
    uint32_t Hash(const char* pText) const;
    ModelStringRecord* Find(const char* pText, uint32_t length) const;
    void EnterInIndex(ModelStringRecord* pRecord);
    void GrowIndex();

    ModelStringRecord** m_pIndex = nullptr; // open addressing, a power of two entries
    uint32_t m_nIndexSize = 0;
    uint64_t m_HashSeed = 0;
    uint32_t m_nIndexed = 0;
};

ZOLT_END_NAMESPACE
