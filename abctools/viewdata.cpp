#include "abctools/base64.h"
#include "abctools/displaytext.h"
#include "abctools/viewpage.h"
#include "engine/model/src/model.h"

#include <bit>
#include <cstring>
#include <filesystem>

using nlohmann::ordered_json;

namespace
{

// Arrays one behind the other.
class ArrayWriter
{
public:
    void U8(uint32_t value) { m_Bytes.push_back(static_cast<uint8_t>(value)); }

    void U16(uint32_t value)
    {
        U8(value & 0xFFu);
        U8(value >> 8);
    }

    void U32(uint32_t value)
    {
        U16(value & 0xFFFFu);
        U16(value >> 16);
    }

    void F32(float value) { U32(std::bit_cast<uint32_t>(value)); }

    void Vector(const Vector3& v)
    {
        F32(v.x);
        F32(v.y);
        F32(v.z);
    }

    void Key(const NodeKeyFrame& key)
    {
        Vector(key.m_vTranslation);
        F32(key.m_qRotation.x);
        F32(key.m_qRotation.y);
        F32(key.m_qRotation.z);
        F32(key.m_qRotation.w);
    }

    // Ends an array.
    void End()
    {
        while (m_Bytes.size() % 4 != 0)
            U8(0);
    }

    std::vector<uint8_t> m_Bytes;
};

} // namespace

static void WriteNodes(ArrayWriter& writer, const Model& model)
{
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        for (const float value : model.GetNode(i)->GetGlobalTransform()->m)
            writer.F32(value);
    }
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
        writer.Vector(model.GetNode(i)->m_vOffsetFromParent);
}

static void WriteMesh(ArrayWriter& writer, const ModelPieceLOD& mesh)
{
    const auto eachTri = [&](auto write)
    {
        for (uint32_t i = 0; i < mesh.NumTris(); ++i)
        {
            for (int corner = 0; corner < 3; ++corner)
                write(mesh.m_Tris[i], corner);
        }
        writer.End();
    };
    const auto eachVert = [&](auto write)
    {
        for (uint32_t i = 0; i < mesh.NumVerts(); ++i)
            write(mesh.m_Verts[i]);
        writer.End();
    };
    const auto eachWeight = [&](auto write)
    {
        eachVert(
            [&](const ModelVert& vert)
            {
                for (uint32_t i = 0; i < vert.m_nWeights; ++i)
                    write(vert.m_Weights[i]);
            });
    };
    eachTri([&](const ModelTri& tri, int corner) { writer.U16(tri.m_Indices[corner]); });
    eachTri(
        [&](const ModelTri& tri, int corner)
        {
            writer.F32(tri.m_UVs[corner].u);
            writer.F32(tri.m_UVs[corner].v);
        });
    eachVert([&](const ModelVert& vert) { writer.Vector(vert.m_vPos); });
    eachVert([&](const ModelVert& vert) { writer.Vector(vert.m_vNormal); });
    eachVert([&](const ModelVert& vert) { writer.U16(vert.m_nWeights); });
    eachWeight([&](const ModelVertWeight& weight) { writer.U16(weight.m_iNode); });
    eachWeight(
        [&](const ModelVertWeight& weight)
        {
            for (const float value : weight.m_Vec)
                writer.F32(value);
        });
}

static void WriteRelations(ArrayWriter& writer, const ChildInfo& link, uint32_t nNodes)
{
    NodeKeyFrame identity;
    identity.SetIdentity();
    const auto isIdentity = [](const NodeKeyFrame& key)
    {
        const Vector3& v = key.m_vTranslation;
        const Quaternion& q = key.m_qRotation;
        return v.x == 0.0f && v.y == 0.0f && v.z == 0.0f && q.x == 0.0f && q.y == 0.0f && q.z == 0.0f && q.w == 1.0f;
    };
    bool bAny = false;
    for (uint32_t i = 0; i < link.m_Relations.GetSize(); ++i)
        bAny = bAny || !isIdentity(link.m_Relations[i]);
    writer.U32(bAny ? 1 : 0);
    for (uint32_t i = 0; bAny && i < nNodes; ++i)
        writer.Key(i < link.m_Relations.GetSize() ? link.m_Relations[i] : identity);
}

// The place of a link in the model's list.
static uint32_t LinkIndex(const Model& model, const ChildInfo* pLink)
{
    uint32_t index = 0;
    while (index + 1 < model.NumChildModels() && model.GetChildModel(index) != pLink)
        ++index;
    return index;
}

static void WriteAnim(ArrayWriter& writer, Model& model, uint32_t iAnim)
{
    const AnimInfo* pInfo = model.GetAnimInfo(iAnim);
    const ModelAnim& anim = *pInfo->m_pAnim;
    const uint32_t nKeys = anim.NumKeyFrames();
    const bool bTracks = pInfo->m_pChildInfo->m_bTreeMatches && anim.m_AnimNodes;
    writer.U32(LinkIndex(model, pInfo->m_pChildInfo));
    writer.U32(bTracks && nKeys > 0 ? 1 : 0);
    for (uint32_t i = 0; i < nKeys; ++i)
        writer.U32(anim.m_KeyFrames[i].m_Time);
    if (!bTracks || nKeys == 0)
        return;
    std::vector<bool> constant(model.NumNodes());
    for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
    {
        const NodeKeyFrame* pKeys = anim.m_AnimNodes[iNode]->m_KeyFrames.GetArray();
        constant[iNode] = std::memcmp(pKeys, pKeys + 1, (nKeys - 1) * sizeof(NodeKeyFrame)) == 0;
        writer.U8(constant[iNode] ? 1 : 0);
    }
    writer.End();
    for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
    {
        const NodeKeyFrame* pKeys = anim.m_AnimNodes[iNode]->m_KeyFrames.GetArray();
        for (uint32_t iKey = 0; iKey < (constant[iNode] ? 1 : nKeys); ++iKey)
            writer.Key(pKeys[iKey]);
    }
}

ordered_json ViewFile(Model& model, const std::string& path, const ordered_json& info)
{
    ArrayWriter writer;
    WriteNodes(writer, model);
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        ModelPiece* pPiece = model.GetPiece(i);
        for (uint32_t iLOD = 0; iLOD < pPiece->NumLODs(); ++iLOD)
            WriteMesh(writer, *pPiece->GetLOD(iLOD));
    }
    ordered_json missing = ordered_json::array();
    for (uint32_t i = 0; i < model.NumChildModels(); ++i)
    {
        WriteRelations(writer, *model.GetChildModel(i), model.NumNodes());
        if (!model.GetChildModel(i)->m_pModel)
            missing.push_back(i);
    }
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
        WriteAnim(writer, model, i);
    return {{"file", ToUtf8(path)},
            {"name", ToUtf8(std::filesystem::path(path).filename().string())},
            {"info", info},
            {"missing", missing},
            {"data", Base64(writer.m_Bytes)}};
}
