#include "abctools/commands.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

#include <nlohmann/json.hpp>

#include <memory>

int RunCopy(const CopyOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    std::vector<uint8_t> bytes;
    std::vector<std::string> warnings;
    std::string error;
    ModelFolder folder(FolderOf(options.m_InPath).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!ReadModelBytes(options.m_InPath, bytes, error) || !LoadWithChildren(bytes, folder, model, warnings, error))
    {
        err << ErrorLine(options.m_InPath, error);
        return STATUS_FAILED;
    }
    for (const std::string& warning : warnings)
        err << WarningLine(options.m_InPath, warning);
    if (!SaveModelBytes(model, bytes, error) || !WriteWholeFile(options.m_OutPath, bytes, error))
    {
        err << ErrorLine(options.m_OutPath, error);
        return STATUS_FAILED;
    }
    if (options.m_bJson)
        out << JsonText({{"file", ToUtf8(options.m_InPath)},
                         {"out", ToUtf8(options.m_OutPath)},
                         {"bytes", bytes.size()},
                         {"warnings", TextList(warnings)}});
    return STATUS_RIGHT;
}

Command MakeCopyCommand()
{
    const auto pOptions = std::make_shared<CopyOptions>();
    Command command;
    command.m_Name = "copy";
    command.m_Summary = "Load a file and save it, as version 12; an existing OUT is replaced";
    command.m_Options.AddFile("IN", pOptions->m_InPath, "A model file");
    command.m_Options.AddFile("OUT", pOptions->m_OutPath,
                              "The file to write, which may be IN; one that is there is replaced as a whole");
    command.m_Examples = {{"abctool copy old.abc new.abc", "A file of an old version becomes one of the current."}};
    command.m_Options.AddFlag("--json", pOptions->m_bJson, "Print what was written as JSON");
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err) { return RunCopy(*pOptions, out, err); };
    return command;
}
