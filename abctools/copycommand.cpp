#include "abctools/commands.h"
#include "abctools/displaytext.h"
#include "abctools/modelfile.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

#include <memory>

int RunCopy(const std::string& inPath, const std::string& outPath, std::ostream& err)
{
    QuietAssertions quiet;
    std::vector<uint8_t> bytes;
    std::vector<std::string> warnings;
    std::string error;
    ModelFolder folder(FolderOf(inPath).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!ReadModelBytes(inPath, bytes, error) || !LoadWithChildren(bytes, folder, model, warnings, error))
    {
        err << ErrorLine(inPath, error);
        return 1;
    }
    for (const std::string& warning : warnings)
        err << WarningLine(inPath, warning);
    if (!SaveModelFile(outPath, model, error))
    {
        err << ErrorLine(outPath, error);
        return 1;
    }
    return 0;
}

namespace
{

struct CopyOptions
{
    std::string m_InPath;
    std::string m_OutPath;
};

} // namespace

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
    command.m_Run = [pOptions](std::ostream&, std::ostream& err)
    { return RunCopy(pOptions->m_InPath, pOptions->m_OutPath, err); };
    return command;
}
