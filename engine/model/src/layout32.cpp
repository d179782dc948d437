// Sizes and member order of what a model consists of, where pointers have 4 bytes: the figures that the allocation
// counts of model files go by.
#include "engine/model/src/animtracker.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "engine/model/src/transformmaker.h"
#include "engine/model/src/vertexdeformrequest.h"
#include "zoltshared/stdzolt/countingallocator.h"

#include <cstddef>

#pragma GCC diagnostic ignored "-Winvalid-offsetof" // none of these has a virtual base

template <class T, std::size_t size> constexpr bool HasSize = sizeof(void*) != 4 || sizeof(T) == size;
template <std::size_t offset, std::size_t place> constexpr bool IsAt = sizeof(void*) != 4 || offset == place;

static_assert(HasSize<DynArray<ModelNode*, NoCache>, 12> && HasSize<DynArray<float, DefaultCache>, 20>);
static_assert(HasSize<Allocator, 4> && HasSize<CountingAllocator, 28> && HasSize<BlockAllocator, 20>);
static_assert(HasSize<NodeKeyFrame, 28> && HasSize<AnimKeyFrame, 8> && HasSize<AnimNode, 40> && HasSize<ModelAnim, 80>);
static_assert(HasSize<ModelNode, 176> && HasSize<ModelSocket, 48> && HasSize<WeightSet, 40>);
static_assert(HasSize<ModelTri, 32> && HasSize<ModelVert, 32> && HasSize<ModelVertWeight, 20>);
static_assert(HasSize<ModelPieceLOD, 28> && HasSize<ModelPiece, 96>);
static_assert(HasSize<ChildInfo, 44> && HasSize<AnimInfo, 32> && HasSize<AnimTracker, 28>);
static_assert(HasSize<ModelAllocations, 52> && HasSize<AnimTime, 8>);
static_assert(HasSize<ModelLink, 12> && HasSize<AttachmentList, 8> && HasSize<ModelStringList, 8>);
static_assert(HasSize<Vector3, 12> && HasSize<Quaternion, 16> && HasSize<Matrix4, 64>);

// Each member behind the one that is named before it.
template <class Offset, class... Offsets> constexpr bool Rise(Offset first, Offsets... others)
{
    bool bRise = true;
    Offset last = first;
    ((bRise = bRise && last < others, last = others), ...);
    return bRise;
}

#define AT(member) offsetof(TYPE, member)
#define TYPE NodeKeyFrame
static_assert(Rise(AT(m_vTranslation), AT(m_qRotation)));
#undef TYPE
#define TYPE AnimKeyFrame
static_assert(Rise(AT(m_Time), AT(m_pString)));
#undef TYPE
#define TYPE AnimNode
static_assert(Rise(AT(m_pNode), AT(m_KeyFrames), AT(m_pParent), AT(m_Children), AT(m_pAnim)));
#undef TYPE
#define TYPE ModelAnim
static_assert(Rise(AT(m_AnimNodes), AT(m_KeyFrames), AT(m_AnimParamA), AT(m_AnimParamB), AT(m_pModel), AT(m_Name),
                   AT(m_DefaultRootNode), AT(m_pRootNode)));
#undef TYPE
#define TYPE ModelNode
static_assert(Rise(AT(m_vOffsetFromParent), AT(m_NodeIndex), AT(m_Flags), AT(m_iRemapIndex), AT(m_Children),
                   AT(m_iParent), AT(m_mGlobal), AT(m_mGlobalInverse), AT(m_pModel), AT(m_Name)));
#undef TYPE
#define TYPE ModelSocket
static_assert(Rise(AT(m_vPos), AT(m_qRotation), AT(m_Name), AT(m_iNode)));
#undef TYPE
#define TYPE WeightSet
static_assert(Rise(AT(m_Name), AT(m_Weights), AT(m_pModel)));
#undef TYPE
#define TYPE ModelTri
static_assert(Rise(AT(m_Indices), AT(m_UVs)));
#undef TYPE
#define TYPE ModelVert
static_assert(Rise(AT(m_Weights), AT(m_nWeights), AT(m_VertReserved), AT(m_vPos), AT(m_vNormal)));
#undef TYPE
#define TYPE ModelVertWeight
static_assert(Rise(AT(m_Vec), AT(m_iNode)));
#undef TYPE
#define TYPE ModelPiece
static_assert(Rise(AT(m_Verts), AT(m_Tris), AT(m_pModel), AT(m_iTexture), AT(m_iFirstVert), AT(m_PieceParamA),
                   AT(m_PieceParamB), AT(m_LODs), AT(m_PieceParamC), AT(m_Name), AT(m_pOwnerModel)));
