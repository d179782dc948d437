#include "engine/model/src/loadfault.h"

#include <cstdio>

ZOLT_BEGIN_NAMESPACE

LoadFault::LoadFault(char* pText, uint32_t size) : m_pText(pText), m_Size(pText ? size : 0)
{
    if (m_Size != 0)
        m_pText[0] = '\0';
}

// With commas between thousands: no locale is asked.
static void PrintNumber(char (&text)[16], uint32_t number)
{
    if (number >= 1000000000)
        std::snprintf(text, sizeof(text), "%u,%03u,%03u,%03u", number / 1000000000, number / 1000000 % 1000,
                      number / 1000 % 1000, number % 1000);
    else if (number >= 1000000)
        std::snprintf(text, sizeof(text), "%u,%03u,%03u", number / 1000000, number / 1000 % 1000, number % 1000);
    else if (number >= 1000)
        std::snprintf(text, sizeof(text), "%u,%03u", number / 1000, number % 1000);
    else
        std::snprintf(text, sizeof(text), "%u", number);
}

void LoadFault::Note(uint32_t position, const char* pFormat, va_list arguments)
{
    if (m_Size == 0 || m_pText[0] != '\0')
        return;
    // What doesn't fit is cut.
    uint32_t used = 0;
    const auto Wrote = [&](int length) { used = length > 0 ? used + static_cast<uint32_t>(length) : used; };
    if (m_pSection)
        Wrote(std::snprintf(m_pText, m_Size, "%s: ", m_pSection));
    if (used < m_Size)
        Wrote(std::vsnprintf(m_pText + used, m_Size - used, pFormat, arguments));
    if (used < m_Size && position != NO_PLACE)
    {
        char number[16];
        PrintNumber(number, position);
        std::snprintf(m_pText + used, m_Size - used, ", at byte %s", number);
    }
}

ZOLT_END_NAMESPACE
