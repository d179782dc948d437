#include "tools/model/kelpexport/clipappender.h"

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"
#include "tools/model/kelpexport/modelmessages.h"
#include "zoltshared/stdzolt/stdiostream.h"

QZBOOL ClipAppender::Load(const char* pFilename, const char* pShownName, QZBOOL bDebug)
{
    g_DebugMode = bDebug;
    m_ShownName.Set(pShownName);
    ModelStream* pStream = OpenStdioStream(pFilename, "rb"); // mapped, the file would count as memory of ours
    LoadRequest request;
    request.m_pStream = pStream;
    const bool bLoaded = pStream && m_Model.Load(&request) == RESULT_OK;
    if (pStream)
        pStream->Release();
    if (!bLoaded)
        ShowMessage(MESSAGE_OK, "Unable to read %s back.", pShownName);
    // Each clip enters its texts.
    m_Model.BeginStringIndex();
    return bLoaded ? QZTRUE : QZFALSE;
}

QZBOOL ClipAppender::AddScene(const char* pAnimName)
{
    ConvModel_Soft source;
    SoftNode* pRoot = new SoftNode(&source);
    if (!pRoot)
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    source.SetRootNode(pRoot);
    source.m_bReadMeshes = false;
    SAA_Scene scene = {};
    if (SAA_sceneGetCurrent(&scene) != 0)
    {
        ShowMessage(MESSAGE_OK, "SAA_sceneGetCurrent failed.");
        return QZFALSE;
    }
    return source.ConvertScene(&scene, 1, pAnimName) &&
           ShowAddResult(m_Model.TakeAnims(&source), m_ShownName.GetString());
}

QZBOOL ClipAppender::Add(const char* pAnimName)
{
    LogOpen();
    const QZBOOL bAdded = AddScene(pAnimName);
    LogClose();
    m_nAdded += bAdded ? 1 : 0;
    return bAdded;
}

QZBOOL ClipAppender::Save(const char* pFilename)
{
    // The stamp counts what was added, as if the file had been written each time.
    if (m_nAdded > 1)
        m_Model.SetModelStamp(m_Model.GetModelStamp() + m_nAdded - 1);
    return WriteModelFile(&m_Model, pFilename, m_ShownName.GetString());
}

ModelAnim* ClipAppender::GetNewest() const
{
    const uint32_t nOwn = m_Model.CalcNumOwnAnims();
    return nOwn ? m_Model.GetOwnAnim(nOwn - 1) : nullptr;
}
