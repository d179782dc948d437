#include "zoltshared/stdzolt/strcasecompare.h"

ZOLT_BEGIN_NAMESPACE

int CompareNoCase(const char* pA, const char* pB)
{
    while (*pA && FoldCase(*pA) == FoldCase(*pB))
    {
        pA++;
        pB++;
    }
    return FoldCase(*pA) - FoldCase(*pB);
}

ZOLT_END_NAMESPACE
