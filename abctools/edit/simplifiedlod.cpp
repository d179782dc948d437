#include "abctools/edit/simplifiedlod.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <tuple>

namespace
{

// Directions far from each other, one for each number.
Vector3 Spread(uint32_t i)
{
    constexpr double GOLDEN_ANGLE = 2.399963229728653;
    constexpr double GOLDEN_PART = 0.6180339887498949;
    const double y = 2.0 * std::fmod((i + 0.5) * GOLDEN_PART, 1.0) - 1.0;
    const double across = std::sqrt(1.0 - y * y);
    return Vector3(static_cast<float>(across * std::cos(GOLDEN_ANGLE * i)), static_cast<float>(y),
                   static_cast<float>(across * std::sin(GOLDEN_ANGLE * i)));
}

// Where the vertex is taken to be: each node is shifted in a direction of its own by a part of its bone's length. In
// the bind pose a limb is straight, so that a simplification would take it for a tube without joints, and what is left
// couldn't bend.
Vector3 BentPlace(const Model& model, const ModelVert& vert)
{
    constexpr float BEND = 0.05f; // more costs sparse meshes their shape, less leaves bends
    Vector3 place = vert.m_vPos;
    for (uint32_t i = 0; i < vert.m_nWeights; ++i)
    {
        const ModelVertWeight& weight = vert.m_Weights[i];
        const ModelNode* pNode = model.GetNode(weight.m_iNode);
        if (pNode->GetParentIndex() == MNODE_NO_PARENT)
            continue;
        Vector3 from, to;
        model.GetNode(pNode->GetParentIndex())->m_mGlobal.GetTranslation(from);
        pNode->m_mGlobal.GetTranslation(to);
        const float length = (to - from).Mag();
        place = place + Spread(weight.m_iNode) * (BEND * length * weight.m_Vec[3]);
    }
    return place;
}

// A mesh with a vertex for each pair of a vertex and its coordinates at a triangle's corner.
struct CornerMesh
{
    struct Corner
    {
        uint16_t m_iVert;
        ModelTri::UVPair m_UV;
    };

    CornerMesh(const Model& model, ModelPieceLOD& mesh)
    {
        std::map<std::tuple<uint16_t, uint32_t, uint32_t>, unsigned> known;
        for (uint32_t iTri = 0; iTri < mesh.NumTris(); ++iTri)
        {
            const ModelTri& tri = *mesh.GetTri(iTri);
            for (uint32_t i = 0; i < 3; ++i)
            {
                const std::tuple key(tri.m_Indices[i], std::bit_cast<uint32_t>(tri.m_UVs[i].u),
                                     std::bit_cast<uint32_t>(tri.m_UVs[i].v));
                const auto [it, bNew] = known.emplace(key, static_cast<unsigned>(m_Corners.size()));
                m_Indices.push_back(it->second);
                if (!bNew)
                    continue;
                m_Corners.push_back({tri.m_Indices[i], tri.m_UVs[i]});
                const Vector3 place = BentPlace(model, *mesh.GetVert(tri.m_Indices[i]));
                m_Places.insert(m_Places.end(), {place.x, place.y, place.z});
            }
        }
    }

    std::vector<Corner> m_Corners;
    std::vector<float> m_Places; // x, y, z for each corner, with joints bent a little
    std::vector<unsigned> m_Indices;
};

} // namespace

static std::vector<unsigned> Simplify(const CornerMesh& mesh, double ratio, bool bLockBorder, double& error)
{
    constexpr size_t STRIDE = 3 * sizeof(float);
    const size_t nCorners = mesh.m_Corners.size();
    std::vector<unsigned> indices(mesh.m_Indices.size());
    error = 0.0;
    if (indices.empty())
        return indices;
    const size_t nTriangles = indices.size() / 3;
    const size_t target = 3 * static_cast<size_t>(ratio * static_cast<double>(nTriangles));
    float part = 0.0f;
    indices.resize(meshopt_simplify(indices.data(), mesh.m_Indices.data(), indices.size(), mesh.m_Places.data(),
                                    nCorners, STRIDE, target, 1.0f, bLockBorder ? meshopt_SimplifyLockBorder : 0,
                                    &part));
    error = double(part) * meshopt_simplifyScale(mesh.m_Places.data(), nCorners, STRIDE);
    return indices;
}

