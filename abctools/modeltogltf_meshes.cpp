#include "abctools/displaytext.h"
#include "abctools/format.h"
#include "abctools/modeltogltf.h"
#include "engine/model/src/model.h"

#include <algorithm>
#include <cmath>
#include <map>

using nlohmann::ordered_json;

// A vertex whose places by its weights differ by more than this part of the model's radius is told of.
static constexpr double MAX_DISAGREEMENT = 1e-5;
// Weights whose sum is further from 1 have it stated.
static constexpr double WEIGHT_SUM_ROUNDING = 1e-6;

namespace
{

struct Influence
{
    uint32_t m_iNode;
    double m_Share;    // those of a vertex make 1
    double m_Place[3]; // the vertex in the node's space
};

struct SkinnedVertex
{
    double m_Position[3];                // model space, bind pose
    std::vector<Influence> m_Influences; // the greatest share first; never empty
    double m_WeightSum = 1.0;            // of the model's weights, of which the shares are
};

// The vertex of a mesh of the file: of one vertex of the model with one pair of texture coordinates.
struct GltfVertex
{
    uint32_t m_iVert;
    ModelTri::UVPair m_UV;
};

// A mesh of the model, and what the file makes of its corners.
struct MeshParts
{
    std::vector<SkinnedVertex> m_Verts;
    std::vector<GltfVertex> m_GltfVerts;
    std::vector<uint32_t> m_Indices;
    uint32_t m_iOnlyNode = MNODE_NO_PARENT; // the node that all vertices follow, if it is one
};

// Faults of all meshes, for the warnings.
struct MeshFaults
{
    uint32_t m_nUnweighted = 0;
    uint32_t m_nNoNormal = 0;
    double m_Disagreement = 0.0; // model units
    float m_Min[3] = {INFINITY, INFINITY, INFINITY};
    float m_Max[3] = {-INFINITY, -INFINITY, -INFINITY};
};

} // namespace

static void ToModelSpace(const Matrix4& bind, const double place[3], double out[3])
{
    for (int row = 0; row < 3; ++row)
        out[row] = bind(row, 0) * place[0] + bind(row, 1) * place[1] + bind(row, 2) * place[2] + bind(row, 3);
}

static double Distance(const double a[3], const double b[3])
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// Shares that make 1, one for each node. The position is that which the weights give in the bind pose, so that it plays
// as the model does whatever position is stored.
static SkinnedVertex SkinVertex(const Model& model, const ModelVert& vert, MeshFaults& faults)
{
    SkinnedVertex vertex = {{vert.m_vPos.x, vert.m_vPos.y, vert.m_vPos.z}, {}, 1.0};
    double sum = 0.0;
    for (uint32_t i = 0; i < vert.m_nWeights; ++i)
    {
        const ModelVertWeight& weight = vert.m_Weights[i];
        if (!(weight.m_Vec[3] > 0.0f))
            continue;
        sum += weight.m_Vec[3];
        const auto same = [&](const Influence& influence) { return influence.m_iNode == weight.m_iNode; };
        auto place = std::find_if(vertex.m_Influences.begin(), vertex.m_Influences.end(), same);
        if (place == vertex.m_Influences.end())
            place = vertex.m_Influences.insert(place, {weight.m_iNode, 0.0, {0.0, 0.0, 0.0}});
        place->m_Share += weight.m_Vec[3];
        for (int k = 0; k < 3; ++k)
            place->m_Place[k] += weight.m_Vec[k];
    }
    if (vertex.m_Influences.empty())
    {
        ++faults.m_nUnweighted;
        Influence root = {0, 1.0, {0.0, 0.0, 0.0}};
        const Matrix4& inverse = model.GetNode(0)->m_mGlobalInverse;
        ToModelSpace(inverse, vertex.m_Position, root.m_Place);
        vertex.m_Influences.push_back(root);
        return vertex;
    }
    vertex.m_WeightSum = sum;
    double position[3] = {0.0, 0.0, 0.0};
    for (Influence& influence : vertex.m_Influences)
    {
        double there[3];
        for (double& coordinate : influence.m_Place)
            coordinate /= influence.m_Share;
        influence.m_Share /= sum;
        ToModelSpace(model.GetNode(influence.m_iNode)->m_mGlobal, influence.m_Place, there);
        for (int k = 0; k < 3; ++k)
            position[k] += influence.m_Share * there[k];
    }
    for (const Influence& influence : vertex.m_Influences)
    {
        double there[3];
        ToModelSpace(model.GetNode(influence.m_iNode)->m_mGlobal, influence.m_Place, there);
        faults.m_Disagreement = std::max(faults.m_Disagreement, influence.m_Share * Distance(there, position));
    }
    std::copy(position, position + 3, vertex.m_Position);
    std::stable_sort(vertex.m_Influences.begin(), vertex.m_Influences.end(),
                     [](const Influence& a, const Influence& b) { return a.m_Share > b.m_Share; });
    return vertex;
}

