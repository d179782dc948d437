#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/memorystream.h"

typedef std::vector<uint8_t> Bytes;

// A node at the end of its parent's children; without a parent it is the root.
template <class T = ModelNode> T* AddNode(Model& model, ModelNode* pParent, const std::string& name)
{
    T* pNode = AllocNew<T>(*model.m_pAllocator, &model);
    pNode->SetName(name.c_str());
    if (pParent)
        pParent->m_Children.Append(pNode, model.m_pAllocator);
    else
        model.SetRootNode(pNode);
    return pNode;
}

// A tree out of a text such as "root(a(b,c),d*)"; a star marks a node as removable.
template <class T = ModelNode> void BuildTree(Model& model, const std::string& text)
{
    std::vector<ModelNode*> parents;
    ModelNode* pLast = nullptr;
    for (size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == '*' && pLast)
            pLast->m_Flags |= MNODE_REMOVEABLE;
        else if (text[i] == '(')
            parents.push_back(pLast);
        else if (text[i] == ')')
            parents.pop_back();
        else if (text[i] != ',')
        {
            const size_t end = std::min(text.find_first_of("(),*", i), text.size());
            pLast = AddNode<T>(model, parents.empty() ? nullptr : parents.back(), text.substr(i, end - i));
            i = end - 1;
        }
    }
    ASSERT_TRUE(model.Precalc(QZTRUE));
}

template <class T> void BuildTracks(T* pTrack, ModelNode* pNode, uint32_t nKeys, std::mt19937& rng)
{
    Allocator* pAllocator = pNode->GetModel()->m_pAllocator;
    std::uniform_real_distribution<float> range(-1.0f, 1.0f);
    pTrack->m_pNode = pNode;
    pTrack->m_KeyFrames.SetSize(nKeys, pAllocator);
    for (uint32_t i = 0; i < nKeys; ++i)
    {
        float q[4];
        for (float& value : q)
            value = range(rng);
        const float mag = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        pTrack->m_KeyFrames[i].m_qRotation.Set(q[0] / mag, q[1] / mag, q[2] / mag, q[3] / mag);
        pTrack->m_KeyFrames[i].m_vTranslation.Set(range(rng), range(rng), range(rng));
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        AnimNode* pChild = pTrack->CreateAnimNode(pTrack->GetAnim(), pTrack);
        pTrack->m_Children.Append(pChild, pAllocator);
        BuildTracks(pChild, pNode->GetChild(i), nKeys, rng);
    }
}

// Keys at 100, 200, ... ms with random transforms.
inline ModelAnim* AddRandomAnim(Model& model, const char* pName, uint32_t nKeys, uint32_t seed)
{
    std::mt19937 rng(seed);
    ModelAnim* pAnim = AllocNew<ModelAnim>(*model.m_pAllocator, &model);
    pAnim->SetName(pName);
    for (uint32_t i = 0; i < nKeys; ++i)
        pAnim->m_KeyFrames.Append({100 * (i + 1), g_EmptyString}, model.m_pAllocator);
    BuildTracks(pAnim->GetRootNode(), model.GetRootNode(), nKeys, rng);
    EXPECT_TRUE(pAnim->PrecalcNodeLists(QZTRUE));
    EXPECT_TRUE(model.AddAnim(pAnim));
    return pAnim;
}

// An affine transform, three rows of four.
struct Pose
{
    double m[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
};

inline Pose operator*(const Pose& a, const Pose& b)
{
    Pose out;
    for (int r = 0; r < 3; ++r)
    {
        for (int c = 0; c < 4; ++c)
            out.m[r][c] =
                a.m[r][0] * b.m[0][c] + a.m[r][1] * b.m[1][c] + a.m[r][2] * b.m[2][c] + (c == 3 ? a.m[r][3] : 0);
    }
    return out;
}

inline Pose PoseOf(const NodeKeyFrame& key)
{
    double x = key.m_qRotation.x, y = key.m_qRotation.y, z = key.m_qRotation.z, w = key.m_qRotation.w;
    const double mag = std::sqrt(x * x + y * y + z * z + w * w);
    x /= mag, y /= mag, z /= mag, w /= mag;
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y), key.m_vTranslation.x},
             {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x), key.m_vTranslation.y},
             {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y), key.m_vTranslation.z}}};
}

typedef std::map<std::string, Pose> Poses;

// The model-space poses of all nodes by name at one key, in double.
inline void AddPoses(Poses& poses, AnimNode* pTrack, uint32_t iKey, const Pose& parent)
{
    const Pose global = parent * PoseOf(pTrack->m_KeyFrames[iKey]);
    poses[pTrack->m_pNode->GetName()] = global;
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        AddPoses(poses, pTrack->GetChild(i), iKey, global);
}

inline std::vector<Poses> AllPoses(ModelAnim* pAnim)
{
    std::vector<Poses> all(pAnim->NumKeyFrames());
    for (uint32_t i = 0; i < pAnim->NumKeyFrames(); ++i)
        AddPoses(all[i], pAnim->GetRootNode(), i, Pose());
    return all;
}

// Every node of `after` is where it was in `before`.
inline void ExpectSamePoses(const std::vector<Poses>& before, const std::vector<Poses>& after, double tolerance)
{
    ASSERT_EQ(before.size(), after.size());
    for (size_t iKey = 0; iKey < after.size(); ++iKey)
    {
        for (const auto& [name, pose] : after[iKey])
        {
            ASSERT_EQ(before[iKey].count(name), 1u) << name;
            for (int i = 0; i < 12; ++i)
                ASSERT_NEAR(before[iKey].at(name).m[i / 4][i % 4], pose.m[i / 4][i % 4], tolerance) << name << iKey;
        }
    }
}

inline Bytes BytesOf(const MemoryStream& stream)
{
    return Bytes(stream.m_Data.GetArray(), stream.m_Data.GetArray() + stream.m_Data.GetSize());
}

// What the model's sections hold under a given stamp.
inline Bytes Snapshot(Model& model)
{
    const uint32_t stamp = model.GetModelStamp();
    MemoryStream stream(65536);
    model.SetModelStamp(0);
    EXPECT_TRUE(model.WriteSections(&stream));
    model.SetModelStamp(stamp);
    return BytesOf(stream);
}

inline uint32_t LoadBytes(Model& model, const Bytes& bytes, ModelLoadCallback callback = DefaultLoadCallback)
{
    MemoryStream stream(0);
    stream.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
    LoadRequest request;
    request.m_pStream = &stream;
    request.m_pLoadCallback = callback;
    return model.Load(&request);
}

// A piece of one LOD at the end of the model's list.
inline ModelPiece* AddPiece(Model& model, const std::vector<Vector3>& positions,
                            const std::vector<std::vector<uint16_t>>& tris)
{
    ModelPiece* pPiece = AllocNew<ModelPiece>(*model.m_pAllocator, &model);
    pPiece->m_Verts.SetSize(static_cast<uint32_t>(positions.size()), model.m_pAllocator);
    for (uint32_t i = 0; i < positions.size(); ++i)
        pPiece->m_Verts[i].m_vPos = positions[i];
    pPiece->m_Tris.SetSize(static_cast<uint32_t>(tris.size()), model.m_pAllocator);
    for (uint32_t i = 0; i < tris.size(); ++i)
    {
        for (int k = 0; k < 3; ++k)
        {
            pPiece->m_Tris[i].m_Indices[k] = tris[i][k];
            pPiece->m_Tris[i].m_UVs[k] = {static_cast<float>(i), static_cast<float>(k)};
        }
    }
    model.m_Pieces.Append(pPiece, model.m_pAllocator);
    return pPiece;
}