// The mesh of the triangles that are left, in the order of LOD 0's vertices.
static bool BuildMesh(ModelPiece& piece, const CornerMesh& corners, const std::vector<unsigned>& indices,
                      ModelPieceLOD& lod)
{
    std::vector<uint32_t> newIndices(piece.NumVerts(), UINT32_MAX);
    std::vector<ModelTri> tris;
    for (size_t i = 0; i < indices.size(); i += 3)
    {
        ModelTri tri;
        for (size_t k = 0; k < 3; ++k)
        {
            const CornerMesh::Corner& corner = corners.m_Corners[indices[i + k]];
            tri.m_Indices[k] = corner.m_iVert;
            tri.m_UVs[k] = corner.m_UV;
        }
        const uint16_t* v = tri.m_Indices;
        if (v[0] == v[1] || v[1] == v[2] || v[0] == v[2])
            continue;
        tris.push_back(tri);
        for (const uint16_t iVert : tri.m_Indices)
            newIndices[iVert] = 0;
    }
    uint32_t nVerts = 0;
    for (uint32_t& index : newIndices)
        index = index == 0 ? nVerts++ : index;
    Allocator* pAllocator = piece.GetModel()->GetGrowAllocator();
    lod.m_pModel = piece.GetModel();
    if (!lod.m_Tris.SetSize(static_cast<uint32_t>(tris.size()), pAllocator) || !lod.m_Verts.SetSize(nVerts, pAllocator))
        return false;
    for (uint32_t i = 0; i < tris.size(); ++i)
    {
        lod.m_Tris[i] = tris[i];
        for (uint16_t& index : lod.m_Tris[i].m_Indices)
            index = static_cast<uint16_t>(newIndices[index]);
    }
    for (uint32_t i = 0; i < piece.NumVerts(); ++i)
    {
        if (newIndices[i] != UINT32_MAX)
            lod.m_Verts[newIndices[i]] = piece.m_Verts[i];
    }
    return true;
}

// Gives the vertices of the coarsest LODs weight records of their own: until now they share those of LOD 0.
static bool CopyWeights(Model& model)
{
    std::vector<ModelVert*> verts; // of all meshes, those that share at the end
    std::vector<ModelVert*> sharing;
    for (uint32_t iPiece = 0; iPiece < model.NumPieces(); ++iPiece)
    {
        ModelPiece& piece = *model.GetPiece(iPiece);
        for (uint32_t iLOD = 0; iLOD < piece.NumLODs(); ++iLOD)
        {
            ModelPieceLOD& mesh = *piece.GetLOD(iLOD);
            for (uint32_t i = 0; i < mesh.NumVerts(); ++i)
                (iLOD + 1 == piece.NumLODs() ? sharing : verts).push_back(&mesh.m_Verts[i]);
        }
    }
    const size_t nOwning = verts.size();
    verts.insert(verts.end(), sharing.begin(), sharing.end());
    const uint32_t nBefore = model.m_VertexWeights.GetSize();
    const ModelVertWeight* pBefore = model.m_VertexWeights.GetArray();
    std::vector<ptrdiff_t> places;
    uint32_t nMore = 0;
    for (size_t i = 0; i < verts.size(); ++i)
    {
        places.push_back(verts[i]->m_nWeights ? verts[i]->m_Weights - pBefore : 0);
        nMore += i < nOwning ? 0u : verts[i]->m_nWeights;
    }
    if (!model.m_VertexWeights.NiceSetSize(nBefore + nMore, QZTRUE, model.GetGrowAllocator()))
        return false;
    ModelVertWeight* pWeights = model.m_VertexWeights.GetArray();
    ModelVertWeight* pNext = pWeights + nBefore;
    for (size_t i = 0; i < verts.size(); ++i)
    {
        if (verts[i]->m_nWeights == 0)
            continue;
        ModelVertWeight* pOld = pWeights + places[i];
        verts[i]->m_Weights = i < nOwning ? pOld : pNext;
        if (i >= nOwning)
            pNext = std::copy_n(pOld, verts[i]->m_nWeights, pNext);
    }
    return true;
}

bool AddSimplifiedLod(Model& model, double ratio, float distance, std::vector<SimplifiedPiece>& pieces)
{
    pieces.clear();
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        ModelPiece& piece = *model.GetPiece(i);
        const CornerMesh corners(model, piece);
        ModelPieceLOD lod;
        SimplifiedPiece told;
        const std::vector<unsigned> indices = Simplify(corners, ratio, model.NumPieces() > 1, told.m_Error);
        if (!BuildMesh(piece, corners, indices, lod) || !piece.m_LODs.Append(lod, model.GetGrowAllocator()))
            return false;
        told.m_nTrisBefore = piece.NumTris();
        told.m_nTrisAfter = lod.NumTris();
        pieces.push_back(told);
    }
    return CopyWeights(model) && model.m_LODDistances.Append(distance, model.GetGrowAllocator());
}
