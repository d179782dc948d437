#pragma once

#include "engine/model/src/animtracker.h"
#include "engine/model/src/vertexdeformrequest.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/quaternion.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>

class ChildInfo;
class Model;
class ModelAnim;
class WeightSet;
struct NodeKeyFrame;

// The longest path of SetupNodePath, root included.
constexpr uint32_t MAX_NODE_PATH = 64;

// Called after each node with m_pUserA, the node index, the node's finished matrix, and m_pUserB.
typedef void (*TransformCallback)(void* pUserA, uint32_t iNode, Matrix4* pTransform, void* pUserB);

// Scratch of the evaluation that runs: one at a time per process.
extern Matrix4 g_TempMat;

// Evaluates a pose: a matrix for each node, from node space to the space of the starting matrix. Position 0 is the
// base; positions 1 and up are layered on it through their weight sets. Lives on the caller's stack and allocates
// nothing. Needs a precalculated model whose weight sets hold one weight per node.
class TransformMaker
{
public:
    TransformMaker();

    QZBOOL IsValid() const;
    // Checks the request and resolves all pointers; false leaves everything as it was. Refused are also animations
    // without a track list or of a model with fewer nodes, and weight sets with fewer values than nodes.
    QZBOOL SetupCall();
    // Evaluates all nodes.
    QZBOOL SetupTransforms();
    // Evaluates only the nodes from the root to iNode; at most MAX_NODE_PATH of them.
    QZBOOL SetupNodePath(uint32_t iNode);
    // Takes positions and starting matrix from a request; the request must outlive the evaluation.
    void InitFromRequest(VertexDeformRequest* pRequest);

    AnimTracker m_Anims[MAX_ANIM_POSITIONS];
    uint32_t m_nAnims;
    Matrix4* m_pStartMat; // null: identity. Once resolved it stays set: clear it before using another model
    Matrix4* m_pOutput;   // one matrix per node; null: the model's m_Transforms. Stays set likewise
    TransformCallback m_pCallback;
    void* m_pUserB;
    void* m_pUserA;

private:
    void Recurse(uint32_t iNode, const Matrix4* pParentMat);
    void Interpolate(uint32_t i, uint32_t iNode, Quaternion& outRot, Vector3& outTrans) const;
    void InterpolateRelative(uint32_t i, uint32_t iNode, Quaternion& outRot, Vector3& outTrans) const;
    void InterpolateKeys(uint32_t i, uint32_t iNode, Quaternion& outRot, Vector3& outTrans) const;
    void BlendPosition(uint32_t i, uint32_t iNode);

    // Working state of one evaluation.
    uint32_t* m_pRecursePath;
    uint32_t m_iCurPath;
    const NodeKeyFrame* m_pRelation;
    Matrix4 m_RelationMat;
    ChildInfo* m_pChildInfo;
    Matrix4 m_LocalMat;
    Quaternion m_Rot;
    Vector3 m_Translation;
    Model* m_pModel;
    Matrix4 m_IdentityMat;
    WeightSet* m_WeightSets[MAX_ANIM_POSITIONS];
    ModelAnim* m_PrevAnims[MAX_ANIM_POSITIONS];
    ModelAnim* m_CurAnims[MAX_ANIM_POSITIONS];
};
