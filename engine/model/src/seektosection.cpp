#include "engine/model/src/seektosection.h"

#include "zoltshared/stdzolt/modelstream.h"

#include <cstring>

ZOLT_BEGIN_NAMESPACE

QZBOOL SeekToSection(ModelStream* pStream, const char* pName)
{
    pStream->SeekTo(0);
    for (uint32_t i = 0; i < MAX_SECTIONS; ++i)
    {
        // No result is examined: at its end a stream yields an empty name and a zero link.
        char name[256];
        uint32_t next = 0;
        pStream->ReadString(name, sizeof(name));
        pStream->ReadU32(next);
        if (strcmp(name, pName) == 0)
            return QZTRUE;
        if (next == SECTION_CHAIN_END)
            return QZFALSE;
        pStream->SeekTo(next);
    }
    return QZFALSE;
}

ZOLT_END_NAMESPACE