// Corners of one vertex with the same texture coordinates are one vertex of the file. The vertices keep their order,
// and those in no triangle are left out. Corners are reversed, since the scene is a mirror image.
static void SplitCorners(const ModelPieceLOD& mesh, MeshParts& parts)
{
    constexpr uint32_t NONE = 0xFFFFFFFFu;
    struct Corner
    {
        ModelTri::UVPair m_UV;
        uint32_t m_iNext; // the next one of the same vertex
        uint32_t m_iGltfVert;
    };
    std::vector<Corner> corners;
    std::vector<uint32_t> first(mesh.NumVerts(), NONE);
    std::vector<uint32_t> cornerOf;
    for (uint32_t iTri = 0; iTri < mesh.NumTris(); ++iTri)
    {
        const ModelTri& tri = mesh.m_Tris[iTri];
        for (int i = 2; i >= 0; --i)
        {
            const ModelTri::UVPair& uv = tri.m_UVs[i];
            uint32_t* pPlace = &first[tri.m_Indices[i]];
            while (*pPlace != NONE && (corners[*pPlace].m_UV.u != uv.u || corners[*pPlace].m_UV.v != uv.v))
                pPlace = &corners[*pPlace].m_iNext;
            uint32_t iCorner = *pPlace;
            if (iCorner == NONE)
            {
                iCorner = static_cast<uint32_t>(corners.size());
                *pPlace = iCorner; // ahead of the growth, which would move it
                corners.push_back({uv, NONE, 0});
            }
            cornerOf.push_back(iCorner);
        }
    }
    for (uint32_t iVert = 0; iVert < mesh.NumVerts(); ++iVert)
    {
        for (uint32_t i = first[iVert]; i != NONE; i = corners[i].m_iNext)
        {
            corners[i].m_iGltfVert = static_cast<uint32_t>(parts.m_GltfVerts.size());
            parts.m_GltfVerts.push_back({iVert, corners[i].m_UV});
        }
    }
    for (const uint32_t iCorner : cornerOf)
        parts.m_Indices.push_back(corners[iCorner].m_iGltfVert);
}

static MeshParts MakeParts(const Model& model, const ModelPieceLOD& mesh, MeshFaults& faults)
{
    MeshParts parts;
    SplitCorners(mesh, parts);
    bool bOne = true;
    parts.m_Verts.resize(mesh.NumVerts());
    for (const GltfVertex& gltfVert : parts.m_GltfVerts)
    {
        SkinnedVertex& vertex = parts.m_Verts[gltfVert.m_iVert];
        if (!vertex.m_Influences.empty())
            continue;
        vertex = SkinVertex(model, mesh.m_Verts[gltfVert.m_iVert], faults);
        const uint32_t iNode = vertex.m_Influences[0].m_iNode;
        bOne = bOne && vertex.m_Influences.size() == 1 &&
               (parts.m_iOnlyNode == MNODE_NO_PARENT || parts.m_iOnlyNode == iNode);
        parts.m_iOnlyNode = iNode;
        for (int k = 0; k < 3; ++k)
        {
            faults.m_Min[k] = std::min(faults.m_Min[k], static_cast<float>(vertex.m_Position[k]));
            faults.m_Max[k] = std::max(faults.m_Max[k], static_cast<float>(vertex.m_Position[k]));
        }
    }
    if (!bOne)
        parts.m_iOnlyNode = MNODE_NO_PARENT;
    return parts;
}

