#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class Model;
class ModelStream;

// The 13 counts of a model file's header, from which the memory of a load is known beforehand.
struct ModelAllocations
{
    uint32_t m_nKeyFrames = 0; // key times of all own animations
    uint32_t m_nAnims = 0;     // own animations
    uint32_t m_nNodes = 0;
    uint32_t m_nPieces = 0;
    uint32_t m_nChildModels = 0; // links, the model itself included
    uint32_t m_nTris = 0;        // of all pieces at all LODs, like the next two
    uint32_t m_nVerts = 0;
    uint32_t m_nVertexWeights = 0;
    uint32_t m_nLODs = 0;
    uint32_t m_nSockets = 0;
    uint32_t m_nWeightSets = 0;
    uint32_t m_nStrings = 0;      // distinct non-empty strings that a load interns
    uint32_t m_StringLengths = 0; // their lengths, terminators not counted

    void Clear();
    // Counts a model whose own animations come first in m_Anims. Tool side.
    QZBOOL InitFromModel(Model* pModel);
    // False if the stream's error status is set after the 13 words.
    QZBOOL Read(ModelStream* pStream);
    QZBOOL Write(ModelStream* pStream);
    // An upper bound, in bytes, of all that a load takes from the model's allocator. False if m_nLODs is 0. Unsigned
    // 32-bit arithmetic: the counts of a damaged file wrap around.
    QZBOOL CalcAllocationSize(uint32_t& size) const;
};

ZOLT_END_NAMESPACE
