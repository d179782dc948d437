#include "tools/model/kelpexport/convmodel_soft.h"

#include "tools/model/kelpexport/hostcount.h"
#include "tools/model/kelpexport/messages.h"
#include "tools/model/kelpexport/vanishedmeshes.h"

ConvModel_Soft::ConvModel_Soft() = default;

ConvModel_Soft::~ConvModel_Soft() = default;

QZBOOL ConvModel_Soft::ConvertScene(const SAA_Scene* pScene, int32_t bAppend, const char* pAnimName)
{
    m_pScene = pScene;
    // The geometry is read at the first frame of the play range.
    int nFrame = 0;
    SAA_sceneGetPlayCtrlStartFrame(m_pScene, &nFrame);
    SAA_sceneSetPlayCtrlCurrentFrame(m_pScene, nFrame);

    DynArray<SAA_Elem, DefaultCache> elements;
    int nElements = 0;
    if (SAA_sceneGetNbModels(m_pScene, &nElements) != 0 || !SetHostSize(elements, nElements) ||
        SAA_sceneGetModels(m_pScene, nElements, elements.GetArray()) != 0)
    {
        ShowMessage(MESSAGE_OK, "Unable to get elements in scene.");
        return QZFALSE;
    }
    if (nElements == 0)
    {
        ShowMessage(MESSAGE_OK, "No models found in the scene.");
        return QZFALSE;
    }
    return ReadScene(elements, bAppend, pAnimName);
}

QZBOOL ConvModel_Soft::ReadScene(const DynArray<SAA_Elem, DefaultCache>& elements, int32_t bAppend,
                                 const char* pAnimName)
{
    SetStatus(1, "Reading geometry...");
    if (!BuildNodeTree(elements))
        return QZFALSE;
    SetStatus(1, "Getting vertex weights...");
    if (!bAppend && !ReadVertexWeights())
        return QZFALSE;
    SetStatus(1, "Reading animation...");
    if (!ReadAnimation(pAnimName))
        return QZFALSE;

    // Without its tables the model can't go through the passes.
    if (!Precalc(QZTRUE))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    BakeBindPose(QZTRUE);
    FoldScaleIntoKeys();
    ResetNodeScales();
    ConvertCoordinates();
    if (!bAppend && !ComputeWeightOffsets())
        return QZFALSE;
    MarkRemovableNodes(GetSoftRoot());

    SetStatus(1, "Converting data...");
    const VanishedMeshes vanished(this);
    if (!Finish(bAppend ? QZFALSE : QZTRUE, QZTRUE))
    {
        ShowMessage(MESSAGE_OK, "Error converting model geometry.");
        return QZFALSE;
    }
    // An append takes the meshes that are in the file.
    if (!bAppend)
        vanished.Warn();
    return QZTRUE;
}