namespace
{

// The arrays of one mesh as the file has them.
struct MeshArrays
{
    std::vector<float> m_Positions;
    std::vector<float> m_Normals;
    std::vector<float> m_TexCoords;
    std::vector<std::vector<uint16_t>> m_Joints; // four to a vertex, in as many sets as the greatest number needs
    std::vector<std::vector<float>> m_Weights;
    std::vector<float> m_WeightSums; // for each vertex; empty if all are 1
};

} // namespace

// In the scene's space, or of a mesh that hangs at one node in that node's.
static void AddPlace(const Model& model, const MeshParts& parts, const GltfVertex& gltfVert, const ModelPieceLOD& mesh,
                     MeshArrays& arrays, MeshFaults& faults)
{
    const SkinnedVertex& vertex = parts.m_Verts[gltfVert.m_iVert];
    Vector3 normal = mesh.m_Verts[gltfVert.m_iVert].m_vNormal;
    if (parts.m_iOnlyNode == MNODE_NO_PARENT)
    {
        for (int k = 0; k < 3; ++k)
            arrays.m_Positions.push_back(
                static_cast<float>(k == 2 ? 0.0 - vertex.m_Position[k] : vertex.m_Position[k]));
        normal.z = 0.0f - normal.z;
    }
    else
    {
        for (const double coordinate : vertex.m_Influences[0].m_Place)
            arrays.m_Positions.push_back(static_cast<float>(0.0 - coordinate));
        model.GetNode(parts.m_iOnlyNode)->m_mGlobalInverse.Apply3x3(normal, normal);
        normal = normal * -1.0f;
    }
    normal.Norm();
    if (!(normal.Mag() > 0.5f))
    {
        ++faults.m_nNoNormal;
        normal.Set(0.0f, 1.0f, 0.0f); // where the triangles around have no area, any will do
    }
    arrays.m_Normals.insert(arrays.m_Normals.end(), {normal.x, normal.y, normal.z});
    arrays.m_TexCoords.insert(arrays.m_TexCoords.end(), {gltfVert.m_UV.u, gltfVert.m_UV.v});
}

static void AddShares(const SkinnedVertex& vertex, MeshArrays& arrays)
{
    // As floats they have to make 1 still; the greatest can take what is lost.
    double rest = 1.0;
    for (size_t i = 1; i < vertex.m_Influences.size(); ++i)
        rest -= static_cast<float>(vertex.m_Influences[i].m_Share);
    for (size_t i = 0; i < 4 * arrays.m_Joints.size(); ++i)
    {
        const bool bThere = i < vertex.m_Influences.size();
        const double share = i == 0 ? rest : bThere ? vertex.m_Influences[i].m_Share : 0.0;
        const bool bCounts = static_cast<float>(share) > 0.0f;
        arrays.m_Joints[i / 4].push_back(bThere && bCounts ? static_cast<uint16_t>(vertex.m_Influences[i].m_iNode)
                                                           : uint16_t{0});
        arrays.m_Weights[i / 4].push_back(static_cast<float>(share));
    }
}

static MeshArrays MakeArrays(const Model& model, const MeshParts& parts, const ModelPieceLOD& mesh, MeshFaults& faults)
{
    MeshArrays arrays;
    if (parts.m_iOnlyNode == MNODE_NO_PARENT)
    {
        size_t nInfluences = 1;
        for (const GltfVertex& gltfVert : parts.m_GltfVerts)
            nInfluences = std::max(nInfluences, parts.m_Verts[gltfVert.m_iVert].m_Influences.size());
        arrays.m_Joints.resize((nInfluences + 3) / 4);
        arrays.m_Weights.resize(arrays.m_Joints.size());
    }
    for (const GltfVertex& gltfVert : parts.m_GltfVerts)
    {
        AddPlace(model, parts, gltfVert, mesh, arrays, faults);
        AddShares(parts.m_Verts[gltfVert.m_iVert], arrays);
    }
    const auto isScaled = [&](const GltfVertex& gltfVert)
    { return std::abs(parts.m_Verts[gltfVert.m_iVert].m_WeightSum - 1.0) > WEIGHT_SUM_ROUNDING; };
    if (!arrays.m_Joints.empty() && std::any_of(parts.m_GltfVerts.begin(), parts.m_GltfVerts.end(), isScaled))
    {
        for (const GltfVertex& gltfVert : parts.m_GltfVerts)
            arrays.m_WeightSums.push_back(static_cast<float>(parts.m_Verts[gltfVert.m_iVert].m_WeightSum));
    }
    return arrays;
}

