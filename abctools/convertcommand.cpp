#include "abctools/commands.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "abctools/modeltogltf.h"
#include "abctools/modeltoobj.h"
#include "commandline/progressbar.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

#include <algorithm>
#include <filesystem>
#include <memory>

using nlohmann::ordered_json;

// ".glb", in small letters.
static std::string ExtensionOf(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension)
    {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return extension;
}

static bool MakeScene(Model& model, const std::string& extension, std::vector<uint8_t>& out,
                      std::vector<std::string>& warnings, ordered_json& report, std::string& error)
{
    if (extension == ".obj")
    {
        report["meshes"] = model.NumPieces();
        return ModelToObj(model, out, error);
    }
    GltfFile file;
    ProgressBar bar("converting");
    const auto progress = [&bar](size_t nDone, size_t nAll) { bar.Show(nDone, nAll); };
    if (!ModelToGltf(model, file, progress, warnings, error))
        return false;
    bar.Clear();
    for (const char* pList : {"nodes", "meshes", "animations"})
        report[pList] = file.m_Json.value(pList, ordered_json::array()).size();
    if (extension == ".gltf")
        file.MakeGltf(out);
    else if (!file.MakeGlb(out))
    {
        error = "as a .glb it would be larger than 4 GB";
        return false;
    }
    return true;
}

static bool Convert(const ConvertOptions& options, std::vector<std::string>& warnings, ordered_json& report,
                    std::string& failedPath, std::string& error)
{
    failedPath = options.m_InPath;
    std::vector<uint8_t> bytes;
    ModelFolder folder(FolderOf(options.m_InPath).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    folder.Attach(&request);
    if (!ReadModelBytes(options.m_InPath, bytes, error) || !LoadModelBytes(bytes, model, request, error))
        return false;
    for (uint32_t i = 1; i < model.NumChildModels(); ++i)
    {
        if (!model.GetChildModel(i)->m_pModel)
            warnings.push_back("child model " + std::string(model.GetChildModel(i)->m_pName) +
                               " isn't in its folder, so its animations are left out");
    }
    std::vector<uint8_t> out;
    if (!MakeScene(model, ExtensionOf(options.m_OutPath), out, warnings, report, error))
        return false;
    failedPath = options.m_OutPath;
    if (!WriteWholeFile(options.m_OutPath, out, error))
        return false;
    report["bytes"] = out.size();
    return true;
}

int RunConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    std::vector<std::string> warnings;
    std::string failedPath;
    std::string error;
    ordered_json report = {{"file", ToUtf8(options.m_InPath)}, {"out", ToUtf8(options.m_OutPath)}};
    const bool bConverted = Convert(options, warnings, report, failedPath, error);
    for (const std::string& warning : warnings)
        err << WarningLine(options.m_InPath, warning);
    if (!bConverted)
    {
        err << ErrorLine(failedPath, error);
        return STATUS_FAILED;
    }
    if (options.m_bJson)
    {
        report["warnings"] = TextList(warnings);
        out << JsonText(report);
    }
    return STATUS_RIGHT;
}

Command MakeConvertCommand()
{
    const auto pOptions = std::make_shared<ConvertOptions>();
    Command command;
    command.m_Name = "convert";
    command.m_Summary = "Turn a model into a scene for other programs";
    command.m_Options.AddFile("FILE", pOptions->m_InPath, "A model file");
    command.m_Options.AddFile(
        "OUT", pOptions->m_OutPath,
        "The file to write, a .glb, a .gltf or an .obj; one that is there is replaced as a whole");
    command.m_Options.AddFlag("--json", pOptions->m_bJson, "Print what was written as JSON");
    command.m_Examples = {{"abctool convert strider.abc strider.glb",
                           "Nodes, meshes, skin, animations and sockets as a glTF scene that any viewer shows."}};
    command.m_Details = "A .glb or .gltf has all of the model; an .obj has its shape in the bind pose alone.\n";
    command.m_Check = [pOptions]
    {
        const std::string extension = ExtensionOf(pOptions->m_OutPath);
        const bool bKnown = extension == ".glb" || extension == ".gltf" || extension == ".obj";
        return std::string(bKnown ? "" : "OUT is a .glb, a .gltf or an .obj");
    };
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err) { return RunConvert(*pOptions, out, err); };
    return command;
}
