// Counting what a load of a model will allocate.

#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"

// False without memory.
static bool Enter(ModelStringList& strings, ModelStringIndex& index, const char* pText)
{
    return *strings.AddString(pText, nullptr, &index) || !*pText;
}

QZBOOL ModelAllocations::InitFromModel(Model* pModel)
{
    ModelStringList strings(&g_DefaultAllocator);
    ModelStringIndex index;
    index.Begin(strings);
    Clear();
    m_nAnims = pModel->CalcNumOwnAnims();
    m_nNodes = pModel->NumNodes();
    m_nPieces = pModel->NumPieces();
    m_nChildModels = pModel->NumChildModels();
    m_nLODs = pModel->NumLODs();
    m_nSockets = pModel->NumSockets();
    m_nWeightSets = pModel->NumWeightSets();
    m_nVertexWeights = pModel->CalcNumWeights();
    if (m_nLODs == 0)
        return QZFALSE;

    for (uint32_t i = 0; i < m_nPieces; ++i)
    {
        ModelPiece* pPiece = pModel->GetPiece(i);
        for (uint32_t iLOD = 0; iLOD < pPiece->NumLODs(); ++iLOD)
        {
            m_nTris += pPiece->GetLOD(iLOD)->NumTris();
            m_nVerts += pPiece->GetLOD(iLOD)->NumVerts();
        }
    }

    // What a load will intern.
    bool bEntered = true;
    for (uint32_t i = 0; i < m_nAnims; ++i)
    {
        const ModelAnim* pAnim = pModel->GetAnim(i);
        if (!pAnim)
            continue; // the writer refuses such a row
        m_nKeyFrames += pAnim->NumKeyFrames();
        bEntered = bEntered && Enter(strings, index, pAnim->GetName());
        for (uint32_t iKey = 0; iKey < pAnim->NumKeyFrames(); ++iKey)
            bEntered = bEntered && Enter(strings, index, pAnim->m_KeyFrames[iKey].m_pString);
    }
    for (uint32_t i = 0; i < m_nNodes; ++i)
        bEntered = bEntered && Enter(strings, index, pModel->GetNode(i)->GetName());
    bEntered = bEntered && Enter(strings, index, pModel->m_CommandString);
    for (uint32_t i = 1; i < m_nChildModels; ++i)
        bEntered = bEntered && Enter(strings, index, pModel->GetChildModel(i)->m_pName);
    m_nStrings = strings.NumStrings();
    m_StringLengths = strings.StringLengths();
    return bEntered;
}
