#include "engine/play/rendermesh.h"

#include "engine/model/src/modelpiece.h"
#include "engine/model/src/modelvertweight.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
static constexpr uint32_t MAX_SHARES = 8;
static constexpr uint32_t NONE = 0xFFFFFFFFu;

namespace
{
// Records for pairs of a vertex and texture coordinates, each made once.
class VertexSplitter
{
public:
    VertexSplitter(const ModelPieceLOD& mesh, const RenderMeshOptions& options, RenderMesh& out)
        : m_Mesh(mesh), m_Options(options), m_Out(out), m_First(mesh.NumVerts(), NONE)
    {
    }

    uint32_t GetIndex(uint32_t iVert, const ModelTri::UVPair& uv)
    {
        const uint64_t bits = std::bit_cast<uint64_t>(uv); // what isn't a number is found again too
        for (uint32_t i = m_First[iVert]; i != NONE; i = m_Next[i])
        {
            uint64_t there = 0;
            std::memcpy(&there, m_Out.m_Vertices.data() + size_t(i) * m_Out.m_Stride + RenderMesh::TEXTURE_OFFSET,
                        sizeof(there));
            if (there == bits)
                return i;
        }
        const uint32_t iNew = m_Out.m_nVertices++;
        m_Out.m_Vertices.resize(size_t(m_Out.m_nVertices) * m_Out.m_Stride);
        m_Out.m_SourceVert.push_back(iVert);
        m_Next.push_back(m_First[iVert]);
        m_First[iVert] = iNew;
        uint8_t* pRecord = m_Out.m_Vertices.data() + size_t(iNew) * m_Out.m_Stride;
        const ModelVert& vert = m_Mesh.m_Verts.Get(iVert);
        std::memcpy(pRecord + RenderMesh::POSITION_OFFSET, &vert.m_vPos, 12);
        std::memcpy(pRecord + RenderMesh::NORMAL_OFFSET, &vert.m_vNormal, 12);
        std::memcpy(pRecord + RenderMesh::TEXTURE_OFFSET, &uv, sizeof(uv));
        WriteShares(vert, pRecord);
        return iNew;
    }

private:
    void WriteShares(const ModelVert& vert, uint8_t* pRecord)
    {
        // The greatest ones; of equal ones the first.
        const ModelVertWeight* greatest[MAX_SHARES] = {};
        uint32_t n = 0, nAll = 0;
        for (uint32_t i = 0; i < vert.m_nWeights; ++i)
        {
            const ModelVertWeight* pWeight = &vert.m_Weights[i];
            if (!(pWeight->m_Vec[3] > 0.0f))
                continue;
            ++nAll;
            uint32_t iPlace = n;
            while (iPlace > 0 && greatest[iPlace - 1]->m_Vec[3] < pWeight->m_Vec[3])
                --iPlace;
            if (iPlace == m_Options.m_nShares)
                continue;
            n = std::min(n + 1, m_Options.m_nShares);
            for (uint32_t k = n - 1; k > iPlace; --k)
                greatest[k] = greatest[k - 1];
            greatest[iPlace] = pWeight;
        }
        m_Out.m_nCutShares += nAll - n;

        float sum = 0.0f;
        for (uint32_t i = 0; i < n; ++i)
            sum += greatest[i]->m_Vec[3];
        float shares[MAX_SHARES] = {};
        for (uint32_t i = 0; i < m_Options.m_nShares; ++i)
        {
            const uint16_t iNode = n == 0 ? 0 : static_cast<uint16_t>(greatest[i < n ? i : 0]->m_iNode);
            std::memcpy(pRecord + RenderMesh::NODES_OFFSET + 2 * size_t(i), &iNode, 2);
            shares[i] = i < n ? greatest[i]->m_Vec[3] / sum : 0.0f;
        }
        uint8_t* pShares = pRecord + m_Out.m_SharesOffset;
        if (m_Options.m_ShareFormat == ShareFormat::FLOATS)
            std::memcpy(pShares, shares, sizeof(float) * m_Options.m_nShares);
        else
            WriteBytes(shares, n, pShares);
    }

