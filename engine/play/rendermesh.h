#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstddef>
#include <cstdint>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class ModelPiece;
ZOLT_END_NAMESPACE

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// How the shares of a vertex stand in its record.
enum class ShareFormat
{
    FLOATS, // as floats that sum to 1
    BYTES,  // as bytes that sum to 255
};

// Puts whole triangles into another order, in place: three indices each, below nVertices. This library brings none
// along; meshoptimizer's fits with
//     [](uint32_t* p, size_t n, size_t nVertices) { meshopt_optimizeVertexCache(p, p, n, nVertices); }
typedef void (*TriangleOrder)(uint32_t* pIndices, size_t nIndices, size_t nVertices);

struct RenderMeshOptions
{
    uint32_t m_nShares = 4; // nodes a vertex: 4 or 8
    ShareFormat m_ShareFormat = ShareFormat::FLOATS;
    // For the vertex cache of a graphics card. The records follow in the order in which the triangles use them. Null
    // leaves the triangles as the piece has them.
    TriangleOrder m_pOrder = nullptr;
};

// A piece at a LOD as a graphics card takes it: triangles over an index buffer and one record a vertex, with the
// texture coordinates in it. A vertex at which they differ from triangle to triangle is there several times.
//
//     byte 0   position   3 floats, bind pose in model space
//         12   normal     3 floats
//         24   texture    2 floats: u, v
//         32   nodes      m_nShares 16-bit integers
//      then   shares     m_nShares floats or bytes
//
// little-endian, without gaps. With S the matrices of ModelInstance::GetSkinMatrices, a vertex is at
// sum(share × S[node] × position), and its normal points along sum(share × S[node] × normal). Unused shares are 0, and
// their node is that of the first one.
struct RenderMesh
{
    static constexpr uint32_t POSITION_OFFSET = 0;
    static constexpr uint32_t NORMAL_OFFSET = 12;
    static constexpr uint32_t TEXTURE_OFFSET = 24;
    static constexpr uint32_t NODES_OFFSET = 32;

    uint32_t m_nShares = 0;
    ShareFormat m_ShareFormat = ShareFormat::FLOATS;
    uint32_t m_SharesOffset = 0; // in a record
    uint32_t m_Stride = 0;       // bytes of a record
    uint32_t m_nVertices = 0;
    std::vector<uint8_t> m_Vertices;    // m_nVertices records
    std::vector<uint32_t> m_SourceVert; // for each, the vertex of the piece that it comes from
    uint32_t m_IndexSize = 0;           // 2 or 4 bytes: 2 up to 65,536 vertices
    uint32_t m_nIndices = 0;            // three a triangle
    std::vector<uint8_t> m_Indices;
    uint32_t m_nCutShares = 0; // shares beyond m_nShares, which were left out; the rest makes up for them
};

// False, with `out` empty, for a LOD that the piece lacks, a number of shares that is neither 4 nor 8, an order that
// gives indices out of range, and without memory.
bool BuildRenderMesh(ModelPiece& piece, uint32_t iLOD, const RenderMeshOptions& options, RenderMesh& out);
ZOLT_END_NAMESPACE
} // namespace zolt
