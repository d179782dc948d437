#pragma once

#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstddef>
#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class ModelStringIndex;

// One interned text. The characters go on behind the record.
struct ModelStringRecord
{
    uint32_t m_Size; // bytes that were asked for
    ModelStringRecord* m_pNext;
    char m_Text[1];
};

// The characters, reached from the start of the record's memory since they go on behind m_Text.
inline const char* TextOf(const ModelStringRecord* pRecord)
{
    return reinterpret_cast<const char*>(pRecord) + offsetof(ModelStringRecord, m_Text);
}

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
    // given, serves this one record in place of the list's allocator, which must be able to free it; an index of this
    // list, if given and in use, finds the copy and gets to know a new one.
    const char* AddString(const char* pText, Allocator* pAllocator = nullptr, ModelStringIndex* pIndex = nullptr);
    // Frees all records.
    void Term();
    // Refused and reported while the list holds records.
    QZBOOL SetAllocator(Allocator* pAllocator);

    uint32_t NumStrings() const;
    // Sum of the lengths, terminators not counted.
    uint32_t StringLengths() const;

    ModelStringRecord* m_pHead = nullptr;
    Allocator* m_pAllocator;

private:
    ModelStringRecord* Find(const char* pText, uint32_t length) const;
};

ZOLT_END_NAMESPACE
