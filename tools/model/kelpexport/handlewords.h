#pragma once

#include "saa/SAA.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// A handle as numbers of 8 bytes, with 0 behind its end.
struct HandleWords
{
    uint64_t m_Words[(sizeof(SAA_SubHandle) + 7) / 8] = {};

    HandleWords() = default;
    explicit HandleWords(const SAA_SubHandle& handle)
    {
        constexpr size_t nWhole = sizeof(handle.bytes) / 8;
        for (size_t i = 0; i < nWhole; ++i)
            std::memcpy(&m_Words[i], handle.bytes + 8 * i, 8);
        // By way of a number of its size: a word that is put together in memory is slow to read.
        uint32_t rest = 0;
        static_assert(sizeof(handle.bytes) == 8 * nWhole + sizeof(rest));
        std::memcpy(&rest, handle.bytes + 8 * nWhole, sizeof(rest));
        m_Words[nWhole] = rest;
    }
};
