#include "abctools/posedmesh.h"

#include "engine/model/src/model.h"
#include "engine/model/src/vertexdeformrequest.h"

#include <algorithm>
#include <cmath>

void PoseBox::Add(const Vector3& v)
{
    m_Min = Vector3(std::min(m_Min.x, v.x), std::min(m_Min.y, v.y), std::min(m_Min.z, v.z));
    m_Max = Vector3(std::max(m_Max.x, v.x), std::max(m_Max.y, v.y), std::max(m_Max.z, v.z));
}

void PoseBox::Add(const PoseBox& other)
{
    Add(other.m_Min);
    Add(other.m_Max);
}

Vector3 PoseBox::Centre() const
{
    return Vector3((m_Min.x + m_Max.x) / 2.0f, (m_Min.y + m_Max.y) / 2.0f, (m_Min.z + m_Max.z) / 2.0f);
}

Vector3 PoseBox::Size() const
{
    return Vector3(m_Max.x - m_Min.x, m_Max.y - m_Min.y, m_Max.z - m_Min.z);
}

bool PosedMesh::Init(Model& model, const AnimTracker* pPosition, bool bNormals)
{
    m_Positions.clear();
    m_Normals.clear();
    m_Triangles.clear();
    if (pPosition)
    {
        m_Positions.resize(model.CalcNumVerts() + 1, Vector3(0.0f, 0.0f, 0.0f)); // never without an address
        VertexDeformRequest request;
        request.m_Anims[0] = *pPosition;
        request.m_nAnims = 1;
        request.m_pVertOut = m_Positions.data();
        if (!model.GetVertexPositions(&request, QZTRUE))
            return false;
        m_Positions.pop_back();
    }
    else
    {
        for (uint32_t i = 0; i < model.NumNodes(); ++i)
            model.GetTransform(i) = *model.GetNode(i)->GetGlobalTransform();
    }
    AddPieces(model, !pPosition, bNormals);
    if (m_Triangles.empty())
        AddBones(model);
    return true;
}

// The bind pose's normal as the vertex's nodes have turned it.
static Vector3 PosedNormal(Model& model, const ModelVert& vert)
{
    Vector3 vSum(0.0f, 0.0f, 0.0f);
    for (uint32_t i = 0; i < vert.m_nWeights; ++i)
    {
        const ModelVertWeight& weight = vert.m_Weights[i];
        Vector3 v;
        model.GetNode(weight.m_iNode)->m_mGlobalInverse.Apply3x3(v, vert.m_vNormal);
        model.GetTransform(weight.m_iNode).Apply3x3(v, v);
        const float share = weight.m_Vec[3];
        vSum = Vector3(vSum.x + v.x * share, vSum.y + v.y * share, vSum.z + v.z * share);
    }
    return vSum;
}

void PosedMesh::AddPieces(Model& model, bool bBind, bool bNormals)
{
    uint32_t iFirst = 0;
    for (uint32_t iPiece = 0; iPiece < model.NumPieces(); ++iPiece)
    {
        const ModelPiece& piece = *model.GetPiece(iPiece);
        for (uint32_t i = 0; i < piece.NumVerts(); ++i)
        {
            const ModelVert& vert = piece.m_Verts[i];
            Vector3 n(0.0f, 0.0f, 0.0f);
            if (bNormals)
                n = bBind ? vert.m_vNormal : PosedNormal(model, vert);
            m_Normals.emplace_back(n.x, n.y, -n.z);
            if (bBind)
                m_Positions.push_back(vert.m_vPos);
            m_Positions[iFirst + i].z *= -1.0f;
        }
        for (uint32_t i = 0; i < piece.NumTris(); ++i)
        {
            const uint16_t* pIndices = piece.m_Tris[i].m_Indices;
            // The mirror turns the corners round.
            m_Triangles.push_back({{iFirst + pIndices[0], iFirst + pIndices[2], iFirst + pIndices[1]}, iPiece});
        }
        iFirst += piece.NumVerts();
    }
}

void PosedMesh::AddBones(Model& model)
{
    constexpr float WAIST = 0.15f, WIDTH = 0.06f;
    constexpr uint32_t TIP = 4, END = 5, nCorners = 6; // behind the four of the waist
    for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
    {
        const uint32_t iParent = model.GetNode(iNode)->GetParentIndex();
        if (iParent == MNODE_NO_PARENT)
            continue;
        Vector3 from, to;
        model.GetTransform(iParent).GetTranslation(from);
        model.GetTransform(iNode).GetTranslation(to);
        const float d[3] = {to.x - from.x, to.y - from.y, from.z - to.z};
        const float length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        if (!(length > 0.0f))
            continue;
        // Two directions across the bone.
        const bool bUpright = std::fabs(d[1]) > 0.9f * length;
        float a[3] = {bUpright ? 0.0f : d[2], bUpright ? d[2] : 0.0f, bUpright ? -d[1] : -d[0]};
        const float scale = WIDTH * length / std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
        for (float& value : a)
            value *= scale;
        const float b[3] = {(d[1] * a[2] - d[2] * a[1]) / length, (d[2] * a[0] - d[0] * a[2]) / length,
                            (d[0] * a[1] - d[1] * a[0]) / length};
        const uint32_t iFirst = static_cast<uint32_t>(m_Positions.size());
        const auto add = [&](float along, float acrossA, float acrossB)
        {
            m_Positions.emplace_back(from.x + d[0] * along + a[0] * acrossA + b[0] * acrossB,
                                     from.y + d[1] * along + a[1] * acrossA + b[1] * acrossB,
                                     -from.z + d[2] * along + a[2] * acrossA + b[2] * acrossB);
        };
        add(WAIST, 1.0f, 0.0f);
        add(WAIST, 0.0f, 1.0f);
        add(WAIST, -1.0f, 0.0f);
        add(WAIST, 0.0f, -1.0f);
        add(1.0f, 0.0f, 0.0f);
        add(0.0f, 0.0f, 0.0f);
        m_Normals.resize(iFirst + nCorners, Vector3(0.0f, 0.0f, 0.0f));
        for (uint32_t i = 0; i < 4; ++i)
        {
            const uint32_t iNext = (i + 1) % 4;
            m_Triangles.push_back({{iFirst + i, iFirst + iNext, iFirst + TIP}, iNode});
            m_Triangles.push_back({{iFirst + iNext, iFirst + i, iFirst + END}, iNode});
        }
    }
}

PoseBox PosedMesh::Box() const
{
    PoseBox box;
    for (const Triangle& triangle : m_Triangles)
    {
        for (const uint32_t corner : triangle.m_Corners)
            box.Add(m_Positions[corner]);
    }
    return box;
}
