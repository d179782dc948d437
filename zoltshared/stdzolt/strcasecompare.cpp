#include "zoltshared/stdzolt/strcasecompare.h"

int CompareNoCase(const char* pA, const char* pB)
{
    while (*pA && FoldCase(*pA) == FoldCase(*pB))
    {
        pA++;
        pB++;
    }
    return FoldCase(*pA) - FoldCase(*pB);
}