    // Rounded so that they sum to 255: down at first, and those that lost most get what is left.
    static void WriteBytes(const float* pShares, uint32_t n, uint8_t* pOut)
    {
        float lost[MAX_SHARES] = {};
        int left = n == 0 ? 0 : 255;
        for (uint32_t i = 0; i < n; ++i)
        {
            const float scaled = pShares[i] * 255.0f;
            pOut[i] = static_cast<uint8_t>(std::min(scaled, 255.0f));
            lost[i] = scaled - static_cast<float>(pOut[i]);
            left -= pOut[i];
        }
        for (; left > 0; --left)
        {
            float* pMost = std::max_element(lost, lost + n);
            ++pOut[pMost - lost];
            *pMost -= 1.0f;
        }
    }

    const ModelPieceLOD& m_Mesh;
    const RenderMeshOptions& m_Options;
    RenderMesh& m_Out;
    std::vector<uint32_t> m_First; // for each vertex of the piece its newest record
    std::vector<uint32_t> m_Next;  // for each record the one before of the same vertex
};
} // namespace

// Calls the order, and renumbers the records by their first use. False for an index that isn't one.
static bool OrderTriangles(TriangleOrder pOrder, std::vector<uint32_t>& indices, RenderMesh& out)
{
    pOrder(indices.data(), indices.size(), out.m_nVertices);
    std::vector<uint32_t> newIndex(out.m_nVertices, NONE);
    std::vector<uint8_t> records(out.m_Vertices.size());
    std::vector<uint32_t> sources(out.m_nVertices);
    uint32_t n = 0;
    for (uint32_t& index : indices)
    {
        if (index >= out.m_nVertices)
            return false;
        if (newIndex[index] == NONE)
        {
            std::memcpy(records.data() + size_t(n) * out.m_Stride, out.m_Vertices.data() + size_t(index) * out.m_Stride,
                        out.m_Stride);
            sources[n] = out.m_SourceVert[index];
            newIndex[index] = n++;
        }
        index = newIndex[index];
    }
    out.m_Vertices.swap(records);
    out.m_SourceVert.swap(sources);
    return n == out.m_nVertices;
}

static bool Build(const ModelPieceLOD& mesh, const RenderMeshOptions& options, RenderMesh& out)
{
    VertexSplitter splitter(mesh, options, out);
    std::vector<uint32_t> indices;
    indices.reserve(size_t(mesh.NumTris()) * 3);
    for (uint32_t iTri = 0; iTri < mesh.NumTris(); ++iTri)
    {
        const ModelTri& tri = mesh.m_Tris.Get(iTri);
        for (int i = 0; i < 3; ++i)
            indices.push_back(splitter.GetIndex(tri.m_Indices[i], tri.m_UVs[i]));
    }
    if (options.m_pOrder && !OrderTriangles(options.m_pOrder, indices, out))
        return false;
    out.m_nIndices = static_cast<uint32_t>(indices.size());
    out.m_IndexSize = out.m_nVertices <= 65536 ? 2 : 4;
    out.m_Indices.resize(size_t(out.m_nIndices) * out.m_IndexSize);
    for (size_t i = 0; i < indices.size(); ++i) // little-endian: the low bytes come first
        std::memcpy(out.m_Indices.data() + i * out.m_IndexSize, &indices[i], out.m_IndexSize);
    return true;
}

bool BuildRenderMesh(ModelPiece& piece, uint32_t iLOD, const RenderMeshOptions& options, RenderMesh& out)
{
    out = RenderMesh();
    if (iLOD >= piece.NumLODs() || (options.m_nShares != 4 && options.m_nShares != 8))
        return false;
    out.m_nShares = options.m_nShares;
    out.m_ShareFormat = options.m_ShareFormat;
    out.m_SharesOffset = RenderMesh::NODES_OFFSET + 2 * options.m_nShares;
    out.m_Stride = out.m_SharesOffset + options.m_nShares * (options.m_ShareFormat == ShareFormat::FLOATS ? 4 : 1);
    try
    {
        if (Build(*piece.GetLOD(iLOD), options, out))
            return true;
    }
    catch (const std::bad_alloc&) // As if there were none.
    {
    }
    out = RenderMesh();
    return false;
}
ZOLT_END_NAMESPACE
} // namespace zolt
