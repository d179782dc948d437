#include "tools/model/kelpexport/init.h"

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/exportdialog.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"
#include "tools/model/kelpexport/modelmessages.h"
#include "tools/model/kelpexport/settings.h"
#include "tools/model/kelpexport/softnode.h"
#include "zoltshared/stdzolt/stdiostream.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

// One export and all that it owns. The steps return whether the run goes on; one that doesn't has shown its message.
class ExportRun
{
public:
    bool Export();

private:
    bool AttachToScene();
    void ReadSettings();
    void StoreSettings();
    bool LoadOldFile();
    bool AskAndLoad(ModelStream* pStream);
    bool TakeGeometry();
    bool AddAnimation();
    bool WriteFile();

    OwnedString m_Filename;
    OwnedString m_AnimName;
    ConvModel_Soft m_Source; // what is read from the scene
    ConvModel m_Destination; // what gets written
    OwnedString m_DebugText;
    LoadRequest m_LoadRequest;
    OwnedString m_ForceText;
    SAA_Scene m_Scene = {};
    int32_t m_bForceOverwrite = 0;
    int32_t m_bAppend = 0;
};

bool ExportRun::AttachToScene()
{
    SoftNode* pRoot = new SoftNode(&m_Source);
    if (!pRoot)
    {
        ShowOutOfMemory();
        return false;
    }
    m_Source.SetRootNode(pRoot);

    const int status = SAA_sceneInitInternal("SDKv1.70.3");
    if (status != 0 && status != 3)
        return false;
    if (SAA_sceneGetCurrent(&m_Scene) != 0)
    {
        ShowMessage(MESSAGE_OK, "SAA_sceneGetCurrent failed.");
        return false;
    }
    return true;
}

// 0 for a text that doesn't begin with a number. What is too large for an int is cut, where atoi would be undefined.
static int NumberOf(const OwnedString& text)
{
    return static_cast<int>(std::clamp(std::strtoll(text.GetString(), nullptr, 10), static_cast<long long>(INT_MIN),
                                       static_cast<long long>(INT_MAX)));
}

void ExportRun::ReadSettings()
{
    if (!ReadSetting("Filename", m_Filename))
        m_Filename.Set("model.abc");
    g_DebugMode = 0;
    if (ReadSetting("DebugMode", m_DebugText))
        g_DebugMode = NumberOf(m_DebugText);
    m_bForceOverwrite = 0;
    if (ReadSetting("ForceOverwrite", m_ForceText))
        m_bForceOverwrite = NumberOf(m_ForceText);

    char name[512] = "";
    const int status = SAA_sceneGetName(&m_Scene, sizeof(name), name);
    name[sizeof(name) - 1] = 0;
    m_AnimName.Set(status == 0 ? name : "anim");
}

void ExportRun::StoreSettings()
{
    char text[64];
    WriteSetting("Filename", m_Filename.GetString());
    snprintf(text, sizeof(text), "%d", g_DebugMode);
    WriteSetting("DebugMode", text);
    snprintf(text, sizeof(text), "%d", m_bForceOverwrite);
    WriteSetting("ForceOverwrite", text);
}

bool ExportRun::AskAndLoad(ModelStream* pStream)
{
    if (ShowMessage(MESSAGE_YESNO, "Filename exists - append current animation to this file?") != ANSWER_YES)
        return false;
    m_LoadRequest.m_pStream = pStream;
    if (m_Destination.Load(&m_LoadRequest) == RESULT_OK)
    {
        m_bAppend = 1;
        return true;
    }
    return ShowMessage(MESSAGE_YESNO, "%s is an invalid model file, overwrite?", m_Filename.GetString()) !=
           ANSWER_OTHER;
}

// Decides between a fresh file and an append.
bool ExportRun::LoadOldFile()
{
    if (m_bForceOverwrite)
        return true;
    ModelStream* pStream = OpenStdioStream(m_Filename.GetString(), "rb");
    if (!pStream)
    {
        // Without memory nobody knows whether there is a file that the user wants to append to.
        const bool bOutOfMemory = errno == ENOMEM;
        if (bOutOfMemory)
            ShowOutOfMemory();
        return !bOutOfMemory;
    }
    const bool bGoOn = AskAndLoad(pStream);
    m_LoadRequest.m_pStream = nullptr;
    pStream->Release();
    return bGoOn;
}

bool ExportRun::TakeGeometry()
{
    if (!m_Source.ConvertVertexWeights())
    {
        ShowMessage(MESSAGE_OK, "Error converting vertex weights.");
        return false;
    }
    m_Source.DeleteEnvelopes();
    if (m_Destination.TakeModelFrom(&m_Source))
        return true;
    ShowMessage(MESSAGE_OK, "Error copying model geometry.");
    return false;
}

bool ExportRun::AddAnimation()
{
    const bool bAdded = ShowAddResult(m_Destination.TakeAnims(&m_Source), m_Filename.GetString());
    m_Source.Term(QZTRUE); // the writing needs its memory
    return bAdded;
}

bool ExportRun::WriteFile()
{
    return WriteModelFile(&m_Destination, m_Filename.GetString(), m_Filename.GetString());
}

bool ExportRun::Export()
{
    SetSettingsPath("ZoltExport", "1.0");
    if (!AttachToScene())
        return false;
    ReadSettings();
    if (ShowExportDialog(&m_Filename, &m_AnimName, &g_DebugMode, &m_bForceOverwrite) != 1)
        return false;
    StoreSettings();
    LogOpen();
    if (!LoadOldFile())
        return false;
    if (!m_Source.ConvertScene(&m_Scene, m_bAppend, m_AnimName.GetString()))
        return false;
    if (!m_bAppend && !TakeGeometry())
        return false;
    return AddAnimation() && WriteFile();
}

int32_t init()
{
    ExportRun run;
    const bool bWritten = run.Export();
    LogClose();
    return bWritten ? EXPORT_WRITTEN : EXPORT_NOT_WRITTEN;
}

int32_t cleanup()
{
    return 0;
}
