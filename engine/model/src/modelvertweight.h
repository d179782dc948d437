#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// One node's say in where a vertex goes.
struct ModelVertWeight
{
    float m_Vec[4] = {}; // x, y, z: the vertex in the node's space times the share; then the share, 0 to 1
    uint32_t m_iNode = 0;
};

static_assert(sizeof(ModelVertWeight) == 20);

ZOLT_END_NAMESPACE
