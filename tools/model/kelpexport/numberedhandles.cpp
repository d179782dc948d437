#include "tools/model/kelpexport/numberedhandles.h"

// Where the first difference of two handles begins, as a multiple of 4; 0 if there is none.
static uint32_t FindNumber(const SAA_SubHandle& a, const SAA_SubHandle& b)
{
    constexpr uint32_t numberSize = sizeof(uint32_t);
    static_assert(sizeof(a.bytes) % numberSize == 0);
    for (uint32_t place = 0; place < sizeof(a.bytes); place += numberSize)
    {
        if (std::memcmp(a.bytes + place, b.bytes + place, numberSize) != 0)
            return place;
    }
    return 0;
}

bool NumberedHandles::Build(const DynArray<SAA_SubHandle, DefaultCache>& handles)
{
    *this = NumberedHandles();
    const uint32_t nHandles = handles.GetSize();
    if (nHandles == 0)
        return false;
    const SAA_SubHandle* pHandles = handles.GetArray();
    m_First = HandleWords(pHandles[0]);
    m_Place = nHandles > 1 ? FindNumber(pHandles[0], pHandles[1]) : 0;
    m_FirstNumber = NumberAt(pHandles[0], m_Place);
    SAA_SubHandle same;
    std::memset(same.bytes, 0xFF, sizeof(same.bytes));
    std::memset(same.bytes + m_Place, 0, sizeof(m_FirstNumber));
    m_Same = HandleWords(same);
    // As long as it is none, the list holds all that Find could be asked for.
    m_nHandles = nHandles;
    uint32_t index = 0;
    for (uint32_t i = 0; i < nHandles; ++i)
    {
        if (!Find(pHandles[i], &index) || index != i)
        {
            m_nHandles = 0;
            return false;
        }
    }
    return true;
}
