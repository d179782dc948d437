#pragma once

#include "engine/model/src/modelstringlist.h"
#include "engine/model/src/nocasefilter.h"

ZOLT_BEGIN_NAMESPACE

// Finds the records of a ModelStringList by their text instead of along the list, for whoever enters many. It lives on
// the heap; without memory it goes out of use, and look-ups are linear again.
class ModelStringIndex
{
public:
    ModelStringIndex() = default;
    ~ModelStringIndex() { End(); }
    ModelStringIndex(const ModelStringIndex&) = delete;
    ModelStringIndex& operator=(const ModelStringIndex&) = delete;

    // Takes in the records of a list, which from now on is told of this index at each AddString, and whose records must
    // not go before a Clear. Without effect on one that is in use.
    void Begin(const ModelStringList& list);
    void End();
    bool IsInUse() const { return m_pEntries != nullptr; }
    // The list has been emptied.
    void Clear();

    // Null without such a record. These two need an index that is in use.
    ModelStringRecord* Find(const char* pText) const;
    void Enter(ModelStringRecord* pRecord);
    // False if no text of the list differs from this one by no more than the case of letters; true if one may.
    bool MayHaveNoCase(const char* pText);

private:
    uint32_t Hash(const char* pText) const;
    void Grow();

    ModelStringRecord** m_pEntries = nullptr; // open addressing, a power of two entries
    uint32_t m_nEntries = 0;
    uint32_t m_nUsed = 0;
    uint64_t m_Seed = 0;
    NoCaseFilter m_NoCase; // of the texts, from the first MayHaveNoCase on
};

ZOLT_END_NAMESPACE
