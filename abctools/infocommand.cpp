#include "abctools/commands.h"
#include "abctools/displaytext.h"
#include "abctools/modelfile.h"
#include "abctools/modelinfo.h"
#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

using nlohmann::ordered_json;

static bool ReadInfo(const std::string& path, bool bMemory, ordered_json& info, std::string& error)
{
    std::vector<uint8_t> bytes;
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    request.m_bLoadChildModels = QZFALSE;
    if (!ReadModelBytes(path, bytes, error) || !LoadModelBytes(bytes, model, request, error))
        return false;
    FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    ModelAllocations header;
    model.LoadHeader(&stream, &header);
    info["file"] = ToUtf8(path);
    info.update(ModelInfo(model, bytes.size(), header));
    if (bMemory)
        info["memory"] = ModelMemory(bytes);
    return true;
}

int RunInfo(const std::vector<std::string>& paths, bool bJson, bool bMemory, std::ostream& out, std::ostream& err)
{
    int status = 0;
    ordered_json infos = ordered_json::array();
    for (const std::string& path : paths)
    {
        ordered_json info;
        std::string error;
        if (!ReadInfo(path, bMemory, info, error))
        {
            err << ErrorLine(path, error);
            status = 1;
        }
        else if (bJson)
        {
            infos.push_back(std::move(info));
        }
        else
        {
            out << (paths.size() > 1 ? TerminalText(path) + ": " : "") << ModelInfoText(info);
        }
    }
    // A script that asks for several files gets a list, whatever becomes of them.
    if (bJson && (paths.size() > 1 || !infos.empty()))
        out << (paths.size() > 1 ? infos : infos[0]).dump(1, ' ', true) << '\n';
    return status;
}
