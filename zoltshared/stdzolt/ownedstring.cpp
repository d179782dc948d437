#include "zoltshared/stdzolt/ownedstring.h"

#include <cstring>
#include <new>

#include "zoltshared/stdzolt/emptystring.h"

ZOLT_BEGIN_NAMESPACE

static char* NewCopy(const char* pText)
{
    const size_t size = std::strlen(pText) + 1;
    char* pCopy = new (std::nothrow) char[size];
    if (pCopy)
        std::memcpy(pCopy, pText, size);
    return pCopy;
}

OwnedString::OwnedString() : m_pData(g_EmptyString), m_bOwned(QZFALSE) {}

OwnedString::OwnedString(const OwnedString& other) : OwnedString()
{
    Set(other.m_pData);
}

OwnedString::~OwnedString()
{
    Clear();
}

OwnedString& OwnedString::operator=(const OwnedString& other)
{
    if (this != &other)
        Set(other.m_pData);
    return *this;
}

void OwnedString::Clear()
{
    if (m_bOwned)
        delete[] m_pData;
    m_pData = g_EmptyString;
    m_bOwned = QZFALSE;
}

OwnedString& OwnedString::Set(const char* pText)
{
    // The copy comes first, for the text may be this string's own.
    char* pCopy = pText ? NewCopy(pText) : nullptr;
    Clear();
    if (pCopy)
    {
        m_pData = pCopy;
        m_bOwned = QZTRUE;
    }
    return *this;
}

QZBOOL OwnedString::Equals(const OwnedString& other) const
{
    return std::strcmp(m_pData, other.m_pData) == 0 ? QZTRUE : QZFALSE;
}

char* OwnedString::Duplicate() const
{
    return NewCopy(m_pData);
}

ZOLT_END_NAMESPACE
