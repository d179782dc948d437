#include "zoltshared/stdzolt/strcasecompare.h"

static int Fold(char c)
{
    const unsigned char u = static_cast<unsigned char>(c);
    return u >= 'A' && u <= 'Z' ? u + ('a' - 'A') : u;
}

int CompareNoCase(const char* pA, const char* pB)
{
    while (*pA && Fold(*pA) == Fold(*pB))
    {
        pA++;
        pB++;
    }
    return Fold(*pA) - Fold(*pB);
}
