#pragma once

#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>

// The share that a node has in one vertex.
struct EnvelopeWeight
{
    uint32_t m_iVert = 0;                  // of the piece; the same place in the mesh node's m_CtrlVertices
    float m_Weight = 0.0f;                 // 0 to 1
    Vector3 m_vOffset{0.0f, 0.0f, 0.0f};   // the vertex in the node's space; set by ComputeWeightOffsets
    Vector3 m_vModelPos{0.0f, 0.0f, 0.0f}; // the vertex in model space; likewise
};

// The vertices of one piece that a node moves. It belongs to that node, not to the mesh.
struct Envelope
{
    ZOLT_ALLOCATED_NEW

    explicit Envelope(uint32_t iPiece) : m_iPiece(iPiece) {}

    uint32_t m_iPiece; // of the model's m_Pieces
    DynArray<EnvelopeWeight, DefaultCache> m_Weights;
};
