#include "abctools/commands.h"
#include "abctools/displaytext.h"
#include "abctools/modelfile.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

int RunCopy(const std::string& inPath, const std::string& outPath, std::ostream& err)
{
    QuietAssertions quiet;
    std::vector<uint8_t> bytes;
    std::string error;
    ModelFolder folder(FolderOf(inPath).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    folder.Attach(&request);
    if (!ReadModelBytes(inPath, bytes, error) || !LoadModelBytes(bytes, model, request, error))
    {
        err << ErrorLine(inPath, error);
        return 1;
    }
    for (uint32_t i = 1; i < model.NumChildModels(); ++i)
    {
        const ChildInfo* pInfo = model.GetChildModel(i);
        if (!pInfo->m_pModel)
            err << WarningLine(inPath, "child model " + std::string(pInfo->m_pName) +
                                           " isn't in its folder, so its bindings are left out");
    }
    if (!SaveModelFile(outPath, model, error))
    {
        err << ErrorLine(outPath, error);
        return 1;
    }
    return 0;
}
