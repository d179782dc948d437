// Strings of a model file. The read buffer stands in a function of its own file, so that it isn't part of the frames
// of the recursive node reader.

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/modelstream.h"

QZBOOL Model::LoadStoredString(ModelStream* pStream, const char** ppOut)
{
    char buffer[MODEL_STRING_BUFFER];
    if (pStream->ReadString(buffer, sizeof(buffer)) != 0)
        return QZFALSE;
    *ppOut = AddString(buffer);
    // An empty result for a text that isn't empty: there was no memory for it.
    return **ppOut || !buffer[0];
}
