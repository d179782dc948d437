// The code that docs/runtime.md quotes. Each function stands there as it stands here, but for the indentation.
#include "tests/docs/runtime_snippets.h"

#include "engine/model/src/modelallocations.h"
#include "engine/model/src/modelfolder.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/stdiostream.h"

#include <cstdio>

Model* LoadModel(const char* pPath)
{
    ModelStream* pStream = OpenStdioStream(pPath, "rb");
    Model* pModel = Model::CreateModel();
    LoadRequest request;
    request.m_pStream = pStream;
    if (!pStream || !pModel || pModel->Load(&request) != RESULT_OK)
    {
        Model::DeleteModel(pModel);
        pModel = nullptr;
    }
    if (pStream)
        pStream->Release();
    return pModel;
}

bool LoadIntoOneBlock(Model& model, ModelStream* pStream, Allocator* pAllocator)
{
    LoadRequest request;
    request.m_pStream = pStream;
    return model.PrepareBlock(pStream, pAllocator) == RESULT_OK && model.Load(&request) == RESULT_OK;
}

bool LoadWithChildren(Model& model, ModelStream* pStream, ModelFolder& folder)
{
    LoadRequest request;
    request.m_pStream = pStream;
    folder.Attach(&request);
    if (model.Load(&request) != RESULT_OK)
        return false;
    if (!request.m_bChildrenLoaded)
        std::printf("a child model is missing, and its animations with it\n");
    if (!request.m_bBindingsValid)
        std::printf("a child model has been saved since this one was bound to it\n");
    return true;
}

uint32_t FindInLibrary(LoadRequest* pChildRequest, Model** ppModel)
{
    ModelLibrary* pLibrary = static_cast<ModelLibrary*>(pChildRequest->m_pUser);
    *ppModel = pLibrary->Find(pChildRequest->m_pFilename);
    return *ppModel ? RESULT_OK : RESULT_NOT_LOADED;
}

bool EvaluatePose(Model& model, uint32_t iAnim, uint32_t iPrevKey, uint32_t iCurKey, float percent)
{
    TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0].Init(&model, iAnim, iPrevKey, iAnim, iCurKey, percent);
    return maker.SetupTransforms(); // into model.m_Transforms
}

void SetTransition(AnimTracker& tracker, Model& model, uint32_t iFrom, uint32_t iTo, float percent)
{
    const uint32_t iLastKey = model.GetAnim(iFrom)->NumKeyFrames() - 1;
    tracker.Init(&model, iFrom, iLastKey, iTo, 0, percent);
}

WeightSet* AddWeightSetBelow(Model& model, const char* pName, uint32_t iTop, float weight)
{
    WeightSet* pSet = new WeightSet(&model);
    if (!pSet || !pSet->Init() || !model.AddWeightSet(pSet))
    {
        delete pSet;
        return nullptr;
    }
    pSet->SetName(pName);
    pSet->m_Weights[iTop] = weight;
    for (uint32_t i = iTop + 1; i < model.NumNodes(); ++i)
    {
        // Parents come before their children.
        if (model.GetNode(i)->GetParentIndex() >= iTop && pSet->m_Weights[model.GetNode(i)->GetParentIndex()] != 0.0f)
            pSet->m_Weights[i] = weight;
    }
    return pSet;
}

bool EvaluateLayers(const AnimTracker& base, const AnimTracker& layer, uint32_t iWeightSet)
{
    TransformMaker maker;
    maker.m_nAnims = 2;
    maker.m_Anims[0] = base;
    maker.m_Anims[1] = layer;
    maker.m_Anims[1].m_iWeightSet = iWeightSet;
    return maker.SetupTransforms();
}

bool Skin(Model& model, const AnimTracker& base, const Matrix4& world, VertexFormat* pVerts)
{
    VertexDeformRequest request;
    request.m_nAnims = 1;
    request.m_Anims[0] = base;
    request.m_StartMat = world;
    request.m_iLOD = 0;
    request.m_pVertOut = &pVerts->m_Position;
    request.m_VertStride = sizeof(VertexFormat);
    return model.GetVertexPositions(&request, QZTRUE);
}

bool FindMuzzle(Model& model, AnimTracker& time, Matrix4& world, Vector3& position)
{
    uint32_t iSocket = 0;
    Matrix4 transform;
    if (!model.FindSocket("grip", &iSocket) || !model.GetSocketTransform(&time, iSocket, &world, &transform))
        return false;
    transform.GetTranslation(position);
    return true;
}

void LookAt(void* pUserA, uint32_t iNode, Matrix4* pTransform, void* /*pUserB*/)
{
    const HeadControl* pControl = static_cast<const HeadControl*>(pUserA);
    if (iNode != pControl->m_iHead)
        return;
    Matrix4 turn;
    MatrixFromAxisAngle(turn, 0.0f, 0.0f, 1.0f, pControl->m_Angle);
    *pTransform = *pTransform * turn;
}

bool EvaluateInstance(const AnimTracker& base, Matrix4& world, HeadControl& head, Matrix4* pMatrices)
{
    TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0] = base;
    maker.m_pStartMat = &world;  // null: the identity
    maker.m_pOutput = pMatrices; // NumNodes() matrices; null: the model's m_Transforms
    maker.m_pCallback = LookAt;  // null: none
    maker.m_pUserA = &head;
    return maker.SetupTransforms();
}

void KeepBoneLengths(Model& model)
{
    for (uint32_t i = 1; i < model.NumNodes(); ++i)
        model.GetNode(i)->m_Flags |= MNODE_FIXEDOFFSET;
}

bool CalcBlockSize(ModelStream* pStream, uint32_t& size)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    ModelAllocations counts;
    return model.LoadHeader(pStream, &counts) && counts.CalcAllocationSize(size);
}

void BreakOnFault(const char* expression, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: %s\n", file, line, expression);
}

void InstallFaultHandler()
{
    SetAssertionSink(BreakOnFault);
}
