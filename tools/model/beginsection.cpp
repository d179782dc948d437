#include "tools/model/beginsection.h"

#include "engine/model/src/seektosection.h"
#include "zoltshared/stdzolt/modelstream.h"

uint32_t BeginSection(ModelStream* pStream, const char* pName, uint32_t iPrevLink)
{
    if (iPrevLink != NO_PREVIOUS_SECTION)
    {
        const uint32_t here = pStream->GetPosition();
        pStream->SeekTo(iPrevLink);
        pStream->WriteU32(here);
        pStream->SeekTo(here);
    }
    pStream->WriteString(pName);
    const uint32_t iLink = pStream->GetPosition();
    pStream->WriteU32(SECTION_CHAIN_END);
    return iLink;
}
