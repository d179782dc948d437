#include "abctools/commands.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "abctools/modelinfo.h"
#include "abctools/viewpage.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "engine/model/src/modelfolder.h"
#include "viewer/viewertemplate.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <memory>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using nlohmann::ordered_json;

static bool AddFile(const std::string& path, ordered_json& files, std::vector<std::string>& warnings,
                    std::string& error)
{
    std::vector<uint8_t> bytes;
    ModelFolder folder(FolderOf(path).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    folder.Attach(&request);
    if (!ReadModelBytes(path, bytes, error) || !LoadModelBytes(bytes, model, request, error))
        return false;
    for (uint32_t i = 1; i < model.NumChildModels(); ++i)
    {
        const ChildInfo* pInfo = model.GetChildModel(i);
        if (!pInfo->m_pModel)
            warnings.push_back(path + ": child model " + std::string(pInfo->m_pName) +
                               " isn't in its folder, so its animations are left out");
    }
    FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    ModelAllocations header;
    model.LoadHeader(&stream, &header);
    files.push_back(ViewFile(model, path, ModelInfo(model, bytes.size(), header)));
    return true;
}

static bool AddTexture(const ViewTexture& texture, ordered_json& textures, std::string& error)
{
    std::vector<uint8_t> bytes;
    if (!ReadModelBytes(texture.m_Path, bytes, error))
        return false;
    const std::string address = ImageAddress(bytes);
    if (address.empty())
        error = "it is not an image that browsers show: PNG, JPEG, WebP, AVIF, GIF or BMP";
    textures[std::to_string(texture.m_Index)] = address;
    return !address.empty();
}

// A page of ours may be made anew without being asked for; anything else stays.
static bool MayReplace(const std::string& path)
{
    char begin[64];
    FILE* pFile = std::fopen(path.c_str(), "rb");
    if (!pFile)
        return true;
    const size_t nRead = std::fread(begin, 1, sizeof(begin), pFile);
    std::fclose(pFile);
    return IsViewPage(std::string_view(begin, nRead));
}

// Hands the page to whatever program shows pages here.
static bool OpenPage(const std::string& path)
{
    std::string program = "xdg-open", argument = path;
    char* const arguments[] = {program.data(), argument.data(), nullptr};
    pid_t process = 0;
    int status = 0;
    return posix_spawnp(&process, program.c_str(), nullptr, nullptr, arguments, environ) == 0 &&
           waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int RunView(const ViewOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    const auto fail = [&err](const std::string& path, const std::string& error)
    {
        err << ErrorLine(path, error);
        return STATUS_FAILED;
    };
    if (ViewerTemplate().empty())
    {
        err << "error: This abctool was built without Node.js, so it lacks the page. Build it where node (18 or newer) "
               "and npm are.\n";
        return STATUS_FAILED;
    }
    std::string outPath = options.m_OutPath;
    if (outPath.empty())
    {
        outPath = std::filesystem::path(options.m_Paths[0]).replace_extension(".html").string();
        if (!MayReplace(outPath))
            return fail(outPath, "it is there and isn't a page of this command; -o says where the page goes");
    }
    std::string error;
    std::vector<std::string> warnings;
    ordered_json files = ordered_json::array();
    ordered_json textures = ordered_json::object();
    for (const std::string& path : options.m_Paths)
    {
        if (!AddFile(path, files, warnings, error))
            return fail(path, error);
    }
    for (const std::string& warning : warnings)
        err << "warning: " << TerminalText(warning) << ".\n";
    for (const ViewTexture& texture : options.m_Textures)
    {
        if (!AddTexture(texture, textures, error))
            return fail(texture.m_Path, error);
    }
    const std::string page = MakeViewPage(files, textures);
    if (!WriteWholeFile(outPath, std::span(reinterpret_cast<const uint8_t*>(page.data()), page.size()), error))
        return fail(outPath, error);
    if (options.m_bJson)
        out << JsonText({{"files", TextList(options.m_Paths)},
                         {"out", ToUtf8(outPath)},
                         {"bytes", page.size()},
                         {"warnings", TextList(warnings)}});
    else if (options.m_OutPath.empty())
        out << TerminalText(outPath) << '\n';
    if (options.m_bOpen && !OpenPage(outPath))
        return fail(outPath, "it is written, but xdg-open can't show it");
    return STATUS_RIGHT;
}

static std::string TakeTexture(const std::string& text, std::vector<ViewTexture>& textures)
{
    const size_t equals = text.find('=');
    ViewTexture texture;
    const char* pEnd = text.data() + std::min(equals, text.size());
    const auto [pParsed, code] = std::from_chars(text.data(), pEnd, texture.m_Index);
    if (equals == std::string::npos || code != std::errc() || pParsed != pEnd || equals + 1 == text.size())
        return "needs INDEX=IMAGE";
    texture.m_Path = text.substr(equals + 1);
    textures.push_back(texture);
    return std::string();
}

Command MakeViewCommand()
{
    constexpr size_t MOST_FILES = 4;
    const auto pOptions = std::make_shared<ViewOptions>();
    Command command;
    command.m_Name = "view";
    command.m_Summary = "Make a page for the browser that shows models and plays their animations";
    command.m_Details =
        "The page is one file that needs no network. Several models stand side by side and play in step "
        "what has one name; up to four do.\n";
    CommandOptions& options = command.m_Options;
    options.AddFiles("FILE", pOptions->m_Paths, "Model files");
    options
        .AddText(
            "-o,--output", "PAGE", pOptions->m_OutPath,
            "Where the page goes; a file that is there is replaced. If not given: beside the first model, as .html")
        .m_Kind = ValueKind::File;
    options.AddFlag("--open", pOptions->m_bOpen, "Show the page, by xdg-open");
    options.AddOperation(
        "--texture", "INDEX=IMAGE",
        [pOptions](const std::vector<std::string>& values) { return TakeTexture(values[0], pOptions->m_Textures); },
        "An image for the pieces with this texture index; may be given again");
    options.AddFlag("--json", pOptions->m_bJson, "Print what was made as JSON");
    command.m_Examples = {{"abctool view strider.abc --open", "Makes strider.html and shows it."},
                          {"abctool view fox.abc --texture 0=fox.png -o fox.html", "With a texture."},
                          {"abctool view old.abc new.abc -o compare.html", "Two models side by side, in step."}};
    command.m_Check = [pOptions]
    { return pOptions->m_Paths.size() > MOST_FILES ? std::string("view takes up to four files") : std::string(); };
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err) { return RunView(*pOptions, out, err); };
    return command;
}
