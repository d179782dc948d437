#pragma once

#include "engine/model/src/modeltri.h"
#include "engine/model/src/modelvert.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

class Model;
class ModelStream;

// A triangle index has 16 bits.
constexpr uint32_t MODEL_MAX_VERTS = 65536;

// One mesh: vertices, and triangles that index them.
class ModelPieceLOD
{
public:
    ModelPieceLOD() = default;
    ~ModelPieceLOD();
    // A copy belongs to the same model and takes its arrays from that model; without memory it is empty.
    ModelPieceLOD(const ModelPieceLOD& other);
    ModelPieceLOD& operator=(const ModelPieceLOD& other);

    uint32_t NumVerts() const { return m_Verts.GetSize(); }
    uint32_t NumTris() const { return m_Tris.GetSize(); }
    ModelVert* GetVert(uint32_t index) { return m_Verts.At(index); }
    ModelTri* GetTri(uint32_t index) { return m_Tris.At(index); }

    // Takes over the texture coordinates of every triangle; false, with nothing changed, if the triangle counts differ.
    QZBOOL CopyUVs(ModelPieceLOD* pOther);

    // The first triangle whose corners 0, 1 and 2, looked up in pPositions (one per vertex), lie within 0.1 of p0, p1
    // and p2 in each axis. Without one *piTri stays as it was; the result is always true. Tool side.
    QZBOOL FindTriangle(const Vector3* pPositions, const Vector3& p0, const Vector3& p1, const Vector3& p2,
                        uint32_t* piTri);

    // iWeight runs through the model's m_VertexWeights, mesh by mesh. False, and the mesh empty, if the stream is too
    // short for a count, if the weights go beyond m_VertexWeights, if a triangle has an index beyond the vertices, or
    // without memory.
    QZBOOL Load(ModelStream* pStream, uint32_t& iWeight);
    QZBOOL Save(ModelStream* pStream); // tool side

    DynArray<ModelVert, NoCache> m_Verts;
    DynArray<ModelTri, NoCache> m_Tris;
    Model* m_pModel = nullptr; // its allocator serves both arrays; null in a fresh element of m_LODs

private:
    void ReportCorner(ModelStream* pStream, uint32_t position) const;
    QZBOOL LoadTris(ModelStream* pStream, uint32_t& maxIndex);
    QZBOOL LoadVerts(ModelStream* pStream, uint32_t& iWeight);
};

ZOLT_END_NAMESPACE
