#include "abctools/commands.h"
#include "tests/abctools/testmodel.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

using nlohmann::json;

TEST(Diff, TellsEachChangeInTheModelsTerms)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "a.abc", BytesOf(*MakeTestModel()));
    const struct
    {
        std::function<void(Model&)> m_Change;
        std::vector<const char*> m_Lines;
    } cases[] = {
        {[](Model& model) { model.SetModelStamp(77); }, {}},
        {[](Model& model) { model.GetNode(1)->m_Flags = 1; }, {"node spine: flags 0 in A, 1 in B"}},
        {[](Model& model) { model.GetNode(3)->SetName("LEG"); }, {"node leg: name \"leg\" in A, \"LEG\" in B"}},
        {[](Model& model) { model.GetSocket(0)->m_iNode = 1; }, {"socket grip: node \"hand\" in A, \"spine\" in B"}},
        {[](Model& model) { model.RemoveWeightSet(0); }, {"weight set upper: only in A"}},
        {[](Model& model) { model.GetPiece(0)->GetLOD(1)->m_Verts[2].m_vPos.x += 0.5f; },
         {"piece body: LOD 1: positions differ by up to 0.5 (", "at vertex 2\n"}},
        // 0.75 of it follows the node, and so the shares make 1.25 / 1.
        {[](Model& model) { model.GetPiece(0)->m_Verts[0].m_Weights[0].m_Vec[3] = 0.25f; },
         {"piece body: weights differ by up to 0.25 at vertex 0", "animation run: poses part from 0 ms on",
          "at vertex 0 of piece body"}},
        {[](Model& model) { model.GetAnim(1)->m_KeyFrames[1].m_Time = 300; },
         {"animation walk: key times [0,250] in A, [0,300] in B", "animation walk: poses part from 125 ms on"}},
        {[](Model& model) { model.GetAnim(0)->SetName("jog"); },
         {"animation run: only in A\n", "animation jog: only in B\n"}},
    };
    for (const auto& c : cases)
    {
        const ModelPointer model = MakeTestModel();
        c.m_Change(*model);
        WriteBytes(folder / "b.abc", BytesOf(*model));
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(RunDiff({folder / "a.abc", folder / "b.abc"}, out, err), c.m_Lines.empty() ? 0 : 1) << err.str();
        EXPECT_EQ(out.str().empty(), c.m_Lines.empty()) << out.str();
        for (const char* pLine : c.m_Lines)
            EXPECT_NE(out.str().find(pLine), std::string::npos) << pLine << " in\n" << out.str();
    }
}

TEST(Diff, ToleratesWhatItIsToldToAndWritesJson)
{
    const TemporaryFolder folder;
    const ModelPointer model = MakeTestModel();
    WriteBytes(folder / "a.abc", BytesOf(*model));
    // The root's last key in run, and with it every vertex at 300 ms.
    model->GetAnim(0)->m_AnimNodes[0]->m_KeyFrames[3].m_vTranslation.z += 0.25f;
    WriteBytes(folder / "b.abc", BytesOf(*model));
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunDiff({folder / "a.abc", folder / "b.abc", 0.3, false}, out, err), 0);
    EXPECT_EQ(out.str(), "");
    ASSERT_EQ(RunDiff({folder / "a.abc", folder / "b.abc", 0.2, true}, out, err), 1);
    const json document = json::parse(out.str());
    EXPECT_FALSE(document["same"]);
    ASSERT_EQ(document["differences"].size(), 1u) << document;
    const json& pose = document["differences"][0];
    EXPECT_EQ(pose["name"], "run");
    EXPECT_EQ(pose["what"], "pose");
    EXPECT_EQ(pose["from"], 300.0);
    EXPECT_NEAR(pose["distance"].get<double>(), 0.25, 1e-5);
    EXPECT_EQ(RunDiff({folder / "a.abc", folder / "none.abc"}, out, err), 1);
    EXPECT_NE(err.str().find("none.abc: there is no such file"), std::string::npos) << err.str();
}