namespace
{

// Puts the pieces into the file, mesh by mesh.
class MeshWriter
{
public:
    MeshWriter(const Model& model, GltfFile& file) : m_Model(model), m_File(file) {}

    // False for numbers that aren't finite, of which no file can be made.
    bool AddPiece(ModelPiece& piece)
    {
        const bool bLODs = m_Model.NumLODs() > 1;
        ordered_json coarser = ordered_json::array();
        for (uint32_t iLOD = m_Model.NumLODs(); iLOD-- > 0;)
        {
            const ModelPieceLOD& mesh = *piece.GetLOD(iLOD);
            const MeshParts parts = MakeParts(m_Model, mesh, m_Faults);
            if (parts.m_Indices.empty())
            {
                if (iLOD == 0)
                    m_Empty.push_back(piece.GetName());
                continue;
            }
            const MeshArrays arrays = MakeArrays(m_Model, parts, mesh, m_Faults);
            if (!AreFinite(arrays.m_Positions) || !AreFinite(arrays.m_Normals) || !AreFinite(arrays.m_TexCoords))
                return false;
            std::string name = ToUtf8(piece.GetName());
            if (iLOD > 0)
                name += Format("_LOD%u", iLOD);
            ordered_json node = {{"name", name}, {"mesh", AddMesh(name, piece, parts, arrays)}};
            if (parts.m_iOnlyNode == MNODE_NO_PARENT)
                node["skin"] = 0;
            if (iLOD > 0)
            {
                coarser.insert(coarser.begin(), m_File.m_Json["nodes"].size());
                m_File.m_Json["nodes"].push_back(node);
                continue;
            }
            node["extras"] = {{"texture", piece.m_iTexture},
                              {"params", {piece.m_PieceParamA, piece.m_PieceParamB, piece.m_PieceParamC}}};
            if (!coarser.empty())
            {
                node["extensions"]["MSFT_lod"]["ids"] = coarser;
                m_bLODs = true;
            }
            Place(node, parts.m_iOnlyNode, bLODs);
        }
        return true;
    }

    // The skin, and what the document says of the whole.
    void Finish(std::vector<std::string>& warnings)
    {
        ordered_json& json = m_File.m_Json;
        for (const auto& [iTexture, iMaterial] : m_Materials)
            json["materials"][iMaterial] = {{"name", Format("texture %u", iTexture)},
                                            {"pbrMetallicRoughness", {{"metallicFactor", 0}, {"roughnessFactor", 1}}}};
        if (m_bSkin)
            AddSkin();
        if (m_bLODs)
            json["extensionsUsed"] = {"MSFT_lod"};
        for (const std::string& name : m_Empty)
            warnings.push_back("piece " + name + " has no triangles and is left out");
        if (m_Faults.m_nUnweighted > 0)
            warnings.push_back(Counted(m_Faults.m_nUnweighted, "vertex", "vertices") +
                               " without weights, which have no place in a pose, follow the root");
        const double radius =
            0.5 * std::hypot(m_Faults.m_Max[0] - m_Faults.m_Min[0], m_Faults.m_Max[1] - m_Faults.m_Min[1],
                             m_Faults.m_Max[2] - m_Faults.m_Min[2]);
        if (m_Faults.m_Disagreement > MAX_DISAGREEMENT * radius)
            warnings.push_back("the weights of a vertex don't agree on its place in the bind pose, which moves it by "
                               "up to " +
                               FloatText(static_cast<float>(m_Faults.m_Disagreement)) + " in other poses");
    }

private:
    size_t AddMesh(const std::string& name, const ModelPiece& piece, const MeshParts& parts, const MeshArrays& arrays)
    {
        ordered_json attributes;
        const auto add = [&](const std::string& attribute, const std::vector<float>& values, const char* pType)
        {
            m_File.BeginView(GltfFile::TARGET_VERTICES);
            attributes[attribute] = m_File.AddFloats(values, pType, attribute == "POSITION");
        };
        add("POSITION", arrays.m_Positions, "VEC3");
        add("NORMAL", arrays.m_Normals, "VEC3");
        const auto isSet = [](float value) { return value != 0.0f; };
        if (std::any_of(arrays.m_TexCoords.begin(), arrays.m_TexCoords.end(), isSet))
            add("TEXCOORD_0", arrays.m_TexCoords, "VEC2");
        for (size_t i = 0; i < arrays.m_Joints.size(); ++i)
        {
            m_File.BeginView(GltfFile::TARGET_VERTICES);
            attributes[Format("JOINTS_%zu", i)] = m_File.AddJoints(arrays.m_Joints[i], m_Model.NumNodes() - 1);
            add(Format("WEIGHTS_%zu", i), arrays.m_Weights[i], "VEC4");
        }
        if (!arrays.m_WeightSums.empty())
            add("_WEIGHT_SUM", arrays.m_WeightSums, "SCALAR");
        m_bSkin = m_bSkin || !arrays.m_Joints.empty();
        m_File.BeginView(GltfFile::TARGET_INDICES);
        const size_t iIndices = m_File.AddIndices(parts.m_Indices, static_cast<uint32_t>(parts.m_GltfVerts.size()) - 1);
        const size_t iMaterial = m_Materials.try_emplace(piece.m_iTexture, m_Materials.size()).first->second;
        ordered_json& meshes = m_File.m_Json["meshes"];
        ordered_json primitive = {{"attributes", attributes}, {"indices", iIndices}, {"material", iMaterial}};
        meshes.push_back({{"name", name}, {"primitives", {primitive}}});
        return meshes.size() - 1;
    }

