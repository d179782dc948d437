#include "abctools/commands.h"
#include "abctools/pose.h"
#include "scene/meshpositions.h"
#include "scene/readscene.h"
#include "scene/scenepose.h"
#include "tests/abctools/testmodel.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using nlohmann::json;

// The test model with weights that agree on where their vertices are in the bind pose, nine tenths of what they were.
static ModelPointer MakeSoundModel()
{
    ModelPointer model = MakeTestModel();
    for (uint32_t i = 0; i < model->NumPieces(); ++i)
    {
        for (uint32_t iLOD = 0; iLOD < model->NumLODs(); ++iLOD)
        {
            ModelPieceLOD& mesh = *model->GetPiece(i)->GetLOD(iLOD);
            for (uint32_t iVert = 0; iVert < mesh.NumVerts(); ++iVert)
            {
                ModelVert& vert = *mesh.GetVert(iVert);
                for (uint32_t k = 0; k < vert.m_nWeights; ++k)
                {
                    ModelVertWeight& weight = vert.m_Weights[k];
                    const float place[4] = {vert.m_vPos.x, vert.m_vPos.y, vert.m_vPos.z, 1.0f};
                    float there[4];
                    model->GetNode(weight.m_iNode)->m_mGlobalInverse.Transform(there, place);
                    const float share = weight.m_Vec[3] * 0.9f;
                    for (int c = 0; c < 4; ++c)
                        weight.m_Vec[c] = there[c] * share;
                }
            }
        }
    }
    return model;
}

// The greatest distance between a vertex of the model at a key and that of the scene, mirrored, at a time.
static double DistanceAt(Model& model, const Scene& scene, uint32_t iAnim, uint32_t iKey, double seconds)
{
    PoseOptions options;
    options.m_Anim = model.GetAnim(iAnim)->GetName();
    options.m_iKey = iKey;
    std::vector<AnimTracker> positions;
    std::string error;
    std::vector<Vector3> vertices;
    if (!MakePosePositions(model, options, positions, error) || !EvaluatePose(positions) ||
        !PoseVertices(model, positions, 0, vertices))
        return INFINITY;
    ScenePose pose;
    EvaluatePose(scene, static_cast<int>(iAnim), seconds, pose);
    std::vector<Double3> places;
    for (size_t i = 0; i < scene.nodes.size(); ++i)
    {
        for (const SceneMeshUse& use : scene.nodes[i].meshes)
        {
            if (scene.nodes[i].name.find("_LOD1") != std::string::npos)
                continue;
            for (const Double3& place : WorldPositions(scene, static_cast<int>(i), use, pose))
                places.push_back(place);
        }
    }
    double greatest = places.size() == vertices.size() ? 0.0 : INFINITY;
    for (size_t i = 0; i < places.size() && i < vertices.size(); ++i)
        greatest = std::max(greatest, std::hypot(places[i].x - vertices[i].x, places[i].y - vertices[i].y,
                                                 places[i].z + vertices[i].z));
    // The socket stands on the third node; its place is 1, 2, 3 there.
    Matrix4 socket;
    model.GetCurrentSocketTransform(model.GetSocket(0), &socket);
    const DoubleMatrix& node = pose.globals[4];
    return std::max(greatest,
                    std::hypot(node.m[0][3] - socket(0, 3), node.m[1][3] - socket(1, 3), node.m[2][3] + socket(2, 3)));
}

