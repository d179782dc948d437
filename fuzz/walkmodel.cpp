#include "fuzz/walkmodel.h"

#include "engine/model/src/transformmaker.h"
#include "fuzz/require.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/memorystream.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

uint32_t LoadModel(Model& model, std::span<const uint8_t> bytes, LoadRequest request)
{
    FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    request.m_pStream = &stream;
    return model.Load(&request);
}

bool IsEmptyModel(Model& model)
{
    return model.NumNodes() == 0 && model.m_FlatNodeList.GetSize() == 0 && model.GetRootNode()->NumChildren() == 0 &&
           model.NumAnims() == 0 && model.NumPieces() == 0 && model.NumSockets() == 0 && model.NumWeightSets() == 0 &&
           model.m_VertexWeights.GetSize() == 0 && model.m_Strings.NumStrings() == 0 && model.NumLODs() == 1 &&
           model.NumChildModels() == 1 && !*model.m_CommandString;
}

static void CheckNodes(Model& model)
{
    const uint32_t nNodes = model.NumNodes();
    FUZZ_REQUIRE(nNodes >= 1 && nNodes <= MODEL_MAX_NODES && model.m_FlatNodeList.GetSize() == nNodes);
    FUZZ_REQUIRE(model.GetNode(0) == model.GetRootNode() && model.GetRootNode()->GetParentIndex() == MNODE_NO_PARENT);
    uint32_t nChildren = 0;
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        const ModelNode* pNode = model.GetNode(i);
        FUZZ_REQUIRE(pNode->GetNodeIndex() == i && pNode->GetModel() == &model);
        for (uint32_t c = 0; c < pNode->NumChildren(); ++c)
        {
            const uint32_t iChild = pNode->GetChild(c)->GetNodeIndex();
            FUZZ_REQUIRE(iChild > i && iChild < nNodes && pNode->GetChild(c)->GetParentIndex() == i);
        }
        nChildren += pNode->NumChildren();
    }
    FUZZ_REQUIRE(nChildren == nNodes - 1);
}

static void CheckMesh(Model& model, ModelPieceLOD& mesh)
{
    for (uint32_t i = 0; i < mesh.NumTris(); ++i)
        for (const uint16_t index : mesh.GetTri(i)->m_Indices)
            FUZZ_REQUIRE(index < mesh.NumVerts());
    const ModelVertWeight* pFirst = model.m_VertexWeights.GetArray();
    for (uint32_t i = 0; i < mesh.NumVerts(); ++i)
    {
        const ModelVert& vert = *mesh.GetVert(i);
        FUZZ_REQUIRE((vert.m_nWeights == 0) == (vert.m_Weights == nullptr));
        if (vert.m_nWeights == 0)
            continue;
        FUZZ_REQUIRE(vert.m_Weights >= pFirst &&
                     vert.m_Weights + vert.m_nWeights <= pFirst + model.m_VertexWeights.GetSize());
        for (uint32_t k = 0; k < vert.m_nWeights; ++k)
            FUZZ_REQUIRE(vert.m_Weights[k].m_iNode < model.NumNodes());
    }
}

static void CheckTrack(const AnimNode* pTrack, const ModelNode* pNode, uint32_t nKeys)
{
    FUZZ_REQUIRE(pTrack->m_pNode == pNode && pTrack->m_KeyFrames.GetSize() == nKeys);
    FUZZ_REQUIRE(pTrack->NumChildren() == pNode->NumChildren());
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
        FUZZ_REQUIRE(pTrack->GetChild(i)->m_pNode == pNode->GetChild(i));
}

static void CheckAnims(Model& model)
{
    uint32_t nOwn = 0;
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
    {
        const AnimInfo& row = *model.GetAnimInfo(i);
        const ChildInfo& link = *row.m_pChildInfo;
        FUZZ_REQUIRE(model.FindChildModel(link.m_pModel) != nullptr && row.m_pAnim->GetModel() == link.m_pModel);
        if (link.m_pModel != &model)
        {
            FUZZ_REQUIRE(i >= link.m_iAnimOffset && i - link.m_iAnimOffset < link.m_pModel->NumAnims());
            FUZZ_REQUIRE(row.m_pAnim == link.m_pModel->GetAnim(i - link.m_iAnimOffset));
            continue;
        }
        FUZZ_REQUIRE(nOwn++ == i);
        for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
            CheckTrack(row.m_pAnim->m_AnimNodes[iNode], model.GetNode(iNode), row.m_pAnim->NumKeyFrames());
    }
    FUZZ_REQUIRE(nOwn == model.CalcNumOwnAnims());
    FUZZ_REQUIRE(nOwn + model.CalcNumChildAnims(QZFALSE) == model.NumAnims());
}

