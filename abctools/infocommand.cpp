#include "abctools/commands.h"
#include "abctools/modelfile.h"
#include "abctools/modelinfo.h"
#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

int RunInfo(const std::string& path, bool bJson, bool bMemory, std::ostream& out, std::ostream& err)
{
    std::vector<uint8_t> bytes;
    std::string error;
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    request.m_bLoadChildModels = QZFALSE;
    if (!ReadModelBytes(path, bytes, error) || !LoadModelBytes(bytes, model, request, error))
    {
        err << ErrorLine(path, error);
        return 1;
    }
    FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    ModelAllocations header;
    model.LoadHeader(&stream, &header);
    nlohmann::ordered_json info = ModelInfo(model, bytes.size(), header);
    if (bMemory)
        info["memory"] = ModelMemory(bytes);
    if (bJson)
        out << info.dump(1, ' ', true) << '\n';
    else
        out << ModelInfoText(info);
    return 0;
}
