#pragma once

#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/rotations.h"

#include <string>

class ModelFolder;

// What an engine brings along, for the functions below, which docs/runtime.md quotes.
struct ModelLibrary
{
    Model* Find(const char* pName) const { return pName == m_Name ? m_pModel : nullptr; }

    std::string m_Name;
    Model* m_pModel = nullptr;
};

struct VertexFormat
{
    Vector3 m_Position;
    float m_UV[2];
    uint32_t m_Colour;
};

struct HeadControl
{
    uint32_t m_iHead;
    float m_Angle;
};

Model* LoadModel(const char* pPath);
bool LoadIntoOneBlock(Model& model, ModelStream* pStream, Allocator* pAllocator);
bool LoadWithChildren(Model& model, ModelStream* pStream, ModelFolder& folder);
uint32_t FindInLibrary(LoadRequest* pChildRequest, Model** ppModel);
bool EvaluatePose(Model& model, uint32_t iAnim, uint32_t iPrevKey, uint32_t iCurKey, float percent);
void SetTransition(AnimTracker& tracker, Model& model, uint32_t iFrom, uint32_t iTo, float percent);
WeightSet* AddWeightSetBelow(Model& model, const char* pName, uint32_t iTop, float weight);
bool EvaluateLayers(const AnimTracker& base, const AnimTracker& layer, uint32_t iWeightSet);
bool Skin(Model& model, const AnimTracker& base, const Matrix4& world, VertexFormat* pVerts);
bool FindMuzzle(Model& model, AnimTracker& time, Matrix4& world, Vector3& position);
void LookAt(void* pUserA, uint32_t iNode, Matrix4* pTransform, void* pUserB);
bool EvaluateInstance(const AnimTracker& base, Matrix4& world, HeadControl& head, Matrix4* pMatrices);
void KeepBoneLengths(Model& model);
bool CalcBlockSize(ModelStream* pStream, uint32_t& size);
void BreakOnFault(const char* expression, const char* file, int line);
void InstallFaultHandler();
