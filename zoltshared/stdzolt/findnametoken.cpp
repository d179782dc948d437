#include "zoltshared/stdzolt/findnametoken.h"

#include <cctype>
#include <cstring>

ZOLT_BEGIN_NAMESPACE

static bool StartsWithNoCase(const char* pText, const char* pWord)
{
    for (; *pWord; pText++, pWord++)
    {
        if (std::toupper(static_cast<unsigned char>(*pText)) != std::toupper(static_cast<unsigned char>(*pWord)))
            return false;
    }
    return true;
}

const char* FindNameToken(const char* pName, const char* pWord)
{
    for (const char* pMark = std::strstr(pName, "_z"); pMark; pMark = std::strstr(pMark + 1, "_z"))
    {
        if (StartsWithNoCase(pMark + 2, pWord))
            return pMark + 2;
    }
    return nullptr;
}

ZOLT_END_NAMESPACE
