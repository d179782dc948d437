// The code that docs/runtime.md quotes. Each function stands there as it stands here, but for the indentation.
#include "tests/docs/runtime_snippets.h"

#include <cstdio>

bool LoadModel(zolt::Model& model, const char* pPath)
{
    zolt::ModelStream* pStream = zolt::OpenStdioStream(pPath, "rb");
    if (!pStream)
        return false;
    char text[zolt::LOAD_ERROR_TEXT_SIZE];
    zolt::LoadRequest request;
    request.m_pStream = pStream;
    request.m_pErrorText = text;
    request.m_ErrorTextSize = sizeof(text);
    const bool bLoaded = model.Load(&request) == zolt::RESULT_OK;
    pStream->Release();
    if (!bLoaded)
        std::fprintf(stderr, "%s: %s\n", pPath, text);
    return bLoaded;
}

bool ShowFirstFigure(zolt::Model& model, Renderer& renderer, int nFrames)
{
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        zolt::RenderMesh mesh;
        if (!zolt::BuildRenderMesh(*model.GetPiece(i), 0, {}, mesh))
            return false;
        renderer.Upload(mesh);
    }
    zolt::ModelInstance figure;
    zolt::AnimPlayer player(figure);
    if (!figure.Init(model) || !player.Play("wave"))
        return false;
    std::vector<float> matrices(12 * size_t(model.NumNodes()));
    for (int i = 0; i < nFrames; ++i)
    {
        player.Step(1.0f / 60.0f);
        player.Apply();
        figure.Evaluate();
        figure.GetSkinMatrices(matrices.data(), zolt::MatrixLayout::ROWS_3X4);
        renderer.Draw(matrices.data(), model.NumNodes());
    }
    return true;
}

void BreakOnFault(const char* expression, const char* file, int line)
{
    std::printf("%s:%d: %s\n", file, line, expression);
}

void InstallFaultHandler()
{
    zolt::SetAssertionSink(BreakOnFault);
}

bool LoadIntoOneBlock(zolt::Model& model, zolt::ModelStream* pStream, zolt::Allocator* pAllocator)
{
    zolt::LoadRequest request;
    request.m_pStream = pStream;
    return model.PrepareBlock(pStream, pAllocator) == zolt::RESULT_OK && model.Load(&request) == zolt::RESULT_OK;
}

bool LoadWithChildren(zolt::Model& model, zolt::ModelStream* pStream, zolt::ModelFolder& folder)
{
    zolt::LoadRequest request;
    request.m_pStream = pStream;
    folder.Attach(&request);
    if (model.Load(&request) != zolt::RESULT_OK)
        return false;
    if (!request.m_bChildrenLoaded)
        std::printf("a child model is missing, and its animations with it\n");
    if (!request.m_bBindingsValid)
        std::printf("a child model has been saved since this one was bound to it\n");
    for (uint32_t i = 1; i < model.NumChildModels(); ++i)
    {
        if (model.GetChildModel(i)->m_pModel && !model.GetChildModel(i)->m_bTreeMatches)
            std::printf("%s has a skeleton of another shape\n", model.GetChildModel(i)->m_pName);
    }
    return true;
}

uint32_t FindInLibrary(zolt::LoadRequest* pChildRequest, zolt::Model** ppModel)
{
    ModelLibrary* pLibrary = static_cast<ModelLibrary*>(pChildRequest->m_pUser);
    *ppModel = pLibrary->Find(pChildRequest->m_pFilename);
    return *ppModel ? zolt::RESULT_OK : zolt::RESULT_NOT_LOADED;
}

bool CalcBlockSize(zolt::ModelStream* pStream, uint32_t& size)
{
    zolt::Model model(&zolt::g_DefaultAllocator, &zolt::g_DefaultAllocator);
    zolt::ModelAllocations counts;
    return model.LoadHeader(pStream, &counts) && counts.CalcAllocationSize(size);
}

void GoOver(zolt::AnimPlayer& player, const char* pName)
{
    player.Play(pName, {.m_Loop = zolt::LoopMode::CLAMP, .m_Speed = 1.5f, .m_Fade = 0.2f});
}

void Wave(zolt::AnimPlayer& player, const float* pUpperBody)
{
    player.SetLayerMask(1, pUpperBody);
    player.SetLayerWeight(1, 0.0f);
    player.SetLayerWeight(1, 1.0f, 0.3f);
    player.Play("wave", {}, 1);
}

void Flinch(zolt::AnimPlayer& player, float strength)
{
    player.SetLayerKind(2, zolt::LayerKind::ADD);
    player.SetLayerWeight(2, strength);
    player.Play("nod", {.m_Loop = zolt::LoopMode::CLAMP}, 2);
}

void PlaySounds(void* pUser, const zolt::AnimEvent& event)
{
    static_cast<std::string*>(pUser)->append(event.m_pCommand);
}

void Walk(zolt::AnimPlayer& player, zolt::ModelInstance& figure, float seconds)
{
    player.Step(seconds);
    player.Apply();
    figure.SetWorld(figure.GetWorld() * player.TakeRootMotion().ToMatrix());
    figure.Evaluate();
}

bool LookAround(zolt::ModelInstance& figure, HeadControl& head)
{
    figure.SetNodeCallback(TurnHead, &head, nullptr);
    return figure.Evaluate();
}

void TurnHead(void* pUserA, uint32_t iNode, zolt::Matrix4* pTransform, void* /*pUserB*/)
{
    const HeadControl* pControl = static_cast<const HeadControl*>(pUserA);
    if (iNode != pControl->m_iHead)
        return;
    zolt::Matrix4 turn;
    zolt::MatrixFromAxisAngle(turn, 0.0f, 0.0f, 1.0f, pControl->m_Angle);
    *pTransform = *pTransform * turn;
}

void StepCrowd(std::vector<zolt::AnimPlayer>& players, std::vector<zolt::ModelInstance*>& figures,
               zolt::ThreadPool& pool, float seconds)
{
    for (zolt::AnimPlayer& player : players)
    {
        player.Step(seconds);
        player.Apply();
    }
    zolt::EvaluateMany(figures.data(), static_cast<uint32_t>(figures.size()), &pool);
}

bool CanBeSeen(const zolt::ModelBounds& bounds, const zolt::ModelInstance& figure, float nearX, float farX)
{
    const zolt::Bounds box = bounds.OfInstance(figure);
    return !box.IsEmpty() && box.m_Max.x >= nearX && box.m_Min.x <= farX;
}

bool Skin(const zolt::ModelInstance& figure, VertexFormat* pVerts)
{
    return figure.GetVertexPositions(&pVerts->m_Position, sizeof(VertexFormat));
}

bool GiveSword(zolt::ModelInstance& figure, zolt::ModelInstance& sword)
{
    uint32_t iSocket = 0;
    return figure.GetModel()->FindSocket("grip", &iSocket) && figure.Attach(&sword, iSocket, zolt::Matrix4());
}

bool EvaluateByHand(zolt::Model& model, uint32_t iAnim, uint32_t iPrevKey, uint32_t iCurKey, float percent,
                    zolt::Matrix4* pMatrices)
{
    zolt::TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0].Init(&model, iAnim, iPrevKey, iAnim, iCurKey, percent);
    maker.m_pOutput = pMatrices; // NumNodes() matrices; null: the model's m_Transforms
    return maker.SetupTransforms();
}

void KeepBoneLengths(zolt::Model& model)
{
    for (uint32_t i = 1; i < model.NumNodes(); ++i)
        model.GetNode(i)->m_Flags |= zolt::MNODE_FIXEDOFFSET;
}
