#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

struct ModelVertWeight;

// Whoever changes the weights of a vertex calls the model's Precalc before vertices are deformed.
struct ModelVert
{
    ModelVertWeight* m_Weights = nullptr; // first record in the model's m_VertexWeights; not owned
    uint16_t m_nWeights = 0;              // records from there on
    uint16_t m_VertReserved = 0;          // kept through load and save, not interpreted
    Vector3 m_vPos{0.0f, 0.0f, 0.0f};     // model space, bind pose
    Vector3 m_vNormal{0.0f, 0.0f, 0.0f};  // unit length; 0 where the triangles around give none
};

ZOLT_END_NAMESPACE
