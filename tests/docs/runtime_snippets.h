#pragma once

#include "zolt/play.h"

#include <string>

// What an engine brings along, for the functions below, which docs/runtime.md quotes.
struct ModelLibrary
{
    zolt::Model* Find(const char* pName) const { return pName == m_Name ? m_pModel : nullptr; }

    std::string m_Name;
    zolt::Model* m_pModel = nullptr;
};

struct VertexFormat
{
    zolt::Vector3 m_Position;
    float m_UV[2];
    uint32_t m_Colour;
};

struct HeadControl
{
    uint32_t m_iHead;
    float m_Angle;
};

// A renderer that keeps what it is given.
struct Renderer
{
    void Upload(const zolt::RenderMesh& mesh) { m_nVertices += mesh.m_nVertices; }
    void Draw(const float* pMatrices, uint32_t nNodes)
    {
        m_Matrices.assign(pMatrices, pMatrices + 12 * size_t(nNodes));
    }

    uint32_t m_nVertices = 0;
    std::vector<float> m_Matrices;
};

bool LoadModel(zolt::Model& model, const char* pPath);
bool ShowFirstFigure(zolt::Model& model, Renderer& renderer, int nFrames);
void BreakOnFault(const char* expression, const char* file, int line);
void InstallFaultHandler();
bool LoadIntoOneBlock(zolt::Model& model, zolt::ModelStream* pStream, zolt::Allocator* pAllocator);
bool LoadWithChildren(zolt::Model& model, zolt::ModelStream* pStream, zolt::ModelFolder& folder);
uint32_t FindInLibrary(zolt::LoadRequest* pChildRequest, zolt::Model** ppModel);
bool CalcBlockSize(zolt::ModelStream* pStream, uint32_t& size);
void GoOver(zolt::AnimPlayer& player, const char* pName);
void Wave(zolt::AnimPlayer& player, const float* pUpperBody);
void Flinch(zolt::AnimPlayer& player, float strength);
void PlaySounds(void* pUser, const zolt::AnimEvent& event);
void Walk(zolt::AnimPlayer& player, zolt::ModelInstance& figure, float seconds);
bool LookAround(zolt::ModelInstance& figure, HeadControl& head);
void TurnHead(void* pUserA, uint32_t iNode, zolt::Matrix4* pTransform, void* pUserB);
void StepCrowd(std::vector<zolt::AnimPlayer>& players, std::vector<zolt::ModelInstance*>& figures,
               zolt::ThreadPool& pool, float seconds);
bool CanBeSeen(const zolt::ModelBounds& bounds, const zolt::ModelInstance& figure, float nearX, float farX);
bool Skin(const zolt::ModelInstance& figure, VertexFormat* pVerts);
bool GiveSword(zolt::ModelInstance& figure, zolt::ModelInstance& sword);
bool EvaluateByHand(zolt::Model& model, uint32_t iAnim, uint32_t iPrevKey, uint32_t iCurKey, float percent,
                    zolt::Matrix4* pMatrices);
void KeepBoneLengths(zolt::Model& model);
