#pragma once

#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/qzbool.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class Model;
class ModelPieceLOD;
class ModelStream;

// The parent index of the root.
constexpr uint32_t MNODE_NO_PARENT = 0xFFFFFFFFu;

// Flag bits of a node; the other six bits pass through load and save unchanged.
enum : uint8_t
{
    MNODE_REMOVEABLE = 1,  // nothing needs the node: the tool side may remove it
    MNODE_FIXEDOFFSET = 2, // the evaluator ignores the animated translation and uses m_vOffsetFromParent
};

// A tree can hold this many nodes (the index has 16 bits) on this many levels, the root's being the first.
constexpr uint32_t MODEL_MAX_NODES = 65536;
constexpr uint32_t MODEL_MAX_LEVELS = 1024;

// One joint of a model's skeleton. A parent owns its children; the model owns the root.
class ModelNode
{
public:
    ZOLT_ALLOCATED_NEW

    ModelNode();
    explicit ModelNode(Model* pModel);
    virtual ~ModelNode();
    ModelNode(const ModelNode&) = delete;
    ModelNode& operator=(const ModelNode&) = delete;

    // Told for every node when vertex iVert leaves the LOD 0 mesh pLOD; iReplacement takes its place.
    virtual void OnVertexRemoved(ModelPieceLOD* pLOD, uint32_t iVert, uint32_t iReplacement);
    // A new node of this node's class for pModel, or null.
    virtual ModelNode* CreateNode(Model* pModel);
    // Moves the subtree to another model, whose string store gets the names.
    virtual void SetModel(Model* pModel);

    void SetName(const char* pName);
    const char* GetName() const { return m_Name; }
    uint32_t GetNodeIndex() const { return m_NodeIndex; }
    uint32_t GetParentIndex() const { return m_iParent; }
    uint32_t NumChildren() const { return m_Children.GetSize(); }
    ModelNode* GetChild(uint32_t index) const { return m_Children.GetOrNone(index); }
    Model* GetModel() const { return m_pModel; }
    const Matrix4* GetGlobalTransform() const { return &m_mGlobal; }
    // Stores the matrix and its rigid inverse: true only for a rotation and a translation.
    void SetGlobalTransform(const Matrix4& m);

    // Deletes the children and resets everything but the model.
    void Clear();
    // The size of the subtree, this node included.
    uint32_t CountNodes() const;
    // Numbers the subtree in pre-order from *pIndex on and enters it in the model's flat list;
    // false when the list is too short.
    QZBOOL AssignIndices(uint32_t* pIndex);
    // Needs the indices of AssignIndices.
    void SetParentIndices(uint32_t iParent);

    // Reads the node and all below it. False for a tree of more than MODEL_MAX_NODES nodes or MODEL_MAX_LEVELS levels,
    // for a name that can't be read, for more children than the stream can hold, and without memory.
    QZBOOL Load(ModelStream* pStream);
    QZBOOL Save(ModelStream* pStream); // tool side

    Vector3 m_vOffsetFromParent; // in the parent's space, bind pose; derived, not in the file
    uint16_t m_NodeIndex;        // pre-order number, root 0
    uint8_t m_Flags;
    uint32_t m_iRemapIndex; // scratch of the node removal
    DynArray<ModelNode*, NoCache> m_Children;
    uint32_t m_iParent; // derived; MNODE_NO_PARENT for the root
    Matrix4 m_mGlobal;  // bind pose: node space to model space
    Matrix4 m_mGlobalInverse;
    Model* m_pModel;
    const char* m_Name; // in the model's string store

private:
    QZBOOL LoadLevel(ModelStream* pStream, uint32_t nLevel, uint32_t& nNodes);
};

// True if the two trees have the same shape; names, matrices and flags don't count. On a difference *pFail is
// the first node under pA, depth first, whose number of children differs. pFail may be null.
QZBOOL CompareNodeTrees(ModelNode* pA, ModelNode* pB, ModelNode** pFail);

ZOLT_END_NAMESPACE