TEST(Convert, TheSceneStandsWhereTheModelDoesAtEveryKey)
{
    const TemporaryFolder folder;
    // A child model whose hand stands elsewhere, and turned, so that its animation comes with a relation.
    ModelPointer child = MakeChildModel("swing", 3.0f);
    Matrix4 place;
    Quaternion(0.0f, 0.0f, 0.6f, 0.8f).ToMatrix(place);
    place.SetTranslation(7.0f, 11.0f, 1.0f);
    child->GetNode(2)->SetGlobalTransform(place);
    WriteBytes(folder / "child.abc", BytesOf(*child));
    const ModelPointer model = MakeSoundModel();
    char message[MODEL_ERRSTR_SIZE];
    ASSERT_TRUE(model->AddChildModel(child.get(), "child.abc", message, QZTRUE)) << message;
    static_cast<void>(child.release()); // DeleteModel of the parent deletes it
    WriteBytes(folder / "m.abc", BytesOf(*model));
    for (const char* pName : {"m.glb", "m.GLTF"})
    {
        std::ostringstream out;
        std::ostringstream err;
        ASSERT_EQ(RunConvert({folder / "m.abc", folder / pName, true}, out, err), 0) << err.str();
        EXPECT_EQ(err.str(), "");
        EXPECT_EQ(json::parse(out.str())["animations"], 3);
        Scene scene;
        std::string error;
        ASSERT_TRUE(ReadScene((folder / pName).c_str(), scene, error)) << error;
        ASSERT_EQ(scene.clips.size(), 3u);
        EXPECT_EQ(scene.clips[1].name, "walk");
        EXPECT_EQ(scene.nodes[4].name, "grip");
        const ScenePrimitive& body = std::as_const(scene).primitives[0];
        ASSERT_TRUE(body.hasModelWeights);
        double sum = 0.0;
        for (const SceneInfluence& influence : body.influences)
            sum += influence.weight;
        EXPECT_NEAR(sum, 0.9 * static_cast<double>(body.positions.size()), 1e-5);
        EXPECT_EQ(scene.statedFps, 60.0); // the lowest that has frames at 100, 250 and 300 ms
        // The second key of run is that before the jump at 100 ms.
        const double times[] = {0.0, std::nextafter(0.1, 0.0), 0.1, 0.3};
        for (uint32_t iKey = 0; iKey < 4; ++iKey)
            EXPECT_LT(DistanceAt(*model, scene, 0, iKey, times[iKey]), 1e-5) << iKey;
        EXPECT_LT(DistanceAt(*model, scene, 1, 0, 0.0), 1e-5);
        EXPECT_LT(DistanceAt(*model, scene, 1, 1, 0.25), 1e-5);
        EXPECT_GT(DistanceAt(*model, scene, 1, 1, 0.2), 1e-2);
        EXPECT_LT(DistanceAt(*model, scene, 2, 1, 1.0), 1e-5);
    }
    // Shapes alone: the third vertex of body, and its one triangle turned round.
    std::ostringstream ignored;
    ASSERT_EQ(RunConvert({folder / "m.abc", folder / "m.obj"}, ignored, ignored), 0) << ignored.str();
    const std::vector<uint8_t> lines = ReadBytes(folder / "m.obj");
    const std::string obj(lines.begin(), lines.end());
    EXPECT_NE(obj.find("o body\nusemtl texture_3\nv 0 0 0\n"), std::string::npos) << obj;
    EXPECT_NE(obj.find("v 2 4 0\nvn 0 0 -1\nvt 0 1\nvt 0 1\nvt 0 1\nf 3/1/3 2/2/2 1/3/1\n"), std::string::npos) << obj;
    const std::vector<uint8_t> bytes = ReadBytes(folder / "m.GLTF");
    const json document = json::parse(bytes.begin(), bytes.end());
    const json& extras = document["scenes"][0]["extras"];
    EXPECT_EQ(extras["command"], "VisRadius 75; Rigid; NormalRef hand RUN");
    EXPECT_EQ(extras["weightSets"][0]["values"], json({0.0, 1.0, 0.5, 2.0}));
    EXPECT_EQ(extras["lodDistances"], json({500.0}));
    EXPECT_EQ(document["animations"][0]["extras"]["commands"][0]["text"], "start");
    EXPECT_EQ(document["nodes"][4]["extras"]["socket"], true);
    const json& body = document["nodes"][document["scenes"][0]["nodes"][1].get<size_t>()];
    EXPECT_EQ(document["nodes"][body["extensions"]["MSFT_lod"]["ids"][0].get<size_t>()]["name"], "body_LOD1");
}

TEST(Convert, SaysWhatASceneCantHoldAndKeepsTheTargetOnFailure)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "odd.abc", BytesOf(*MakeTestModel()));
    std::ostringstream out;
    std::ostringstream err;
    ASSERT_EQ(RunConvert({folder / "odd.abc", folder / "m.glb"}, out, err), 0);
    EXPECT_NE(err.str().find("don't agree on its place"), std::string::npos) << err.str();
    const ModelPointer model = MakeSoundModel();
    model->GetAnim(1)->m_AnimNodes[2]->m_KeyFrames[1].m_vTranslation.x = NAN;
    WriteBytes(folder / "nan.abc", BytesOf(*model));
    const std::vector<uint8_t> before = ReadBytes(folder / "m.glb");
    EXPECT_EQ(RunConvert({folder / "nan.abc", folder / "m.glb"}, out, err), 1);
    EXPECT_NE(err.str().find("animation walk holds a number that isn't finite"), std::string::npos) << err.str();
    EXPECT_EQ(ReadBytes(folder / "m.glb"), before);
}
