// Each operation on a whole model, with memory refused at each of its requests.

#ifndef _WIN32

#include <algorithm>

#include "engine/model/src/modelallocations.h"
#include "tests/faults/memoryfault.h"
#include "tests/tools/model/testmodel.h"
#include "tools/model/convmodel.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

namespace
{
// What a failed operation leaves of the model that it worked on.
enum class Leaves
{
    Nothing, // an empty model
    AllAsItWas,
    SoundModel // not all that was asked for, but a model that can be written
};

struct Operation
{
    const char* name;
    Leaves leaves;
    bool bNeedsModel; // works on a model that is there
    std::function<bool(ConvModel&, const Bytes&)> run;
};

bool LoadFrom(Model& model, const Bytes& bytes)
{
    FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    LoadRequest request;
    request.m_pStream = &stream;
    return model.Load(&request) == RESULT_OK;
}

bool LoadIntoBlock(Model& model, const Bytes& bytes)
{
    FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    return model.PrepareBlock(&stream, &g_DefaultAllocator) == RESULT_OK && LoadFrom(model, bytes);
}

bool CopyFromAnother(ConvModel& model, const Bytes& bytes)
{
    ConvModel source;
    return LoadFrom(source, bytes) && model.CopyModelFrom(&source);
}

// What a failure leaves half done belongs to nobody any longer.
bool TakeFromAnother(ConvModel& model, const Bytes& bytes)
{
    ConvModel source;
    const bool bDone = LoadFrom(source, bytes) && model.TakeModelFrom(&source) && model.TakeAnims(&source) == 0;
    if (!bDone)
        model.Term(QZFALSE);
    return bDone;
}

bool SaveToMemory(Model& model)
{
    MemoryStream stream(0);
    return model.Save(&stream);
}

// Own animations that stand behind a child's go to the front for the header's counts to be right, for which there may
// be no memory: what is called saved counts them all.
bool SaveBehindAChild(ConvModel&, const Bytes& bytes)
{
    ConvModel child, parent;
    char error[MODEL_ERRSTR_SIZE];
    bool bDone = LoadFrom(child, bytes) && LoadFrom(parent, bytes);
    if (bDone)
        child.RemoveAllAnims();
    bDone = bDone && child.AddDefaultAnim("still") && parent.AddChildModel(&child, "child", error, QZFALSE);
    if (bDone)
    {
        std::rotate(parent.m_Anims.GetArray(), parent.m_Anims.GetArray() + 2, parent.m_Anims.GetArray() + 3);
        parent.GetSelfChildModel()->m_iAnimOffset = 1;
        parent.GetChildModel(1)->m_iAnimOffset = 0;
        MemoryStream stream(65536);
        ModelAllocations counts;
        bDone = parent.Save(&stream) != QZFALSE;
        EXPECT_TRUE(!bDone || (parent.LoadHeader(&stream, &counts) && counts.m_nKeyFrames == 5));
    }
    parent.Term(QZFALSE);
    return bDone;
}

// From a model with a node more, so that a copy of it is pruned first.
bool AppendPruned(ConvModel& model, const Bytes& bytes)
{
    ConvModel source;
    return LoadFrom(source, bytes) && model.RemoveNode(model.GetNode(2)) && model.AddAnims(&source) == 0;
}

// Under numbered names, since the names are taken.
bool AppendSame(ConvModel& model, const Bytes& bytes)
{
    ConvModel source;
    if (!LoadFrom(source, bytes) || model.AddAnims(&source) != 0)
        return false;
    EXPECT_TRUE(model.FindAnim("walk0", nullptr, nullptr) && model.FindAnim("run0", nullptr, nullptr));
    return true;
}

// To a model of one node, whose tree is that of an empty model.
bool AppendToOneNode(ConvModel& model, const Bytes& bytes)
{
    ConvModel source;
    if (!LoadFrom(source, bytes))
        return false;
    for (ConvModel* pModel : {&model, &source})
    {
        for (uint32_t i = 1; i < pModel->NumNodes(); ++i)
            pModel->GetNode(i)->m_Flags |= MNODE_REMOVEABLE;
    }
    if (!model.RemoveRemovableNodes() || model.AddAnims(&source) != 0)
        return false;
    EXPECT_EQ(model.NumNodes(), 1u);
    EXPECT_EQ(model.NumAnims(), 4u);
    return true;
}

// One line for each.
const Operation OPERATIONS[] = {
    {"load", Leaves::Nothing, false, LoadFrom},
    {"load into one block", Leaves::Nothing, false, LoadIntoBlock},
    {"copy", Leaves::Nothing, false, CopyFromAnother},
    {"take", Leaves::Nothing, false, TakeFromAnother},
    {"save", Leaves::AllAsItWas, true, [](ConvModel& model, const Bytes&) { return SaveToMemory(model); }},
    {"save behind a child", Leaves::AllAsItWas, true, SaveBehindAChild},
    {"append", Leaves::SoundModel, true, AppendSame},
    {"append to one node", Leaves::SoundModel, true, AppendToOneNode},
    {"append pruned", Leaves::SoundModel, true, AppendPruned},
    {"remove a node", Leaves::AllAsItWas, true,
     [](ConvModel& model, const Bytes&) { return model.RemoveNode(model.GetNode(2)) != QZFALSE; }},
    {"remove nodes", Leaves::SoundModel, true,
     [](ConvModel& model, const Bytes&) { return model.RemoveRemovableNodes() != QZFALSE; }},
};

Bytes SampleBytes(uint32_t nKeys)
{
    ConvModel model;
    BuildTree(model, "root(hip(leg*(foot,toe*),tail*(tip)),hat*)");
    AddPiece(model, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 1, 3}});
    AddRandomAnim(model, "walk", nKeys, 1);
    AddRandomAnim(model, "run", 2, 2);
    EXPECT_TRUE(model.Precalc(QZTRUE));
    return Snapshot(model);
}
} // namespace

TEST(Memory, EachOperationWithoutEachOfItsRequests)
{
    for (const Operation& operation : OPERATIONS)
    {
        // A copy goes through a stream, which is to grow more than once.
        const Bytes sample = SampleBytes(operation.bNeedsModel ? 3 : 400);
        SCOPED_TRACE(operation.name);
        const uint32_t memory = g_ModelMemory;
        const AssertionSink sink = SetAssertionSink([](const char*, const char*, int) {}); // the writer's proof
        long nFailed = 0;
        const auto run = [&]
        {
            ConvModel model;
            ASSERT_TRUE(!operation.bNeedsModel || LoadFrom(model, sample));
            const Bytes before = operation.bNeedsModel ? Snapshot(model) : Bytes();
            bool bDone = false;
            {
                const MemoryFault fault;
                bDone = operation.run(model, sample);
            }
            nFailed += bDone ? 0 : 1;
            if (!bDone && operation.leaves == Leaves::Nothing)
            {
                EXPECT_EQ(model.NumNodes() + model.NumPieces() + model.NumAnims(), 0u);
                return;
            }
            const Bytes after = Snapshot(model);
            EXPECT_TRUE(bDone || operation.leaves == Leaves::SoundModel || after == before);
            EXPECT_TRUE(operation.bNeedsModel || after == sample);
            ConvModel again;
            EXPECT_TRUE(LoadFrom(again, after));
            EXPECT_EQ(Snapshot(again), after);
        };
        EXPECT_GT(RefuseEachRequest(run), 0);
        EXPECT_GT(nFailed, 0);
        SetAssertionSink(sink);
        EXPECT_EQ(g_ModelMemory, memory);
    }
}

#endif
