#pragma once

#include "engine/model/src/animtracker.h"
#include "engine/model/src/vertexdeformrequest.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class ChildInfo;
class Model;
class ModelAnim;
class WeightSet;

// The longest path of SetupNodePath, root included.
constexpr uint32_t MAX_NODE_PATH = 64;

// Called after each node with m_pUserA, the node index, the node's finished matrix, and m_pUserB. The nodes below go on
// from what the callback leaves in the matrix.
typedef void (*TransformCallback)(void* pUserA, uint32_t iNode, Matrix4* pTransform, void* pUserB);

// Scratch of the evaluation that runs on this thread.
extern thread_local Matrix4 g_TempMat;

// Evaluates a pose. Of position 0, the rotation r and the translation t of a node are interpolated between the two keys
// (r along the sphere, t along the line). Each further position, with w its weight at the node and r', t' its own
// rotation and translation there, leaves them (w = 0), goes on to slerp(r, r', w) and t + (t' - t) w, or (w exactly 2)
// to r conj(k) r' and t + t' - k.t, with k the node's first key in the position's animation. At the root, t
// and the t' of a blend get the rows' m_vTranslation, interpolated likewise; the t' of an addition doesn't. Then
//     matrix = (parent's matrix, or the starting one) x (r, t) x (relation of the base animation's child link).
// A node with MNODE_FIXEDOFFSET has its m_vOffsetFromParent in place of t.
//
// The result is a matrix for each node, from node space to the space of the starting matrix. Position 0 is the
// base; positions 1 and up are layered on it through their weight sets. Lives on the caller's stack and allocates
// nothing. Needs a precalculated model whose weight sets hold one weight per node.
//
// Any number of threads may evaluate one model at once, each with a maker and an m_pOutput of its own, as long as
// nobody changes the model or its child models meanwhile.
class TransformMaker
{
public:
    TransformMaker();

    // True if 1 to MAX_ANIM_POSITIONS positions are in use, all valid and of one model, and each from 1 on has a weight
    // set of that model.
    QZBOOL IsValid() const;
    // Checks the request and resolves all pointers; false leaves everything as it was. Refused are also animations
    // without a track list or of a model with fewer nodes, and weight sets with fewer values than nodes.
    QZBOOL SetupCall();
    // Evaluates all nodes. False, with nothing written, if SetupCall is.
    QZBOOL SetupTransforms();
    // Evaluates only the nodes from the root to iNode; the other matrices keep what they hold. False if SetupCall is,
    // for an index out of range and, reported, for a path of more than MAX_NODE_PATH nodes.
    QZBOOL SetupNodePath(uint32_t iNode);
    // Takes positions, starting matrix and output from a request; the request must outlive the evaluation.
    void InitFromRequest(VertexDeformRequest* pRequest);

    AnimTracker m_Anims[MAX_ANIM_POSITIONS];
    uint32_t m_nAnims;
    // Null stands for the identity, and for the model's m_Transforms (NumNodes() matrices). The first evaluation puts
    // in what null stands for, and there it stays: set both back to null for another model, after a Load, Term or
    // Precalc(QZTRUE) of this one, and in a copy of a maker. Not owned.
    Matrix4* m_pStartMat;
    Matrix4* m_pOutput;
    TransformCallback m_pCallback; // may be null
    void* m_pUserB;
    void* m_pUserA;

private:
    // All nodes, or those of a path, root first.
    void Evaluate(const uint32_t* pPath, uint32_t nNodes) const;

    // Working state of one evaluation.
    ChildInfo* m_pChildInfo;
    Model* m_pModel;
    Matrix4 m_IdentityMat;
    WeightSet* m_WeightSets[MAX_ANIM_POSITIONS];
    ModelAnim* m_PrevAnims[MAX_ANIM_POSITIONS];
    ModelAnim* m_CurAnims[MAX_ANIM_POSITIONS];
};

ZOLT_END_NAMESPACE
