// Rotations on the arcs between two keys, four at a time: every node of an animated figure has one at every frame.
#pragma once

#include "scene/doublemath.h"

#include <cstddef>

// Takes arcs, works each four of them out together, and writes them where they go, with the bits of
// NormalizeQuat(Slerp(NormalizeQuat(key), NormalizeQuat(next), part)). What is added must live until Flush.
class FourSlerps
{
public:
    // `keys` are x, y, z, w of one key and then of the next one; `part` is from 0 to 1.
    void Add(const double* keys, double part, DoubleQuat& result)
    {
        m_Keys[m_nArcs] = keys;
        m_Parts[m_nArcs] = part;
        m_Results[m_nArcs++] = &result;
        if (m_nArcs == FOUR)
        {
            WriteFour();
        }
    }

    // Writes what is left. Results are written in the order in which they were added.
    void Flush();

private:
    static constexpr std::size_t FOUR = 4;
    void WriteFour();
    void WriteEach();

    const double* m_Keys[FOUR];
    double m_Parts[FOUR];
    DoubleQuat* m_Results[FOUR];
    std::size_t m_nArcs = 0;
};
