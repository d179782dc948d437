#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdarg>
#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// Writes down why a load fails, for LoadRequest::m_pErrorText: "SECTION: WHAT, at byte 4,211". The first note holds,
// as it is the nearest to the cause.
class LoadFault
{
public:
    // Without room nothing is written. The text is empty at first.
    LoadFault(char* pText, uint32_t size);

    // The section, a literal name, that the next note is about; null for none.
    void SetSection(const char* pName) { m_pSection = pName; }
    // What is wrong at a place of the file, by printf's rules; NO_PLACE leaves the place out.
    void Note(uint32_t position, const char* pFormat, va_list arguments);

    static constexpr uint32_t NO_PLACE = 0xFFFFFFFFu;

private:
    char* m_pText;
    uint32_t m_Size;
    const char* m_pSection = nullptr;
};

ZOLT_END_NAMESPACE
