#include "abctools/commands.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilecheck.h"
#include "abctools/modelinfo.h"
#include "commandline/progressbar.h"
#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

#include <algorithm>
#include <memory>

using nlohmann::ordered_json;

// What the parts of the file take, into the document of what it holds.
static void AddCosts(std::span<const uint8_t> bytes, ordered_json& info)
{
    ModelFileTotals totals;
    CheckModelFile(bytes, &totals);
    info["sections"] = ordered_json::array();
    for (const PartBytes& section : totals.m_Sections)
        info["sections"].push_back({{"name", ToUtf8(section.m_Name)}, {"bytes", section.m_nBytes}});
    const auto add = [&info](const char* pList, const std::vector<PartBytes>& parts)
    {
        for (size_t i = 0; i < parts.size() && i < info[pList].size(); ++i)
            info[pList][i]["bytes"] = parts[i].m_nBytes;
    };
    add("pieces", totals.m_Pieces);
    add("anims", totals.m_Anims);
    info["maxWeights"] = totals.m_nMaxWeights;
}

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
    info["bounds"] = BoundsInfo(model);
    AddCosts(bytes, info);
    if (bMemory)
        info["memory"] = ModelMemory(bytes);
    return true;
}

// Rows of cells as text, in columns: the last one to the left, since it is a name, all others to the right.
static std::string ColumnsText(const std::vector<std::vector<std::string>>& rows)
{
    std::vector<size_t> widths(rows[0].size());
    for (const std::vector<std::string>& row : rows)
    {
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const std::vector<std::string>& row : rows)
    {
        for (size_t i = 0; i + 1 < row.size(); ++i)
            text += std::string(widths[i] - row[i].size(), ' ') + row[i] + "  ";
        text += row.back() + "\n";
    }
    return text;
}

// A row of the table for each file, and what they come to.
static std::string CostTable(const ordered_json& infos)
{
    constexpr size_t NUM_NUMBERS = 12;
    constexpr size_t MOST_WEIGHTS = 8; // the column that isn't added up
    std::vector<std::vector<std::string>> rows = {{"bytes", "pieces", "nodes", "anims", "LODs", "verts", "tris",
                                                   "weights", "most", "keys", "mesh bytes", "anim bytes", "file"}};
    uint64_t sums[NUM_NUMBERS] = {};
    const auto addRow = [&rows](const uint64_t(&numbers)[NUM_NUMBERS], const std::string& name)
    {
        std::vector<std::string>& row = rows.emplace_back();
        for (const uint64_t number : numbers)
            row.push_back(std::to_string(number));
        row.push_back(name);
    };
    for (const ordered_json& info : infos)
    {
        uint64_t nAnimBytes = 0;
        uint64_t nMeshBytes = 0;
        uint64_t nKeys = 0;
        uint64_t mesh[3] = {};
        for (const ordered_json& piece : info["pieces"])
        {
            nMeshBytes += piece.value("bytes", uint64_t{0});
            mesh[0] += piece["verts"].get<uint64_t>();
            mesh[1] += piece["tris"].get<uint64_t>();
            mesh[2] += piece["weights"].get<uint64_t>();
        }
        for (const ordered_json& anim : info["anims"])
        {
            nAnimBytes += anim.value("bytes", uint64_t{0});
            nKeys += anim["keys"].get<uint64_t>();
        }
        const uint64_t numbers[NUM_NUMBERS] = {info["bytes"],
                                               info["pieces"].size(),
                                               info["nodes"].size(),
                                               info["anims"].size(),
                                               info["lods"],
                                               mesh[0],
                                               mesh[1],
                                               mesh[2],
                                               info["maxWeights"],
                                               nKeys,
                                               nMeshBytes,
                                               nAnimBytes};
        for (size_t i = 0; i < NUM_NUMBERS; ++i)
            sums[i] = i == MOST_WEIGHTS ? std::max(sums[i], numbers[i]) : sums[i] + numbers[i];
        addRow(numbers, TerminalText(info["file"].get<std::string>()));
    }
    if (infos.size() > 1)
        addRow(sums, "all " + std::to_string(infos.size()));
    return ColumnsText(rows);
}

int RunInfo(const std::vector<std::string>& paths, bool bJson, bool bMemory, std::ostream& out, std::ostream& err)
{
    return RunInfo({paths, bJson, bMemory, false}, out, err);
}

int RunInfo(const InfoOptions& options, std::ostream& out, std::ostream& err)
{
    int status = STATUS_RIGHT;
    const bool bPages = !options.m_bJson && !options.m_bTable;
    ordered_json infos = ordered_json::array();
    ProgressBar bar("reading");
    size_t nDone = 0;
    for (const std::string& path : options.m_Paths)
    {
        bar.Show(nDone++, options.m_Paths.size());
        ordered_json info;
        std::string error;
        if (!ReadInfo(path, options.m_bMemory, info, error))
        {
            bar.Clear();
            err << ErrorLine(path, error);
            status = STATUS_FAILED;
            if (options.m_bJson)
                infos.push_back(
                    {{"file", ToUtf8(path)}, {"error", ToUtf8(std::string(path).append(": ").append(error) + ".")}});
        }
        else if (bPages)
        {
            bar.Clear();
            out << (options.m_Paths.size() > 1 ? TerminalText(path) + ": " : "") << ModelInfoText(info);
        }
        else
            infos.push_back(std::move(info));
    }
    bar.Clear();
    if (options.m_bTable && !options.m_bJson && !infos.empty())
        out << CostTable(infos);
    if (options.m_bJson && !infos.empty())
        out << JsonText(options.m_Paths.size() > 1 ? infos : infos[0]);
    return status;
}

Command MakeInfoCommand()
{
    const auto pOptions = std::make_shared<InfoOptions>();
    Command command;
    command.m_Name = "info";
    command.m_Summary = "Show what files hold";
    command.m_Options.AddFiles("FILE", pOptions->m_Paths, "Model files");
    command.m_Options.AddFlag("--json", pOptions->m_bJson,
                              "Print JSON: an object, or a list of them for several files");
    command.m_Options.AddFlag("--table", pOptions->m_bTable,
                              "A row for each file in place of a page: what it holds and what that takes");
    command.m_Options.AddFlag("--memory", pOptions->m_bMemory,
                              "Show the memory that loads take, against what the header announces");
    command.m_Examples = {{"abctool info strider.abc", "Nodes, pieces, animations, sockets and settings of a model."},
                          {"abctool info --table *.abc", "What costs: bytes, vertices, weights and keys side by side."},
                          {"abctool info --json *.abc", "The same of many models, for a script."}};
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err) { return RunInfo(*pOptions, out, err); };
    return command;
}