static void CheckIndices(Model& model)
{
    CheckNodes(model);
    uint32_t nVerts = 0;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        ModelPiece& piece = *model.GetPiece(i);
        FUZZ_REQUIRE(piece.NumLODs() == model.NumLODs() && piece.m_iFirstVert == nVerts);
        nVerts += piece.NumVerts();
        for (uint32_t iLOD = 0; iLOD < piece.NumLODs(); ++iLOD)
            CheckMesh(model, *piece.GetLOD(iLOD));
    }
    FUZZ_REQUIRE(model.CalcNumVerts() == nVerts);
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
        FUZZ_REQUIRE(model.GetSocket(i)->m_iNode < model.NumNodes());
    for (uint32_t i = 0; i < model.NumWeightSets(); ++i)
        FUZZ_REQUIRE(model.GetWeightSet(i)->m_Weights.GetSize() == model.NumNodes());
    for (uint32_t i = 0; i < model.NumChildModels(); ++i)
        FUZZ_REQUIRE(model.GetChildModel(i)->m_Relations.GetSize() == model.NumNodes() &&
                     model.GetChildModel(i)->m_pParentModel == &model);
    CheckAnims(model);
}

namespace
{
// Evaluates into the model's m_Transforms and keeps a sum of all bits.
class PoseWalk
{
public:
    explicit PoseWalk(Model& model) : m_Model(model) {}

    void Position(uint32_t iLayer, uint32_t iAnim, uint32_t iKey, uint32_t iSet)
    {
        const uint32_t nKeys = m_Model.GetAnim(iAnim)->NumKeyFrames();
        m_Maker.m_Anims[iLayer].Init(&m_Model, iAnim, iKey, iAnim, std::min(iKey + 1, std::min(nKeys, 65536u) - 1),
                                     0.25f);
        m_Maker.m_Anims[iLayer].m_iWeightSet = iSet;
        m_Maker.m_nAnims = iLayer + 1;
    }

    // A child whose tree is smaller has no pose for all nodes.
    void Evaluate()
    {
        const Model* pOwner = m_Maker.m_Anims[0].GetPrevAnim()->GetModel();
        const bool bDone = m_Maker.SetupTransforms();
        FUZZ_REQUIRE(bDone == (pOwner->NumNodes() >= m_Model.NumNodes()));
        for (uint32_t i = 0; bDone && i < m_Model.NumNodes(); ++i)
        {
            uint32_t bits[16];
            memcpy(bits, m_Model.GetTransform(i).m, sizeof(bits));
            for (const uint32_t word : bits)
                m_Sum = (m_Sum ^ word) * 1099511628211u;
        }
    }

    Model& m_Model;
    TransformMaker m_Maker;
    uint64_t m_Sum = 14695981039346656037u;
};
} // namespace

// Stands for the bits of all poses: every key, a weight set on top where there is one, and every set at least once. The
// work is in proportion to the file's length.
static uint64_t EvaluateKeys(Model& model)
{
    PoseWalk walk(model);
    const uint32_t nSets = model.NumWeightSets();
    uint32_t iFirst = model.NumAnims();
    for (uint32_t iAnim = 0; iAnim < std::min(model.NumAnims(), 65536u); ++iAnim)
    {
        const ModelAnim* pAnim = model.GetAnim(iAnim);
        const bool bOwn = pAnim->GetModel() == &model;
        const uint32_t nKeys = std::min(pAnim->NumKeyFrames(), bOwn ? 65536u : 2u);
        if (nKeys != 0 && bOwn && iFirst == model.NumAnims())
            iFirst = iAnim;
        for (uint32_t iKey = 0; iKey < nKeys; ++iKey)
        {
            walk.Position(0, iAnim, iKey, 0);
            if (nSets != 0 && bOwn)
                walk.Position(1, iAnim, nKeys - 1 - iKey, iKey % nSets);
            walk.Evaluate();
        }
    }
    for (uint32_t iSet = 0; iSet < nSets && iFirst != model.NumAnims(); iSet += MAX_ANIM_POSITIONS - 1)
    {
        walk.Position(0, iFirst, 0, 0);
        for (uint32_t iLayer = 1; iLayer < MAX_ANIM_POSITIONS; ++iLayer)
            walk.Position(iLayer, iFirst, 0, std::min(iSet + iLayer - 1, nSets - 1));
        walk.Evaluate();
    }
    return walk.m_Sum;
}

