#include "abctools/commands.h"
#include "abctools/jsontext.h"
#include "abctools/modeldiff.h"
#include "abctools/modelfile.h"
#include "commandline/progressbar.h"
#include "engine/model/src/model.h"

#include <memory>

using nlohmann::ordered_json;

static bool LoadAlone(const std::string& path, Model& model, std::ostream& err)
{
    std::vector<uint8_t> bytes;
    std::string error;
    LoadRequest request;
    request.m_bLoadChildModels = QZFALSE;
    if (ReadModelBytes(path, bytes, error) && LoadModelBytes(bytes, model, request, error))
        return true;
    err << ErrorLine(path, error);
    return false;
}

int RunDiff(const DiffOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    Model a(&g_DefaultAllocator, &g_DefaultAllocator);
    Model b(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!LoadAlone(options.m_PathA, a, err) || !LoadAlone(options.m_PathB, b, err))
        return STATUS_FAILED;
    ProgressBar bar("comparing");
    ModelDiffOptions diffOptions;
    diffOptions.m_Tolerance = options.m_Tolerance.value_or(0.0);
    diffOptions.m_Progress = [&bar](size_t nDone, size_t nAll) { bar.Show(nDone, nAll); };
    const std::vector<ModelDifference> differences = DiffModels(a, b, diffOptions);
    bar.Clear();
    ordered_json document = {{"a", ToUtf8(options.m_PathA)},
                             {"b", ToUtf8(options.m_PathB)},
                             {"tolerance", diffOptions.m_Tolerance},
                             {"same", differences.empty()},
                             {"differences", ordered_json::array()}};
    for (const ModelDifference& difference : differences)
    {
        if (!options.m_bJson)
            out << DifferenceText(difference) << '\n';
        ordered_json entry = {{"kind", difference.m_Kind}, {"name", difference.m_Name}, {"what", difference.m_What}};
        entry.update(difference.m_Data);
        document["differences"].push_back(entry);
    }
    if (options.m_bJson)
        out << JsonText(document);
    return differences.empty() ? STATUS_RIGHT : STATUS_FAILED;
}

Command MakeDiffCommand()
{
    const auto pOptions = std::make_shared<DiffOptions>();
    Command command;
    command.m_Name = "diff";
    command.m_Summary =
        "Tell what differs between two models: a line for each difference, exit status 1 if there is one";
    command.m_Details =
        "Nodes, pieces, animations and the like are matched by their names. Poses are compared at every "
        "key of either model and halfway between. Stamps and file versions don't count.\n";
    command.m_Options.AddFile("A", pOptions->m_PathA, "A model file");
    command.m_Options.AddFile("B", pOptions->m_PathB, "Another");
    command.m_Options.AddNumber("--tolerance", "T", pOptions->m_Tolerance,
                                "Numbers that differ by no more than this are alike: lengths in model units, texture "
                                "coordinates, shares and the like; 0 if not given");
    command.m_Options.AddFlag("--json", pOptions->m_bJson, "Print JSON");
    command.m_Examples = {{"abctool diff before.abc after.abc", "Everything that a new export changed."},
                          {"abctool diff before.abc after.abc --tolerance 0.001",
                           "Only what an eye could see on a model some units tall."}};
    command.m_Check = [pOptions]
    { return std::string(pOptions->m_Tolerance.value_or(0.0) < 0.0 ? "--tolerance needs a number from 0 up" : ""); };
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err) { return RunDiff(*pOptions, out, err); };
    return command;
}
