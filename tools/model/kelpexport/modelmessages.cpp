#include "tools/model/kelpexport/modelmessages.h"

#include "tools/model/kelpexport/messages.h"
#include "zoltshared/stdzolt/replacefilestream.h"

QZBOOL ShowAddResult(uint32_t result, const char* pShownName)
{
    switch (result)
    {
    case ADDANIMS_OK:
        return QZTRUE;
    case ADDANIMS_TREES_DIFFER:
        ShowMessage(MESSAGE_OK, "Geometry in %s is different.", pShownName);
        return QZFALSE;
    case ADDANIMS_INVALID_ANIM:
        ShowMessage(MESSAGE_OK, "Invalid animation data.");
        return QZFALSE;
    default:
        ShowMessage(MESSAGE_OK, "Generic error in AddAnims().");
        return QZFALSE;
    }
}

QZBOOL WriteModelFile(ConvModel* pModel, const char* pFilename, const char* pShownName)
{
    SetStatus(1, "Writing file...");
    ReplaceFileStream* pStream = OpenReplaceFileStream(pFilename);
    if (!pStream)
    {
        ShowMessage(MESSAGE_OK, "Unable to open %s for writing.", pShownName);
        return QZFALSE;
    }
    const bool bWritten = pModel->SaveAndTerm(pStream) && pStream->Commit() == 0;
    pStream->Release();
    if (!bWritten)
        ShowMessage(MESSAGE_OK, "Unable to write %s.", pShownName);
    return bWritten ? QZTRUE : QZFALSE;
}
