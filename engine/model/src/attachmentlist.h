#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class AttachmentList;
struct AttachmentRecord;

// Called for a record when the model is emptied: list, record, 0, and the address of a word that holds 1.
typedef void (*AttachmentHandler)(AttachmentList* pList, AttachmentRecord* pRecord, int32_t nEvent, uint32_t* pWord);

// A type of record; pBase leads to the type that it extends, so a record belongs to a chain of types.
struct AttachmentType
{
    AttachmentHandler m_pHandler;
    const AttachmentType* m_pBase;
};

struct AttachmentRecord
{
    const AttachmentType* m_pType = nullptr;
    AttachmentRecord* m_pNext = nullptr;
};

// Records of others that want to know when a model goes. The list owns none of them.
class AttachmentList
{
public:
    // Puts the record in front; it must stay alive until it is removed or the model is gone.
    void Add(AttachmentRecord* pRecord);
    // Does nothing for a record that isn't in the list.
    void Remove(AttachmentRecord* pRecord);
    // The first record whose own type is pType, or null.
    AttachmentRecord* Find(const AttachmentType* pType) const;
    // Calls every handler of the type chain of every record. A handler may remove its own record.
    void NotifyTerm();

    AttachmentRecord* m_pHead = nullptr;
    void* m_pOwner = nullptr;
};

ZOLT_END_NAMESPACE
