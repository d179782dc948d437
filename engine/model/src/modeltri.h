#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

struct ModelTri
{
    // Corner coordinates: u, v.
    struct UVPair
    {
        float u = 0.0f;
        float v = 0.0f;
    };

    uint16_t m_Indices[3] = {}; // into m_Verts of the same mesh
    UVPair m_UVs[3];            // pair i for corner i
};

ZOLT_END_NAMESPACE
