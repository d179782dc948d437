#include "abctools/commands.h"
#include "abctools/format.h"
#include "abctools/jsontext.h"
#include "abctools/linkchildmodel.h"
#include "abctools/modelfile.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <memory>

using nlohmann::ordered_json;

// Links the files of --child behind the child models that the file names.
static bool LinkChildren(Model& model, const std::vector<std::string>& paths, std::string& error)
{
    for (const std::string& path : paths)
    {
        if (!LinkChildModel(model, path, std::filesystem::path(path).filename().string(), error))
            return false;
    }
    return true;
}

static ordered_json MatrixJson(const Matrix4& m)
{
    ordered_json rows = ordered_json::array();
    for (int row = 0; row < 4; ++row)
        rows.push_back({m(row, 0), m(row, 1), m(row, 2), m(row, 3)});
    return rows;
}

static ordered_json PositionJson(Model& model, const AnimTracker& position)
{
    ordered_json json = {{"anim", ToUtf8(position.GetPrevAnim()->GetName())},
                         {"row", position.m_Prev.m_iAnim},
                         {"keys", {position.m_Prev.m_iFrame, position.m_Cur.m_iFrame}},
                         {"fraction", position.m_Percent}};
    if (position.m_iWeightSet != ANIMTRACKER_NO_WEIGHTSET)
        json["weightSet"] = ToUtf8(model.GetWeightSet(position.m_iWeightSet)->GetName());
    return json;
}

// The nodes and sockets that the options ask for, from the matrices in m_Transforms.
static bool AddTransforms(Model& model, const PoseOptions& options, ordered_json& json, std::string& error)
{
    uint32_t iOnly = 0;
    if (!options.m_Node.empty() && !model.FindNode(options.m_Node.c_str(), &iOnly))
    {
        error = "it has no node " + options.m_Node;
        return false;
    }
    if (!options.m_Socket.empty() && !model.FindSocket(options.m_Socket.c_str(), &iOnly))
    {
        error = "it has no socket " + options.m_Socket;
        return false;
    }
    json["nodes"] = ordered_json::array();
    for (uint32_t i = 0; i < model.NumNodes() && options.m_Socket.empty(); ++i)
    {
        if (options.m_Node.empty() || i == iOnly)
            json["nodes"].push_back({{"index", i},
                                     {"name", ToUtf8(model.GetNode(i)->GetName())},
                                     {"matrix", MatrixJson(model.GetTransform(i))}});
    }
    json["sockets"] = ordered_json::array();
    for (uint32_t i = 0; i < model.NumSockets() && options.m_Node.empty(); ++i)
    {
        Matrix4 transform;
        if ((options.m_Socket.empty() || i == iOnly) && model.GetCurrentSocketTransform(model.GetSocket(i), &transform))
            json["sockets"].push_back({{"name", ToUtf8(model.GetSocket(i)->GetName())},
                                       {"node", model.GetSocket(i)->m_iNode},
                                       {"matrix", MatrixJson(transform)}});
    }
    return true;
}

static std::vector<uint8_t> VerticesAsFloats(const std::vector<Vector3>& vertices)
{
    std::vector<uint8_t> bytes;
    bytes.reserve(vertices.size() * sizeof(Vector3));
    for (const Vector3& vertex : vertices)
    {
        for (const float value : {vertex.x, vertex.y, vertex.z})
        {
            const uint32_t bits = std::bit_cast<uint32_t>(value);
            for (int shift = 0; shift < 32; shift += 8)
                bytes.push_back(static_cast<uint8_t>(bits >> shift));
        }
    }
    return bytes;
}

static std::vector<uint8_t> VerticesAsJson(const Model& model, uint32_t iLOD, const std::vector<Vector3>& vertices)
{
    ordered_json pieces = ordered_json::array();
    size_t iVertex = 0;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        ordered_json list = ordered_json::array();
        for (uint32_t n = model.GetPiece(i)->GetLOD(iLOD)->NumVerts(); n > 0; --n, ++iVertex)
            list.push_back({vertices[iVertex].x, vertices[iVertex].y, vertices[iVertex].z});
        pieces.push_back({{"name", ToUtf8(model.GetPiece(i)->GetName())}, {"vertices", list}});
    }
    const std::string text = ordered_json{{"lod", iLOD}, {"pieces", pieces}}.dump(-1, ' ', true) + "\n";
    return std::vector<uint8_t>(text.begin(), text.end());
}

static std::string PoseText(const ordered_json& pose)
{
    std::string text;
    for (const ordered_json& position : pose["positions"])
    {
        text += (text.empty() ? "animation " : "layer ") + TerminalText(position["anim"].get<std::string>());
        text += Format(": keys %u and %u, fraction %s", position["keys"][0].get<uint32_t>(),
                       position["keys"][1].get<uint32_t>(), FloatText(position["fraction"].get<float>()).c_str());
        if (position.contains("weightSet"))
            text += ", weight set " + TerminalText(position["weightSet"].get<std::string>());
        text += "\n";
    }
    const auto addMatrix = [&text](const ordered_json& rows)
    {
        for (const ordered_json& row : rows)
        {
            text += " ";
            for (const ordered_json& value : row)
                text += " " + FloatText(value.get<float>());
            text += "\n";
        }
    };
    for (const ordered_json& node : pose["nodes"])
    {
        text +=
            Format("node %u ", node["index"].get<uint32_t>()) + TerminalText(node["name"].get<std::string>()) + "\n";
        addMatrix(node["matrix"]);
    }
    for (const ordered_json& socket : pose["sockets"])
    {
        text += "socket " + TerminalText(socket["name"].get<std::string>()) +
                Format(" on node %u\n", socket["node"].get<uint32_t>());
        addMatrix(socket["matrix"]);
    }
    return text;
}

