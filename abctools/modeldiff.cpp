#include "abctools/modeldiff.h"

#include "abctools/displaytext.h"
#include "abctools/format.h"
#include "abctools/modelinfo.h"
#include "engine/model/src/model.h"

#include <algorithm>
#include <cmath>
#include <map>

using nlohmann::ordered_json;

static std::string Lower(std::string text)
{
    for (char& c : text)
    {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::vector<int> MatchNames(const std::vector<std::string>& a, const std::vector<std::string>& b)
{
    std::map<std::string, std::vector<int>> rows; // of b, the last first
    for (size_t i = b.size(); i-- > 0;)
        rows[Lower(b[i])].push_back(static_cast<int>(i));
    std::vector<int> matches;
    for (const std::string& name : a)
    {
        std::vector<int>& candidates = rows[Lower(name)];
        matches.push_back(candidates.empty() ? -1 : candidates.back());
        if (!candidates.empty())
            candidates.pop_back();
    }
    return matches;
}

double BindRadius(const Model& model)
{
    double least[3] = {INFINITY, INFINITY, INFINITY};
    double greatest[3] = {-INFINITY, -INFINITY, -INFINITY};
    const auto add = [&](const Vector3& v)
    {
        const float place[3] = {v.x, v.y, v.z};
        for (int k = 0; k < 3; ++k)
        {
            least[k] = std::min<double>(least[k], place[k]);
            greatest[k] = std::max<double>(greatest[k], place[k]);
        }
    };
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        for (uint32_t iVert = 0; iVert < model.GetPiece(i)->NumVerts(); ++iVert)
            add(model.GetPiece(i)->m_Verts[iVert].m_vPos);
    }
    for (uint32_t i = 0; i < model.NumNodes() && model.CalcNumVerts() == 0; ++i)
    {
        Vector3 place;
        model.GetNode(i)->m_mGlobal.GetTranslation(place);
        add(place);
    }
    const double diagonal = std::hypot(greatest[0] - least[0], greatest[1] - least[1], greatest[2] - least[2]);
    return diagonal > 0.0 && std::isfinite(diagonal) ? 0.5 * diagonal : 1.0;
}

// Whether two documents are alike but for numbers within the tolerance.
static bool AreAlike(const ordered_json& a, const ordered_json& b, double tolerance)
{
    if (a.is_number() && b.is_number())
    {
        const double difference = std::fabs(a.get<double>() - b.get<double>());
        return a == b || difference <= tolerance || (std::isnan(a.get<double>()) && std::isnan(b.get<double>()));
    }
    if (a.type() != b.type() || a.size() != b.size())
        return false;
    if (a.is_array())
    {
        for (size_t i = 0; i < a.size(); ++i)
        {
            if (!AreAlike(a[i], b[i], tolerance))
                return false;
        }
        return true;
    }
    if (a.is_object())
    {
        for (const auto& [key, value] : a.items())
        {
            if (!b.contains(key) || !AreAlike(value, b[key], tolerance))
                return false;
        }
        return true;
    }
    return a == b;
}

namespace
{

// Compares the documents of two models, and what these leave out.
class ModelDiffer
{
public:
    ModelDiffer(Model& a, Model& b, const ModelDiffOptions& options)
        : m_A(a), m_B(b), m_Options(options), m_Radius(BindRadius(a))
    {
    }

    std::vector<ModelDifference> m_Differences;

    void Run()
    {
        const ordered_json a = Document(m_A);
        const ordered_json b = Document(m_B);
        for (const char* pWhat : {"command", "headerValue", "lodDistances"})
            CompareValue("model", "", pWhat, a[pWhat], b[pWhat]);
        CompareLists("node", a["nodes"], b["nodes"], {"parent", "flags"}, &ModelDiffer::CompareBind);
        CompareLists("piece", a["pieces"], b["pieces"], {"texture", "params"}, &ModelDiffer::CompareMeshes);
        CompareLists("socket", a["sockets"], b["sockets"], {"node", "position", "rotation"}, nullptr);
        CompareLists("weightSet", a["weightSets"], b["weightSets"], {"values"}, nullptr);
        CompareLists("childModel", a["childModels"], b["childModels"], {}, nullptr);
        CompareLists("anim", a["anims"], b["anims"], {"keys", "times", "dims", "offset", "commands"}, nullptr);
    }

private:
    typedef void (ModelDiffer::*CompareFunction)(const std::string& name, uint32_t iA, uint32_t iB);

    // The document of ModelInfo with nodes told by their names, and with key times. Own animations alone.
    static ordered_json Document(Model& model)
    {
        ordered_json info = ModelInfo(model, 0, ModelAllocations());
        for (ordered_json& node : info["nodes"])
            node["parent"] = node["parent"] < 0 ? ordered_json(nullptr)
                                                : ordered_json(info["nodes"][node["parent"].get<size_t>()]["name"]);
        for (ordered_json& socket : info["sockets"])
            socket["node"] = ordered_json(info["nodes"][socket["node"].get<size_t>()]["name"]);
        for (uint32_t i = 0; i < model.NumAnims(); ++i)
        {
            ordered_json& anim = info["anims"][i];
            anim["times"] = ordered_json::array();
            const ModelAnim* pAnim = model.GetAnim(i);
            for (uint32_t iKey = 0; iKey < pAnim->NumKeyFrames(); ++iKey)
                anim["times"].push_back(pAnim->m_KeyFrames[iKey].m_Time);
        }
        return info;
    }

    void Add(const std::string& kind, const std::string& name, const std::string& what, ordered_json data)
    {
        m_Differences.push_back({kind, name, what, std::move(data)});
    }

    void CompareValue(const std::string& kind, const std::string& name, const std::string& what, const ordered_json& a,
                      const ordered_json& b)
    {
        if (!AreAlike(a, b, m_Options.m_Tolerance))
            Add(kind, name, what, {{"a", a}, {"b", b}});
    }

    void CompareLists(const std::string& kind, const ordered_json& a, const ordered_json& b,
                      const std::vector<const char*>& fields, CompareFunction pCompare)
    {
        const auto namesOf = [](const ordered_json& list)
        {
            std::vector<std::string> names;
            for (const ordered_json& element : list)
                names.push_back(element["name"]);
            return names;
        };
        const std::vector<std::string> namesA = namesOf(a);
        const std::vector<std::string> namesB = namesOf(b);
        const std::vector<int> matches = MatchNames(namesA, namesB);
        std::vector<bool> matched(b.size());
        bool bOrder = false;
        int last = -1;
        for (size_t i = 0; i < a.size(); ++i)
        {
            if (matches[i] < 0)
            {
                Add(kind, namesA[i], "only", {{"in", "a"}});
                continue;
            }
            const size_t iB = static_cast<size_t>(matches[i]);
            matched[iB] = true;
            bOrder = bOrder || matches[i] < last;
            last = matches[i];
            CompareValue(kind, namesA[i], "name", namesA[i], namesB[iB]);
            for (const char* pField : fields)
                CompareValue(kind, namesA[i], pField, a[i][pField], b[iB][pField]);
            if (pCompare)
                (this->*pCompare)(namesA[i], static_cast<uint32_t>(i), static_cast<uint32_t>(iB));
        }
        for (size_t i = 0; i < b.size(); ++i)
        {
            if (!matched[i])
                Add(kind, namesB[i], "only", {{"in", "b"}});
        }
        if (bOrder)
            Add("model", "", "order", {{"of", kind}});
    }

    void CompareBind(const std::string& name, uint32_t iA, uint32_t iB)
    {
        const Matrix4& a = m_A.GetNode(iA)->m_mGlobal;
        const Matrix4& b = m_B.GetNode(iB)->m_mGlobal;
        double greatest = 0.0;
        for (int i = 0; i < 16; ++i)
            greatest = std::max(greatest, std::fabs(double(a.m[i]) - b.m[i]));
        if (!(greatest <= m_Options.m_Tolerance))
        {
            // The angle between the two rotations, from the trace of one by the other's inverse.
            double trace = 0.0;
            for (int row = 0; row < 3; ++row)
                for (int column = 0; column < 3; ++column)
                    trace += double(a(row, column)) * b(row, column);
            const double degrees = std::acos(std::clamp((trace - 1.0) / 2.0, -1.0, 1.0)) * 180.0 / M_PI;
            const double distance =
                std::hypot(double(a(0, 3)) - b(0, 3), double(a(1, 3)) - b(1, 3), double(a(2, 3)) - b(2, 3));
            Add("node", name, "bind", {{"distance", distance}, {"part", distance / m_Radius}, {"degrees", degrees}});
        }
    }

    void CompareMeshes(const std::string& name, uint32_t iA, uint32_t iB)
    {
        ModelPiece& a = *m_A.GetPiece(iA);
        ModelPiece& b = *m_B.GetPiece(iB);
        for (uint32_t iLOD = 0; iLOD < std::min(a.NumLODs(), b.NumLODs()); ++iLOD)
            CompareMesh(name, iLOD, *a.GetLOD(iLOD), *b.GetLOD(iLOD));
    }

    void CompareMesh(const std::string& name, uint32_t iLOD, const ModelPieceLOD& a, const ModelPieceLOD& b)
    {
        if (a.NumVerts() != b.NumVerts())
            Add("piece", name, "verts", {{"lod", iLOD}, {"a", a.NumVerts()}, {"b", b.NumVerts()}});
        else
            CompareVerts(name, iLOD, a, b);
        if (a.NumTris() != b.NumTris())
            Add("piece", name, "tris", {{"lod", iLOD}, {"a", a.NumTris()}, {"b", b.NumTris()}});
        else
            CompareTris(name, iLOD, a, b);
    }

    void CompareVerts(const std::string& name, uint32_t iLOD, const ModelPieceLOD& a, const ModelPieceLOD& b)
    {
        Greatest positions;
        Greatest normals;
        Greatest weights;
        for (uint32_t i = 0; i < a.NumVerts(); ++i)
        {
            positions.Take(Distance(a.m_Verts[i].m_vPos, b.m_Verts[i].m_vPos), i);
            normals.Take(Distance(a.m_Verts[i].m_vNormal, b.m_Verts[i].m_vNormal), i);
            weights.Take(WeightDistance(a.m_Verts[i], b.m_Verts[i]), i);
        }
        if (Counts(positions))
            Add("piece", name, "positions",
                {{"lod", iLOD},
                 {"distance", positions.m_Value},
                 {"part", positions.m_Value / m_Radius},
                 {"vertex", positions.m_Index}});
        if (Counts(normals))
            Add("piece", name, "normals", {{"lod", iLOD}, {"by", normals.m_Value}, {"vertex", normals.m_Index}});
        if (Counts(weights))
            Add("piece", name, "weights", {{"lod", iLOD}, {"by", weights.m_Value}, {"vertex", weights.m_Index}});
    }

    void CompareTris(const std::string& name, uint32_t iLOD, const ModelPieceLOD& a, const ModelPieceLOD& b)
    {
        Greatest texCoords;
        uint32_t nOther = 0;
        uint32_t iOther = 0;
        for (uint32_t i = 0; i < a.NumTris(); ++i)
        {
            const ModelTri& triA = a.m_Tris[i];
            const ModelTri& triB = b.m_Tris[i];
            if (!std::equal(triA.m_Indices, triA.m_Indices + 3, triB.m_Indices) && nOther++ == 0)
                iOther = i;
            for (int k = 0; k < 3; ++k)
                texCoords.Take(std::max(std::fabs(double(triA.m_UVs[k].u) - triB.m_UVs[k].u),
                                        std::fabs(double(triA.m_UVs[k].v) - triB.m_UVs[k].v)),
                               i);
        }
        if (nOther > 0)
            Add("piece", name, "triangles", {{"lod", iLOD}, {"count", nOther}, {"triangle", iOther}});
        else if (Counts(texCoords))
            Add("piece", name, "texCoords",
                {{"lod", iLOD}, {"by", texCoords.m_Value}, {"triangle", texCoords.m_Index}});
    }

    // The greatest of many differences, and where it is. What can't be compared counts as infinitely much.
    struct Greatest
    {
        double m_Value = 0.0;
        uint32_t m_Index = 0;

        void Take(double value, uint32_t index)
        {
            if (std::isnan(value))
                value = INFINITY;
            if (value > m_Value)
                *this = {value, index};
        }
    };

    bool Counts(const Greatest& greatest) const { return greatest.m_Value > m_Options.m_Tolerance; }

    static double Distance(const Vector3& a, const Vector3& b)
    {
        return std::hypot(double(a.x) - b.x, double(a.y) - b.y, double(a.z) - b.z);
    }

    // By how much the share of one node differs, nodes being told by name, and the shares of a vertex making 1.
    double WeightDistance(const ModelVert& a, const ModelVert& b) const
    {
        std::map<std::string, double> shares;
        AddShares(m_A, a, 1.0, shares);
        AddShares(m_B, b, -1.0, shares);
        double greatest = 0.0;
        for (const auto& [name, share] : shares)
            greatest = std::max(greatest, std::fabs(share));
        return greatest;
    }

    static void AddShares(const Model& model, const ModelVert& vert, double factor,
                          std::map<std::string, double>& shares)
    {
        double sum = 0.0;
        for (uint32_t i = 0; i < vert.m_nWeights; ++i)
            sum += vert.m_Weights[i].m_Vec[3];
        for (uint32_t i = 0; i < vert.m_nWeights && sum != 0.0; ++i)
            shares[Lower(model.GetNode(vert.m_Weights[i].m_iNode)->GetName())] +=
                factor * vert.m_Weights[i].m_Vec[3] / sum;
    }

    Model& m_A;
    Model& m_B;
    const ModelDiffOptions& m_Options;
    double m_Radius;
};

} // namespace

std::vector<ModelDifference> DiffModels(Model& a, Model& b, const ModelDiffOptions& options)
{
    ModelDiffer differ(a, b, options);
    differ.Run();
    DiffPoses(a, b, options, differ.m_Differences);
    return std::move(differ.m_Differences);
}

// "1 2 3", and long lists cut short.
static std::string ShortText(const ordered_json& value)
{
    constexpr size_t MAX_LENGTH = 60;
    std::string text = value.is_string() ? TerminalText(value.get<std::string>()) : value.dump(-1, ' ', true);
    if (value.is_string())
        text = '"' + text + '"';
    if (text.size() > MAX_LENGTH)
        text = text.substr(0, MAX_LENGTH) + "...";
    return value.is_number_float() ? FloatText(value.get<float>()) : text;
}

static std::string AmountText(const ordered_json& data)
{
    const std::string distance = FloatText(data["distance"].get<float>());
    return distance + Format(" (%.3g %% of the radius)", 100.0 * data["part"].get<double>());
}

// What the words in the documents mean to a reader.
static std::string WhatText(const std::string& what)
{
    static const std::map<std::string, std::string> words = {
        {"headerValue", "header value"},
        {"command", "command string"},
        {"lodDistances", "LOD distances"},
        {"dims", "dimensions"},
        {"verts", "vertices"},
        {"tris", "triangles"},
        {"texCoords", "texture coordinates"},
        {"keys", "number of keys"},
        {"times", "key times"},
        {"weightSet", "weight set"},
        {"childModel", "child model"},
        {"anim", "animation"},
    };
    const auto place = words.find(what);
    return place == words.end() ? what : place->second;
}

std::string DifferenceText(const ModelDifference& difference)
{
    const ordered_json& data = difference.m_Data;
    std::string text = WhatText(difference.m_Kind);
    if (!difference.m_Name.empty())
        text += " " + TerminalText(difference.m_Name);
    text += ": ";
    if (difference.m_What == "only")
        return text + "only in " + (data["in"] == "a" ? "A" : "B");
    if (difference.m_What == "order")
        return text + "the order of " + WhatText(data["of"]) + "s differs";
    if (difference.m_What == "pose")
    {
        text += Format("poses part from %g ms on, most at %g ms: ", data["from"].get<double>(),
                       data["time"].get<double>()) +
                AmountText(data);
        if (data.contains("piece"))
            return text + " at vertex " + data["vertex"].dump() + " of piece " +
                   TerminalText(data["piece"].get<std::string>());
        return text + " at node " + TerminalText(data["node"].get<std::string>());
    }
    if (data.contains("lod") && data["lod"] != 0)
        text += "LOD " + data["lod"].dump() + ": ";
    text += WhatText(difference.m_What) + " ";
    if (data.contains("a"))
        return text + ShortText(data["a"]) + " in A, " + ShortText(data["b"]) + " in B";
    if (data.contains("count"))
        return text + Counted(data["count"].get<uint64_t>(), "has", "have") + " other vertices, triangle " +
               data["triangle"].dump() + " first";
    text += "differ by up to ";
    text += data.contains("by") ? FloatText(data["by"].get<float>()) : AmountText(data);
    if (data.contains("degrees"))
        text += Format(" and %.3g degrees", data["degrees"].get<double>());
    for (const char* pWhere : {"vertex", "triangle"})
    {
        if (data.contains(pWhere))
            text += std::string(" at ") + pWhere + " " + data[pWhere].dump();
    }
    return text;
}