static void DeformVertices(Model& model)
{
    std::vector<Vector3> out;
    for (uint32_t iLOD = 0; iLOD < model.NumLODs() && model.NumPieces() != 0; ++iLOD)
    {
        size_t nVerts = 0;
        for (uint32_t i = 0; i < model.NumPieces(); ++i)
            nVerts += model.GetPiece(i)->GetLOD(iLOD)->NumVerts();
        out.resize(nVerts + 1);
        VertexDeformRequest request;
        request.m_pVertOut = out.data();
        request.m_iLOD = iLOD;
        FUZZ_REQUIRE(model.GetVertexPositions(&request, QZFALSE));
    }
}

static void PlaceSockets(Model& model)
{
    AnimTracker tracker;
    const bool bAnim =
        model.NumAnims() != 0 && model.GetAnim(0)->GetModel() == &model && model.GetAnim(0)->NumKeyFrames() != 0;
    if (bAnim)
        tracker.Init(&model, 0, 0, 0, 0, 0.0f);
    Matrix4 base;
    Matrix4 place;
    base.Identity();
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
    {
        FUZZ_REQUIRE(model.GetCurrentSocketTransform(model.GetSocket(i), &place));
        if (bAnim)
            model.GetSocketTransform(&tracker, i, &base, &place);
    }
}

void WalkModel(Model& model)
{
    CheckIndices(model);
    EvaluateKeys(model);
    DeformVertices(model);
    PlaceSockets(model);
    FUZZ_REQUIRE(model.Precalc(QZTRUE));
    CheckIndices(model);
}

std::vector<uint8_t> SaveModel(Model& model)
{
    MemoryStream stream(65536);
    FUZZ_REQUIRE(model.Save(&stream));
    const uint8_t* pData = stream.m_Data.GetArray();
    return {pData, pData + stream.m_Data.GetSize()};
}

// Bindings go by the first 255 characters of a name: an animation without such a name of its own loses its offset.
static void DropAmbiguousOffsets(Model& model)
{
    std::set<std::string> names;
    const uint32_t nAnims = model.CalcNumOwnAnims();
    bool bAmbiguous = false;
    for (uint32_t i = 0; i < nAnims; ++i)
    {
        std::string name = model.GetAnim(i)->GetName();
        for (char& c : name)
            c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        bAmbiguous = bAmbiguous || name.size() > 255 || !names.insert(name).second;
    }
    for (uint32_t i = 0; bAmbiguous && i < nAnims; ++i)
        model.GetAnimInfo(i)->m_vTranslation = Vector3(0.0f, 0.0f, 0.0f);
}

void CheckRoundTrip(Model& model)
{
    DropAmbiguousOffsets(model);
    const bool bLinked = model.CalcNumChildAnims(QZFALSE) != 0;
    const uint64_t poses = EvaluateKeys(model);
    const uint32_t stamp = model.GetModelStamp();
    const std::vector<uint8_t> saved = SaveModel(model);
    Model again(&g_DefaultAllocator, &g_DefaultAllocator);
    FUZZ_REQUIRE(LoadModel(again, saved) == RESULT_OK);
    CheckIndices(again);
    if (bLinked)
        return;
    FUZZ_REQUIRE(EvaluateKeys(again) == poses);
    again.SetModelStamp(stamp);
    FUZZ_REQUIRE(SaveModel(again) == saved);
}
