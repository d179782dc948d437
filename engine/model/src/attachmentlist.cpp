#include "engine/model/src/attachmentlist.h"

ZOLT_BEGIN_NAMESPACE

void AttachmentList::Add(AttachmentRecord* pRecord)
{
    pRecord->m_pNext = m_pHead;
    m_pHead = pRecord;
}

void AttachmentList::Remove(AttachmentRecord* pRecord)
{
    for (AttachmentRecord** ppLink = &m_pHead; *ppLink; ppLink = &(*ppLink)->m_pNext)
    {
        if (*ppLink == pRecord)
        {
            *ppLink = pRecord->m_pNext;
            pRecord->m_pNext = nullptr;
            return;
        }
    }
}

AttachmentRecord* AttachmentList::Find(const AttachmentType* pType) const
{
    for (AttachmentRecord* pRecord = m_pHead; pRecord; pRecord = pRecord->m_pNext)
    {
        if (pRecord->m_pType == pType)
            return pRecord;
    }
    return nullptr;
}

void AttachmentList::NotifyTerm()
{
    AttachmentRecord* pRecord = m_pHead;
    while (pRecord)
    {
        AttachmentRecord* const pNext = pRecord->m_pNext;
        for (const AttachmentType* pType = pRecord->m_pType; pType; pType = pType->m_pBase)
        {
            uint32_t word = 1;
            if (pType->m_pHandler)
                pType->m_pHandler(this, pRecord, 0, &word);
        }
        pRecord = pNext;
    }
}

ZOLT_END_NAMESPACE
