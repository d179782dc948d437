#include "tools/model/evaluatenodetransforms.h"

#include "tools/model/convnode.h"
#include "tools/model/multiplyscale.h"
#include "tools/model/orthonormalise.h"

void EvaluateNodeTransforms(AnimNode* pAnimNode, uint32_t iKey, const Matrix4& mParent, QZBOOL bKeepScale)
{
    ConvNode* pNode = static_cast<ConvNode*>(pAnimNode->m_pNode);
    pAnimNode->m_KeyFrames[iKey].ToMatrix(pNode->m_mLocal);
    Matrix4 unscaled;
    Multiply(unscaled, mParent, pNode->m_mLocal);
    Matrix4 global;
    MultiplyScale(global, unscaled, pNode->m_Scale);
    if (!bKeepScale)
        Orthonormalise(global, unscaled);
    pNode->SetGlobalTransform(global);
    for (uint32_t i = 0; i < pAnimNode->NumChildren(); ++i)
        EvaluateNodeTransforms(pAnimNode->GetChild(i), iKey, global, bKeepScale);
}
