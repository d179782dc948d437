#pragma once

#include "engine/model/src/transformmaker.h"
#include "engine/play/keypair.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"

#include <cstddef>
#include <cstdint>

ZOLT_BEGIN_NAMESPACE
class Model;
struct PoseCall;
ZOLT_END_NAMESPACE

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// A moment to pose by: two keys, which may lie in two animations, and the fraction between them.
struct PosePoint
{
    uint32_t m_iPrevAnim = 0; // rows of the model's m_Anims
    uint32_t m_iPrevKey = 0;
    uint32_t m_iCurAnim = 0;
    uint32_t m_iCurKey = 0;
    float m_Percent = 0.0f; // 0 to 1
};

// What a position does to the pose of those before it.
enum class LayerKind
{
    BLEND, // goes over to its own pose, by the weight; a weight of exactly 2 adds
    ADD,   // adds its motion since the first key of its animation, by the weight
};

// Which values of a mask count, the others being 0: a weight set may have both layers that add and such that blend in
// it.
enum class MaskPart
{
    ALL,
    ALL_BUT_TWOS,
    TWOS, // which stand for 1
};

// How the matrices of GetSkinMatrices lie in memory. All take column vectors.
enum class MatrixLayout
{
    ROWS_3X4,    // 12 floats: the three upper rows
    ROWS_4X4,    // 16 floats: four rows
    COLUMNS_3X4, // 12 floats: the upper three of each column
    COLUMNS_4X4, // 16 floats: four columns, as OpenGL takes them
};

// A figure: a pose of its own over a model that it shares with others.
//
// The model isn't owned, isn't changed, and must outlive the instance unchanged; it has to be loaded, or precalculated.
// Any number of instances of a model can be used at once, each by one thread. All memory is taken by Init; nothing
// allocates later. Spaces, units and matrices are those of Model. A call on an instance without a model does nothing
// and gives false, null or 0.
class ModelInstance
{
public:
    ModelInstance() = default;
    ~ModelInstance();
    ModelInstance(const ModelInstance&) = delete;
    ModelInstance& operator=(const ModelInstance&) = delete;

    // The memory that an instance of the model takes, in bytes, and the alignment that it has to have, of which the
    // size is a multiple.
    static size_t GetMemorySize(const Model& model);
    static constexpr size_t MEMORY_ALIGNMENT = 16;

    // Begins anew with a model, in its bind pose. Without pMemory, which stays the caller's, the memory comes from the
    // heap. False, and without a model, for one without nodes, for memory that is too small or isn't aligned, and
    // without memory.
    bool Init(const Model& model, void* pMemory = nullptr, size_t memorySize = 0);
    // Lets the model go, detaches this from its carrier and all that it carries.
    void Term();

    const Model* GetModel() const { return m_pModel; }
    uint32_t NumNodes() const { return m_nNodes; }

    // The pose, position by position. Without any it is the bind pose.
    void ClearPositions() { m_nPositions = 0; }
    uint32_t NumPositions() const { return m_nPositions; }
    // Adds a position with its weight at each node, m × factor / (1 - m × later): m is the mask's value, of NumNodes()
    // that aren't kept, or 1 without a mask. `later` is the sum of the factors of those positions that are going to
    // follow with the same mask and that shall have their shares beside this one rather than on top of it. The first
    // position has no weight. False, with nothing added, for keys that aren't there, a fraction out of range, an
    // animation that doesn't fit the tree, a weight that comes out as NaN or infinite, and beyond MAX_ANIM_POSITIONS.
    bool AddPosition(const PosePoint& point, LayerKind kind = LayerKind::BLEND, const float* pMask = nullptr,
                     float factor = 1.0f, float later = 0.0f, MaskPart part = MaskPart::ALL);