    // A skinned mesh stands at the top, where nothing moves it; any other below its node, or on it if that has the
    // piece's name and carries no mesh yet.
    void Place(const ordered_json& node, uint32_t iOnlyNode, bool bLODs)
    {
        ordered_json& nodes = m_File.m_Json["nodes"];
        if (iOnlyNode == MNODE_NO_PARENT)
            m_File.m_Json["scenes"][0]["nodes"].push_back(nodes.size());
        else
        {
            ordered_json& carrier = nodes[iOnlyNode];
            if (carrier["name"] == node["name"] && !carrier.contains("mesh") && !bLODs)
            {
                carrier["mesh"] = node["mesh"];
                carrier["extras"].update(node["extras"]);
                return;
            }
            carrier["children"].push_back(nodes.size());
        }
        nodes.push_back(node);
    }

    void AddSkin()
    {
        std::vector<float> inverses;
        ordered_json joints = ordered_json::array();
        for (uint32_t i = 0; i < m_Model.NumNodes(); ++i)
        {
            // From the scene to the model, to the node, and to the node as the file has it: see GltfFrame. Column by
            // column.
            const Matrix4& inverse = m_Model.GetNode(i)->m_mGlobalInverse;
            for (int column = 0; column < 4; ++column)
            {
                for (int row = 0; row < 3; ++row)
                    inverses.push_back(column == 2 ? inverse(row, column) : -inverse(row, column));
                inverses.push_back(column == 3 ? 1.0f : 0.0f);
            }
            joints.push_back(i);
        }
        m_File.BeginView(GltfFile::TARGET_NONE);
        m_File.m_Json["skins"] = {
            {{"inverseBindMatrices", m_File.AddFloats(inverses, "MAT4", false)}, {"joints", joints}}};
    }

    const Model& m_Model;
    GltfFile& m_File;
    MeshFaults m_Faults;
    std::map<uint32_t, size_t> m_Materials; // by texture index
    std::vector<std::string> m_Empty;
    bool m_bSkin = false;
    bool m_bLODs = false;
};

} // namespace

bool AddGltfMeshes(Model& model, GltfFile& file, std::vector<std::string>& warnings, std::string& error)
{
    MeshWriter writer(model, file);
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        if (!writer.AddPiece(*model.GetPiece(i)))
        {
            error = "piece " + std::string(model.GetPiece(i)->GetName()) + " holds a number that isn't finite";
            return false;
        }
    }
    writer.Finish(warnings);
    return true;
}
