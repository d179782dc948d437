#pragma once

#include "engine/model/src/modelpiecelod.h"
#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// The name field of a piece, terminator included.
constexpr uint32_t MODELPIECE_NAME_SIZE = 32;

// One renderable part of a model. The piece itself is LOD 0.
class ModelPiece : public ModelPieceLOD
{
public:
    ZOLT_ALLOCATED_NEW

    explicit ModelPiece(Model* pModel);
    ~ModelPiece();
    ModelPiece(const ModelPiece&) = delete;
    ModelPiece& operator=(const ModelPiece&) = delete;

    uint32_t NumLODs() const { return m_LODs.GetSize() + 1; }
    // LOD 0 is the piece itself, and NumLODs() - 1 the coarsest; an index that the piece lacks is reported and gives
    // null.
    ModelPieceLOD* GetLOD(uint32_t iLOD);
    // Keeps at most 31 characters.
    void SetName(const char* pName);
    const char* GetName() const { return m_Name; }
    Model* GetModel() const { return m_pOwnerModel; }

    // Takes vertex iVert out of the LOD 0 mesh; its triangles go to iReplacement, everything behind closes the gap and
    // every node of the model is told. False for an index out of range. Precalc must run again afterwards.
    QZBOOL RemoveVertex(uint32_t iVert, uint32_t iReplacement);

    // Reads the piece with all its LODs. False as ModelPieceLOD::Load.
    QZBOOL LoadPiece(ModelStream* pStream, uint32_t& iWeight);

    uint32_t m_iTexture = 0;    // 16 bits in the file
    uint32_t m_iFirstVert = 0;  // in the model's count of LOD 0 vertices; derived by Precalc
    float m_PieceParamA = 5.0f; // A, B and C are only kept through load and save
    float m_PieceParamB = 1.0f;
    DynArray<ModelPieceLOD, NoCache> m_LODs; // element i holds LOD i + 1
    float m_PieceParamC = 1.0f;
    char m_Name[MODELPIECE_NAME_SIZE] = {};
    Model* m_pOwnerModel;
};

ZOLT_END_NAMESPACE
