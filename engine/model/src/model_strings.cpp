// Strings of a model file. The read buffer stands in a function of its own file, so that it isn't part of the frames
// of the recursive node reader.

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/blockreader.h"
#include "zoltshared/stdzolt/modelstream.h"

#include <algorithm>

ZOLT_BEGIN_NAMESPACE

static QZBOOL Intern(Model& model, const char* pText, const char** ppOut)
{
    *ppOut = model.AddString(pText);
    // An empty result for a text that isn't empty: there was no memory for it.
    return **ppOut || !pText[0];
}

QZBOOL Model::LoadStoredString(ModelStream* pStream, const char** ppOut)
{
    char buffer[MODEL_STRING_BUFFER];
    if (pStream->ReadString(buffer, sizeof(buffer)) != 0)
        return QZFALSE;
    return Intern(*this, buffer, ppOut);
}

QZBOOL Model::LoadStoredText(BlockReader& reader, uint16_t length, const char** ppOut)
{
    char buffer[MODEL_STRING_BUFFER];
    const uint32_t kept = std::min<uint32_t>(length, MODEL_STRING_BUFFER - 1);
    if (!reader.TakeTo(buffer, kept) || !reader.Skip(length - kept))
        return QZFALSE;
    buffer[kept] = 0;
    return Intern(*this, buffer, ppOut);
}

ZOLT_END_NAMESPACE
