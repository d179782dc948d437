#include "abctools/commands.h"
#include "abctools/displaytext.h"
#include "abctools/modelfile.h"
#include "abctools/modelinfo.h"
#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

#include <memory>

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

namespace
{

struct InfoOptions
{
    std::vector<std::string> m_Paths;
    bool m_bJson = false;
    bool m_bMemory = false;
};

} // namespace

Command MakeInfoCommand()
{
    const auto pOptions = std::make_shared<InfoOptions>();
    Command command;
    command.m_Name = "info";
    command.m_Summary = "Show what files hold";
    command.m_Options.AddFiles("FILE", pOptions->m_Paths, "Model files");
    command.m_Options.AddFlag("--json", pOptions->m_bJson,
                              "Print JSON: an object, or a list of them for several files");
    command.m_Options.AddFlag("--memory", pOptions->m_bMemory,
                              "Show the memory that loads take, against what the header announces");
    command.m_Examples = {{"abctool info strider.abc", "Nodes, pieces, animations, sockets and settings of a model."},
                          {"abctool info --json *.abc", "The same of many models, for a script."}};
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err)
    { return RunInfo(pOptions->m_Paths, pOptions->m_bJson, pOptions->m_bMemory, out, err); };
    return command;
}
