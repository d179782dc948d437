#pragma once

#include "engine/model/src/vertexdeformrequest.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class AnimNode;
class ModelNode;
struct NodeKeyFrame;

// One position of a pose, all pointers resolved; tracks and weights go by node index. Constructing leaves all unset, so
// that a call doesn't pay for positions that it hasn't.
struct PosePosition
{
    AnimNode* const* m_pPrevTracks;
    AnimNode* const* m_pCurTracks;
    const float* m_pWeights; // not read at position 0
    // Weights are shares, from 0 to 1 and of any size, of an addition; otherwise exactly 2 adds and all else blends.
    bool m_bAdd;
    uint32_t m_iPrevKey;
    uint32_t m_iCurKey;
    float m_Percent;       // 0 to 1
    Vector3 m_vRootOffset; // the rows' translation at m_Percent
};

// What an evaluation reads and where it writes. Nothing is owned.
struct PoseCall
{
    PosePosition m_Positions[MAX_ANIM_POSITIONS];
    uint32_t m_nPositions = 0;                  // at least 1
    ModelNode* const* m_pNodes = nullptr;       // by node index
    const NodeKeyFrame* m_pRelations = nullptr; // by node index
    uint32_t m_nRelations = 0;                  // a node beyond has the identity
    const Matrix4* m_pStartMat = nullptr;
    Matrix4* m_pOutput = nullptr; // by node index
    void (*m_pCallback)(void* pUserA, uint32_t iNode, Matrix4* pTransform, void* pUserB) = nullptr;
    void* m_pUserA = nullptr;
    void* m_pUserB = nullptr;
};

// Writes the matrices of nNodes nodes, by the definition at TransformMaker: nodes 0 to nNodes - 1, or those that pPath
// lists. The root comes first and each parent ahead of its children. A track isn't read where its position has the
// weight 0. The same for a node whichever others are evaluated along with it.
void EvaluatePose(const PoseCall& call, const uint32_t* pPath, uint32_t nNodes);

ZOLT_END_NAMESPACE
