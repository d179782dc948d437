#include "tests/abctools/testmodel.h"

#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/memorystream.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

static ModelNode* AddNode(Model& model, ModelNode* pParent, const char* pName, float x, float y)
{
    ModelNode* pNode = pParent;
    if (!pNode)
    {
        pNode = model.GetRootNode();
    }
    else
    {
        pNode = new ModelNode(&model);
        pParent->m_Children.Append(pNode);
    }
    pNode->SetName(pName);
    Matrix4 global;
    global.SetTranslation(x, y, 0.0f);
    pNode->SetGlobalTransform(global);
    return pNode;
}

static void AddTree(Model& model)
{
    ModelNode* pRoot = AddNode(model, nullptr, "root", 0.0f, 0.0f);
    ModelNode* pSpine = AddNode(model, pRoot, "spine", 0.0f, 10.0f);
    AddNode(model, pSpine, "hand", 5.0f, 10.0f);
    AddNode(model, pRoot, "leg", 2.0f, 0.0f)->m_Flags = MNODE_FIXEDOFFSET | 0x80;
    model.Precalc(QZTRUE);
}

// One animation over the tree: each node turns about z by `turn` radians per key, and moves along x by `step` per key.
static void AddTestAnim(Model& model, const char* pName, const std::vector<uint32_t>& times, float turn, float step)
{
    ModelAnim* pAnim = new ModelAnim(&model);
    pAnim->SetName(pName);
    model.AddAnim(pAnim);
    for (const uint32_t time : times)
    {
        AnimKeyFrame key;
        key.m_Time = time;
        pAnim->m_KeyFrames.Append(key);
    }
    pAnim->m_KeyFrames[0].m_pString = model.AddString("start");
    std::vector<AnimNode*> tracks = {pAnim->GetRootNode()};
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        if (i != 0)
        {
            AnimNode* pParent = tracks[model.GetNode(i)->GetParentIndex()];
            tracks.push_back(new AnimNode(pAnim, pParent));
            pParent->m_Children.Append(tracks.back());
        }
        AnimNode* pTrack = tracks[i];
        pTrack->m_pNode = model.GetNode(i);
        for (uint32_t k = 0; k < times.size(); ++k)
        {
            NodeKeyFrame key;
            const float half = 0.5f * turn * static_cast<float>(k * (i + 1));
            key.m_qRotation.Set(0.0f, 0.0f, std::sin(half), std::cos(half));
            key.m_vTranslation.Set(step * static_cast<float>(k), static_cast<float>(i), 0.0f);
            pTrack->m_KeyFrames.Append(key);
        }
    }
}

static void FillMesh(Model& model, ModelPieceLOD& mesh, uint32_t nVerts, uint32_t& iWeight)
{
    mesh.m_pModel = &model;
    mesh.m_Verts.SetSize(nVerts);
    mesh.m_Tris.SetSize(nVerts - 2);
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        ModelVert& vert = mesh.m_Verts[i];
        vert.m_vPos.Set(static_cast<float>(i), static_cast<float>(i * i), 0.0f);
        vert.m_vNormal.Set(0.0f, 0.0f, 1.0f);
        vert.m_nWeights = 2;
        vert.m_Weights = &model.m_VertexWeights[iWeight];
        for (uint32_t k = 0; k < 2; ++k)
        {
            ModelVertWeight& weight = model.m_VertexWeights[iWeight++];
            const float share = k == 0 ? 0.75f : 0.25f;
            weight.m_iNode = (i + k) % 4;
            weight.m_Vec[0] = share * static_cast<float>(i);
            weight.m_Vec[1] = share;
            weight.m_Vec[3] = share;
        }
    }
    for (uint16_t i = 0; i + 2u < nVerts; ++i)
    {
        mesh.m_Tris[i].m_Indices[0] = 0;
        mesh.m_Tris[i].m_Indices[1] = i + 1;
        mesh.m_Tris[i].m_Indices[2] = i + 2;
    }
}

static void AddPieces(Model& model)
{
    model.m_LODDistances.SetSizeInit(1, 500.0f);
    model.m_VertexWeights.SetSize(2 * 13);
    uint32_t iWeight = 0;
    for (const bool bBody : {true, false})
    {
        ModelPiece* pPiece = new ModelPiece(&model);
        pPiece->SetName(bBody ? "body" : "t\x1b[31m");
        pPiece->m_iTexture = bBody ? 3 : 7;
        pPiece->m_LODs.SetSize(1);
        FillMesh(model, *pPiece, bBody ? 3 : 4, iWeight);
        FillMesh(model, pPiece->m_LODs[0], 3, iWeight);
        model.m_Pieces.Append(pPiece);
    }
}

ModelPointer MakeTestModel()
{
    ModelPointer model(Model::CreateModel());
    AddTree(*model);
    AddPieces(*model);
    AddTestAnim(*model, "run", {0, 100, 100, 300}, 0.5f, 2.0f);
    AddTestAnim(*model, "walk", {0, 250}, -0.3f, 1.0f);
    ModelSocket* pSocket = new ModelSocket;
    pSocket->SetName("grip");
    pSocket->m_iNode = 2;
    pSocket->m_vPos.Set(1.0f, 2.0f, 3.0f);
    model->AddSocket(pSocket);
    WeightSet* pSet = new WeightSet(model.get());
    pSet->SetName("upper");
    pSet->Init();
    const float values[] = {0.0f, 1.0f, 0.5f, 2.0f};
    for (uint32_t i = 0; i < 4; ++i)
        pSet->m_Weights[i] = values[i];
    model->AddWeightSet(pSet);
    model->m_CommandString = model->AddString("VisRadius 75; Rigid; NormalRef hand RUN");
    model->SetupChildModelRelation(model->GetSelfChildModel(), model.get(), QZFALSE);
    model->Precalc(QZTRUE);
    model->PrecalcNodeOffsets();
    return model;
}

ModelPointer MakeChildModel(const char* pAnimName, float distance)
{
    ModelPointer model(Model::CreateModel());
    AddTree(*model);
    AddTestAnim(*model, pAnimName, {0, 1000}, 0.0f, distance);
    model->SetupChildModelRelation(model->GetSelfChildModel(), model.get(), QZFALSE);
    model->Precalc(QZTRUE);
    return model;
}

std::vector<uint8_t> BytesOf(Model& model)
{
    MemoryStream stream(4096);
    if (!model.Save(&stream))
        return {};
    const uint8_t* pBytes = stream.m_Data.GetArray();
    return std::vector<uint8_t>(pBytes, pBytes + stream.m_Data.GetSize());
}

ModelPointer LoadBytes(std::vector<uint8_t> bytes)
{
    FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    ModelPointer model(Model::CreateModel());
    LoadRequest request;
    request.m_pStream = &stream;
    if (model->Load(&request) != RESULT_OK)
        model.reset();
    return model;
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<uint8_t> ReadBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

TestFolder::TestFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "abctools_test_XXXXXX").string();
    m_Path = mkdtemp(name.data());
}
