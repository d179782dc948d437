#pragma once

#include "engine/model/src/model.h"

#include <functional>

struct KeyReduction
{
    uint32_t m_nBefore = 0;
    uint32_t m_nAfter = 0;
    // No node, vertex of any LOD or socket is further than this from where it was, at any whole millisecond: a bound,
    // found from the boxes around what follows each node.
    double m_Strays = 0.0;
};

// Takes keys out of an own animation as long as nothing goes further than the tolerance, in model units, from where it
// was, at any whole millisecond. The first and the last key stay, and so do those with a command string and those that
// share a time. False if a pose can't be evaluated, for more than 65536 keys, and without memory.
bool ReduceKeys(Model& model, uint32_t iAnim, double tolerance,
                const std::function<void(size_t nDone, size_t nAll)>& progress, KeyReduction& reduction);