// Sentences that don't keep a pose from being made.
static std::vector<std::string> WarnAboutChildren(const Model& model, const LoadRequest& request)
{
    std::vector<std::string> warnings;
    for (uint32_t i = 1; i < model.NumChildModels(); ++i)
    {
        const ChildInfo* pInfo = model.GetChildModel(i);
        if (!pInfo->m_pModel)
            warnings.push_back("child model " + std::string(pInfo->m_pName) + " isn't in its folder");
    }
    if (!request.m_bBindingsValid)
        warnings.emplace_back("a child model was saved since it was bound, so bindings may be out of date");
    return warnings;
}

int RunPose(const PoseOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    std::string error;
    const auto fail = [&](const std::string& text)
    {
        err << ErrorLine(options.m_Path, text);
        return 1;
    };
    std::vector<uint8_t> bytes;
    ModelFolder folder(FolderOf(options.m_Path).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    folder.Attach(&request);
    if (!ReadModelBytes(options.m_Path, bytes, error) || !LoadModelBytes(bytes, model, request, error))
        return fail(error);
    const std::vector<std::string> warnings = WarnAboutChildren(model, request);
    for (const std::string& warning : warnings)
        err << WarningLine(options.m_Path, warning);
    std::vector<AnimTracker> positions;
    if (!LinkChildren(model, options.m_Children, error) || !MakePosePositions(model, options, positions, error))
        return fail(error);
    if (options.m_iLOD >= model.NumLODs())
        return fail("it has " + Counted(model.NumLODs(), "LOD") + Format(", so there is no LOD %u", options.m_iLOD));

    std::vector<Vector3> vertices;
    if (!EvaluatePose(positions) || !PoseVertices(model, positions, options.m_iLOD, vertices))
        return fail("the pose can't be evaluated");
    ordered_json pose = {{"file", ToUtf8(options.m_Path)}, {"positions", ordered_json::array()}};
    for (const AnimTracker& position : positions)
        pose["positions"].push_back(PositionJson(model, position));
    if (!AddTransforms(model, options, pose, error))
        return fail(error);

    if (!options.m_VerticesPath.empty())
    {
        const bool bBinary = std::filesystem::path(options.m_VerticesPath).extension() == ".bin";
        if (!WriteWholeFile(options.m_VerticesPath,
                            bBinary ? VerticesAsFloats(vertices) : VerticesAsJson(model, options.m_iLOD, vertices),
                            error))
        {
            err << ErrorLine(options.m_VerticesPath, error);
            return 1;
        }
    }
    if (options.m_bJson)
    {
        pose["warnings"] = TextList(warnings);
        out << JsonText(pose);
    }
    else
        out << PoseText(pose);
    return 0;
}

static std::string CheckPoseOptions(const PoseOptions& options)
{
    if (!options.m_iKey && !options.m_Time)
        return "pose needs --key or --time";
    if (options.m_iKey && options.m_Time)
        return "--key and --time don't go together";
    if (!options.m_Node.empty() && !options.m_Socket.empty())
        return "--node and --socket don't go together";
    const std::string extension = std::filesystem::path(options.m_VerticesPath).extension().string();
    if (!options.m_VerticesPath.empty() && extension != ".json" && extension != ".bin")
        return "--vertices needs a .json or a .bin";
    return std::string();
}

Command MakePoseCommand()
{
    const auto pOptions = std::make_shared<PoseOptions>();
    Command command;
    command.m_Name = "pose";
    command.m_Summary = "Evaluate a pose: node matrices, sockets, vertex positions";
    CommandOptions& options = command.m_Options;
    options.AddFile("FILE", pOptions->m_Path, "A model file");
    options.AddText("--anim", "NAME", pOptions->m_Anim, "The animation, the model's own or a child model's")
        .m_bRequired = true;
    options.AddCount("--key", "KEY", pOptions->m_iKey, "At this key, counted from 0; either this or --time is needed");
    options.AddNumber("--time", "MS", pOptions->m_Time, "At this time in milliseconds, clamped to the animation");
    options.AddOperation(
        "--layer", "ANIM:MS:WEIGHTSET",
        [pOptions](const std::vector<std::string>& values)
        {
            pOptions->m_Layers.emplace_back();
            return ParsePoseLayer(values[0], pOptions->m_Layers.back()) ? "" : "needs ANIM:MS:WEIGHTSET";
        },
        "On top of what stands before it; may be given again");
    options.AddText("--node", "NAME", pOptions->m_Node, "Only this node's matrix");
    options.AddText("--socket", "NAME", pOptions->m_Socket, "Only this socket's transform");
    options.AddCount("--lod", "LOD", pOptions->m_iLOD, "The level of detail of the vertices, 0 if not given");
    options
        .AddText("--vertices", "FILE", pOptions->m_VerticesPath,
                 "Write vertex positions, piece by piece, into a .json, or a .bin for little-endian float32 "
                 "triples; a file that is there is replaced")
        .m_Kind = ValueKind::File;
    options
        .AddTexts("--child", "FILE", pOptions->m_Children,
                  "Link these model files as further child models, fitted by the bind poses; may be given again")
        .m_Kind = ValueKind::File;
    options.AddFlag("--json", pOptions->m_bJson, "Print JSON");
    command.m_Examples = {
        {"abctool pose strider.abc --anim walk --time 250", "Node and socket matrices a quarter of a second in."},
        {"abctool pose strider.abc --anim walk --key 3 --vertices walk3.json", "The skinned vertices as well."},
        {"abctool pose strider.abc --anim walk --time 0 --layer wave:400:arm", "Another animation on top of it."}};
    command.m_Check = [pOptions] { return CheckPoseOptions(*pOptions); };
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err) { return RunPose(*pOptions, out, err); };
    return command;
}
