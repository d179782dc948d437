#include "tools/model/evaluatenodetransforms.h"

#include "tools/model/convnode.h"
#include "tools/model/orthonormalise.h"

void EvaluateNodeTransforms(AnimNode* pAnimNode, uint32_t iKey, Matrix4 mParent, QZBOOL bKeepScale)
{
    ConvNode* pNode = static_cast<ConvNode*>(pAnimNode->m_pNode);
    pAnimNode->m_KeyFrames[iKey].ToMatrix(pNode->m_mLocal);
    Matrix4 scale;
    scale(0, 0) = pNode->m_Scale.x;
    scale(1, 1) = pNode->m_Scale.y;
    scale(2, 2) = pNode->m_Scale.z;
    const Matrix4 unscaled = mParent * pNode->m_mLocal;
    Matrix4 global = unscaled * scale;
    if (!bKeepScale)
        Orthonormalise(global, unscaled);
    pNode->SetGlobalTransform(global);
    for (uint32_t i = 0; i < pAnimNode->NumChildren(); ++i)
        EvaluateNodeTransforms(pAnimNode->GetChild(i), iKey, global, bKeepScale);
}