#undef TYPE
#define TYPE ChildInfo
static_assert(Rise(AT(m_Relations), AT(m_iAnimOffset), AT(m_pName), AT(m_Stamp), AT(m_pParentModel), AT(m_pModel),
                   AT(m_bTreeMatches)));
#undef TYPE
#define TYPE AnimInfo
static_assert(Rise(AT(m_pAnim), AT(m_pChildInfo), AT(m_vDims), AT(m_vTranslation)));
#undef TYPE
#define TYPE AnimTracker
static_assert(Rise(AT(m_pModel), AT(m_Prev), AT(m_Cur), AT(m_Percent), AT(m_iWeightSet)));
#undef TYPE
#define TYPE CountingAllocator
static_assert(Rise(AT(m_nTotalAllocations), AT(m_nTotalFrees), AT(m_TotalMemoryAllocated), AT(m_nCurrentAllocations),
                   AT(m_nAllocationFailures), AT(m_pDelegate)));
#undef TYPE
#define TYPE ModelStringRecord
static_assert(Rise(AT(m_Size), AT(m_pNext), AT(m_Text)));
#undef TYPE
#define TYPE ModelStringList
static_assert(Rise(AT(m_pHead), AT(m_pAllocator)));
#undef TYPE
#define TYPE AnimTime
static_assert(Rise(AT(m_iAnim), AT(m_iFrame), AT(m_Time)));
#undef TYPE
#define TYPE VertexDeformRequest // the table of matrices of one's own stands behind these
static_assert(Rise(AT(m_Anims), AT(m_nAnims), AT(m_pVertOut), AT(m_VertStride), AT(m_StartMat), AT(m_iLOD)));
static_assert(IsAt<AT(m_iLOD), 300>);
#undef TYPE
#define TYPE TransformMaker // behind these stands the working state of one evaluation
static_assert(Rise(AT(m_Anims), AT(m_nAnims), AT(m_pStartMat), AT(m_pOutput), AT(m_pCallback), AT(m_pUserB),
                   AT(m_pUserA)));
static_assert(IsAt<AT(m_pUserA), 244>);
#undef TYPE
#undef AT

// A member's place, and where the next one can begin.
struct Extent
{
    std::size_t begin;
    std::size_t end;
};

// True where nothing stands between the members but what the alignment of wider pointers asks for, the first behind the
// table of virtual operations.
template <class... Extents> constexpr bool Follow(Extents... members)
{
    bool bFollow = true;
    std::size_t end = sizeof(void*);
    ((bFollow = bFollow && members.begin >= end && members.begin - end < (sizeof(void*) == 4 ? 1 : 8),
      end = members.end),
     ...);
    return bFollow;
}

#define AT(member)                                                                                                     \
    Extent                                                                                                             \
    {                                                                                                                  \
        offsetof(Model, member), offsetof(Model, member) + sizeof(Model::member)                                       \
    }
// NOLINTBEGIN(bugprone-sizeof-expression): pointers too
static_assert(Follow(AT(m_Filename), AT(m_Link), AT(m_Attachments), AT(m_FlatNodeList), AT(m_Pieces), AT(m_WeightSets),
                     AT(m_VertexWeights), AT(m_nTotalVerts), AT(m_nTotalTris), AT(m_nDWordNodes), AT(m_Transforms),
                     AT(m_CommandString), AT(m_Strings), AT(m_LODDistances), AT(m_HeaderFloat), AT(m_VisRadius),
                     AT(m_bNoAnimation), AT(m_FadeRangeMin), AT(m_FadeRangeMinSqr), AT(m_FadeRangeMax),
                     AT(m_FadeRangeMaxSqr), AT(m_FadeSpriteSize), AT(m_AmbientLight), AT(m_DirLight),
                     AT(m_bShadowEnable), AT(m_ShadowProjectLength), AT(m_ShadowLightDist), AT(m_ShadowSizeX),
                     AT(m_ShadowSizeY), AT(m_ShadowCenterOffset), AT(m_iNormalRefNode), AT(m_iNormalRefAnim),
                     AT(m_NormalRefTransform), AT(m_bNormalRef), AT(m_bFovOffset), AT(m_FovXOffset), AT(m_FovYOffset),
                     AT(m_bSpecularEnable), AT(m_bRigid), AT(m_Sockets), AT(m_Anims), AT(m_pAllocator),
                     AT(m_pDefaultAllocator), AT(m_BlockAllocator), AT(m_ChildModels), AT(m_nChildModels),
                     AT(m_SelfChildModel), AT(m_FileVersion), AT(m_RefCount), AT(m_DefaultRootNode), AT(m_pRootNode)));
// NOLINTEND(bugprone-sizeof-expression)
// Behind the root stands what a load needs for its time, and what serves texts and objects that come in after it.
static_assert(IsAt<offsetof(Model, m_pRootNode), 652>);
#undef AT
