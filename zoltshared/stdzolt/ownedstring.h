#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

// A text with its own copy on the heap.
class OwnedString
{
public:
    OwnedString();
    OwnedString(const OwnedString& other);
    ~OwnedString();
    OwnedString& operator=(const OwnedString& other);

    void Clear();

    // Takes a copy; null counts as the empty text. Without memory for the copy the string is empty.
    OwnedString& Set(const char* pText);

    // Never null.
    const char* GetString() const { return m_pData; }

    // Case counts.
    QZBOOL Equals(const OwnedString& other) const;

    // A new copy that the caller ends with delete[]; null without memory.
    char* Duplicate() const;

private:
    char* m_pData;   // a heap copy, or g_EmptyString
    QZBOOL m_bOwned; // true for a heap copy
};

ZOLT_END_NAMESPACE