    // Model space to world space.
    void SetWorld(const Matrix4& world) { m_World = world; }
    const Matrix4& GetWorld() const { return m_World; }
    // Comes between the world and the pose, for what is taken out of the pose: the identity at first.
    void SetPoseOffset(const Matrix4& offset) { m_PoseOffset = offset; }
    // Called after each node of Evaluate: see TransformCallback. Null for none.
    void SetNodeCallback(TransformCallback pCallback, void* pUserA, void* pUserB);

    // Makes the matrices of all nodes, and then those of the instances that it carries.
    bool Evaluate();
    // The matrix of one node in model space, by the positions, without the pose offset and the node callback. Takes the
    // matrices of the nodes down to that one as scratch. False for an index out of range and for a node deeper than
    // MAX_NODE_PATH.
    bool EvaluateNode(uint32_t iNode, Matrix4& out);

    // The matrices of the last Evaluate, node space to world space; by node index.
    const Matrix4* GetMatrices() const { return m_pMatrices; }
    // Null, and reported, for an index out of range.
    const Matrix4* GetNodeMatrix(uint32_t iNode) const;
    // Socket space to world space. False for an index out of range or a socket whose node isn't there.
    bool GetSocketMatrix(uint32_t iSocket, Matrix4& out) const;
    // World positions of all vertices at a LOD, piece by piece, `stride` bytes apart: see Model::GetVertexPositions.
    bool GetVertexPositions(Vector3* pOut, uint32_t stride = sizeof(Vector3), uint32_t iLOD = 0) const;
    // Their normals, of unit length; the model must be rigid, as the exporter makes it. A vertex without weights, or
    // without a normal, gets 0, 0, 0.
    bool GetVertexNormals(Vector3* pOut, uint32_t stride = sizeof(Vector3), uint32_t iLOD = 0) const;
    // One matrix a node, which takes a vertex from the bind pose in model space to where it is in the world: the node's
    // matrix times the inverse of its bind pose. pOut has room for 12 or 16 floats a node.
    bool GetSkinMatrices(float* pOut, MatrixLayout layout) const;

    // Carries another instance at a socket: Evaluate puts that one's world at the socket's place times the offset and
    // evaluates it as well, on the same thread. False for an index out of range, null, for one that is carried already,
    // and where it would carry itself.
    bool Attach(ModelInstance* pOther, uint32_t iSocket, const Matrix4& offset);
    // Lets an instance go that this one carries.
    bool Detach(ModelInstance* pOther);
    ModelInstance* GetCarrier() const { return m_pCarrier; }

private:
    struct Position
    {
        PosePoint m_Point;
        LayerKind m_Kind = LayerKind::BLEND;
    };

    bool Evaluate(const Matrix4& start, const uint32_t* pPath, uint32_t nNodes, bool bCallback);
    void EvaluateBindPose(const Matrix4& start, const uint32_t* pPath, uint32_t nNodes, bool bCallback);
    bool IsValid(uint32_t iAnim, uint32_t iKey) const;
    float* GetWeights(uint32_t iPosition) { return m_pWeights + size_t(iPosition - 1) * m_nNodes; }

    const Model* m_pModel = nullptr;
    uint32_t m_nNodes = 0;
    uint32_t m_nPositions = 0;
    Matrix4* m_pMatrices = nullptr;
    float* m_pWeights = nullptr; // NumNodes() for each position but the first
    void* m_pOwnMemory = nullptr;
    Position m_Positions[MAX_ANIM_POSITIONS];
    Matrix4 m_World;
    Matrix4 m_PoseOffset;
    TransformCallback m_pCallback = nullptr;
    void* m_pUserA = nullptr;
    void* m_pUserB = nullptr;

    ModelInstance* m_pCarrier = nullptr;
    ModelInstance* m_pFirstCarried = nullptr;
    ModelInstance* m_pNextCarried = nullptr; // of the same carrier
    uint32_t m_iSocket = 0;                  // of the carrier
    Matrix4 m_SocketOffset;
};
ZOLT_END_NAMESPACE
} // namespace zolt
