#include "host/loadmodelfile.h"

#include "engine/model/src/loadrequest.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/stdiostream.h"

static void IgnoreAssertion(const char*, const char*, int) {}

bool LoadModelFile(const std::string& file, Model& model)
{
    ModelStream* stream = OpenStdioStream(file.c_str(), "rb");
    if (!stream)
        return false;
    LoadRequest request;
    request.m_pStream = stream;
    const AssertionSink before = SetAssertionSink(IgnoreAssertion);
    const bool loaded = model.Load(&request) == RESULT_OK;
    SetAssertionSink(before);
    stream->Release();
    return loaded;
}
