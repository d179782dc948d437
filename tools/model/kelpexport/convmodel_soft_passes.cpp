// From the host's terms to the model's: vertices into model space, scale out of the keys, vertices into the space of
// the nodes that move them.

#include "tools/model/evaluatenodetransforms.h"
#include "tools/model/fourtransforms.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/pointtransform.h"
#include "tools/model/keystoglobal.h"
#include "tools/model/multiplyscale.h"
#include "tools/model/orthonormalise.h"

#include <algorithm>
#include <cmath>

// Coordinates beyond this would overflow on their way through the tree.
static constexpr float MAX_COORDINATE = 1e18f;

// A point that scale has thrown out of range goes to the origin.
static bool KeepInRange(Vector3& v)
{
    // Not so for a NaN, either.
    if (std::fabs(v.x) <= MAX_COORDINATE && std::fabs(v.y) <= MAX_COORDINATE && std::fabs(v.z) <= MAX_COORDINATE)
        return true;
    v.Set(0.0f, 0.0f, 0.0f);
    return false;
}

static void BakePieces(ConvModel_Soft* pModel, SoftNode* pNode)
{
    if (pNode->m_PieceIndex >= 0)
    {
        ModelPiece* pPiece = pModel->GetPiece(static_cast<uint32_t>(pNode->m_PieceIndex));
        const PointTransform bake(pNode->m_mGlobal);
        bool bInRange = true;
        for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
        {
            Vector3& position = pPiece->GetVert(i)->m_vPos;
            position = bake(position);
            bInRange = KeepInRange(position) && bInRange;
        }
        if (!bInRange)
            LogWrite("WARNING: Piece %s has vertices out of range, put to 0, 0, 0.\n", pPiece->GetName());
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
        BakePieces(pModel, pNode->GetSoftChild(i));
}

void ConvModel_Soft::BakeBindPose(QZBOOL bMirrorZ)
{
    if (NumAnims() == 0)
        return;
    Matrix4 start;
    if (bMirrorZ)
        start(2, 2) = -1.0f;
    EvaluateNodeTransforms(GetAnim(0)->GetRootNode(), 0, start, QZTRUE);
    BakePieces(this, GetSoftRoot());
}

// What FoldScale has to say, in the order of the keys and, at each, of the nodes.
class FoldWarnings
{
public:
    void Add(uint32_t iKey, const SoftNode* pNode, bool bOutOfRange)
    {
        const Warning warning = {iKey, pNode, bOutOfRange};
        if (!m_Warnings.Append(warning))
            Write(warning);
    }

    void WriteAll()
    {
        Warning* pWarnings = m_Warnings.GetArray();
        std::stable_sort(pWarnings, pWarnings + m_Warnings.GetSize(),
                         [](const Warning& a, const Warning& b) { return a.iKey < b.iKey; });
        for (uint32_t i = 0; i < m_Warnings.GetSize(); ++i)
            Write(m_Warnings[i]);
    }

private:
    struct Warning
    {
        uint32_t iKey;
        const SoftNode* pNode;
        bool bOutOfRange;
    };

    static void Write(const Warning& warning)
    {
        const char* pName = warning.pNode->GetName();
        if (warning.bOutOfRange)
            LogWrite("WARNING: Node %s is out of range at key %u, put to 0, 0, 0.\n", pName, warning.iKey);
        else
            LogWrite("WARNING: Node %s has lost a direction to a scale of 0, taken from its rotation.\n", pName);
    }

    DynArray<Warning, DefaultCache> m_Warnings;
};

// A node on the way down to another one, with its local rotation at the key that is worked on.
struct RotationChain
{
    explicit RotationChain(RotationChain* pParent) : m_pParent(pParent) {}
    explicit RotationChain(const Matrix4& product) : m_pParent(nullptr), m_Product(product), m_bMultiplied(true) {}

    // The product of the rotations from the root on. Rarely needed, so it is put together when it is asked for.
    const Matrix4& Product()
    {
        if (!m_bMultiplied)
        {
            Multiply(m_Product, m_pParent ? m_pParent->Product() : Matrix4(), m_Rotation);
            m_bMultiplied = true;
        }
        return m_Product;
    }

    RotationChain* m_pParent; // null at the root
    Matrix4 m_Rotation;

private:
    Matrix4 m_Product;
    bool m_bMultiplied = false;
};

// Turns key iKey of the subtree into rigid global transforms. mParent is the product with scale of all above.
static void FoldScale(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent, RotationChain* pParentChain,
                      FoldWarnings& warnings)
{
    const SoftNode* pNode = static_cast<SoftNode*>(pTrack->m_pNode);
    NodeKeyFrame& key = pTrack->m_KeyFrames[iKey];
    RotationChain chain(pParentChain);
    Matrix4& local = chain.m_Rotation;
    key.ToMatrix(local);
    Matrix4 product, global;
    Multiply(product, mParent, local);
    MultiplyScale(global, product, pNode->m_Scale);
    local.SetTranslation(0.0f, 0.0f, 0.0f);

    Matrix4 rigid = global;
    const bool bReplaced = !NormalizeIfUsable(rigid);
    if (bReplaced)
        Orthonormalise(rigid, chain.Product());
    Vector3 translation;
    rigid.GetTranslation(translation);
    const bool bInRange = KeepInRange(translation);
    rigid.SetTranslation(translation);
    key.FromMatrix(rigid);
    // One line for each node: as a rule the scale does it, which is the same at every key.
    if (bReplaced && iKey == 0)
        warnings.Add(iKey, pNode, false);
    if (!bInRange)
        warnings.Add(iKey, pNode, true);

    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        FoldScale(pTrack->GetChild(i), iKey, global, &chain, warnings);
}

// A node on the way down of FoldFourScales.
struct FourFolded
{
    const FourFolded* m_pParent; // null at the root
    FourTransforms m_Global;     // the products with scale of all from the root on
    FourTransforms m_Local;

    // What RotationChain has, of one of the keys.
    Matrix4 RotationProduct(uint32_t k) const
    {
        Matrix4 rotation = m_Local.At(k);
        rotation.SetTranslation(0.0f, 0.0f, 0.0f);
        return (m_pParent ? m_pParent->RotationProduct(k) : Matrix4()) * rotation;
    }
};

// The same for four keys in a row.
static void FoldFourScales(AnimNode* pTrack, uint32_t iKey, const FourFolded* pParent, FoldWarnings& warnings)
{
    static const FourTransforms identities = FourTransforms::Identity();
    const SoftNode* pNode = static_cast<SoftNode*>(pTrack->m_pNode);
    const FourTransforms& parent = pParent ? pParent->m_Global : identities;
    FourFolded folded;
    folded.m_pParent = pParent;
    if (!FourFoldScale(folded.m_Global, folded.m_Local, parent, pNode->m_Scale, MAX_COORDINATE,
                       &pTrack->m_KeyFrames[iKey]))
    {
        for (uint32_t k = 0; k < FOUR_KEYS; ++k)
        {
            RotationChain above(pParent ? pParent->RotationProduct(k) : Matrix4());
            FoldScale(pTrack, iKey + k, parent.At(k), &above, warnings);
        }
        return;
    }
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        FoldFourScales(pTrack->GetChild(i), iKey, &folded, warnings);
}

void ConvModel_Soft::FoldScaleIntoKeys()
{
    const Matrix4 identity;
    for (uint32_t iAnim = 0; iAnim < NumAnims(); ++iAnim)
    {
        ModelAnim* pAnim = GetAnim(iAnim);
        const uint32_t nKeys = pAnim->NumKeyFrames();
        FoldWarnings warnings;
        AnimNode* pRoot = pAnim->GetRootNode();
        ForKeysByFour(
            nKeys, [&](uint32_t iKey) { FoldFourScales(pRoot, iKey, nullptr, warnings); },
            [&](uint32_t iKey) { FoldScale(pRoot, iKey, identity, nullptr, warnings); });
        warnings.WriteAll();
        AllKeysToLocal(pRoot, nKeys);
    }
}

void ConvModel_Soft::ResetNodeScales()
{
    for (uint32_t i = 0; i < m_FlatNodeList.GetSize(); ++i)
        GetSoftNode(i)->m_Scale.Set(1.0f, 1.0f, 1.0f);
}

QZBOOL ConvModel_Soft::ComputeWeightOffsets()
{
    if (NumAnims() == 0)
        return QZTRUE;
    EvaluateNodeTransforms(GetAnim(0)->GetRootNode(), 0, Matrix4(), QZFALSE);
    SetWeightOffsets();
    return QZTRUE;
}
