#include "engine/model/src/transformmaker.h"
#include "tests/engine/model/src/loadbytes.h"
#include "tests/engine/model/src/referencepose.h"
#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "zoltshared/stdzolt/countingallocator.h"

#include <gtest/gtest.h>

using reference::Mat;

static Mat Wide(const Matrix4& m)
{
    return reference::Widened<Mat>(std::to_array(m.m));
}

// Within 1e-5 of the extent.
static void ExpectNear(const Matrix4& actual, const Mat& expected, double extent)
{
    for (int i = 0; i < 16; ++i)
        ASSERT_NEAR(actual.m[i], expected[i], 1e-5 * (i % 4 == 3 ? extent : 1)) << "element " << i;
}

// A model with random tracks, weight sets, sockets and weighted vertices, and one linked child that has other bind
// poses and animations of its own.
struct Rig
{
    explicit Rig(uint32_t seed) : random(seed)
    {
        const uint32_t nNodes = seed % 5 == 4 ? 65 + random.Int(90) : 1 + random.Int(14);
        file.nodes = random.Tree(nNodes);
        childFile.nodes = file.nodes;
        for (abc::Node& node : childFile.nodes)
            node.global = random.Matrix();
        for (abc::Node& node : file.nodes)
            node.flags = static_cast<uint8_t>(random.Int(256) & (random.Int(2) ? 0xFD : 0xFF));
        for (int i = 0; i < 3; ++i)
        {
            file.anims.push_back(random.Animation("own" + std::to_string(i), nNodes, 1 + random.Int(5)));
            childFile.anims.push_back(random.Animation("lent" + std::to_string(i), nNodes, 1 + random.Int(5)));
        }
        for (int i = 0; i < 3; ++i)
        {
            file.sets.push_back({"set", {}});
            const float weights[] = {0, 1, 2, 1.9999f, 0.3f, -0.2f, 1.25f};
            for (uint32_t n = 0; n < nNodes; ++n)
                file.sets.back().values.push_back(i == 1 && n < 8 ? 0 : weights[random.Int(7)]);
        }
        for (uint32_t n = 0; n < nNodes; ++n)
            file.links[0].relations.push_back(seed % 3 ? random.Place() : abc::Key{{0, 0, 0}, {0, 0, 0, 1}});
        for (int i = 0; i < 2; ++i)
            file.sockets.push_back({random.Int(nNodes), "socket", random.Place()});
        file.lodDistances = {100};
        file.pieces.resize(2);
        for (abc::Piece& piece : file.pieces)
        {
            piece.lods = {random.RandomMesh(9, 0, nNodes), random.RandomMesh(8, 0, nNodes)};
            for (abc::Vert& vert : piece.lods[0].verts)
            {
                if (vert.weights.size() == 1 && random.Int(2))
                    vert.weights[0].share = 1;
                if (vert.weights.size() == 4 && random.Int(2))
                    vert.weights.push_back({random.Int(nNodes), random.Vector(30), 0.5f});
            }
            for (size_t lod = 0; seed % 3 == 0 && lod < 2; ++lod)
            {
                for (abc::Vert& vert : piece.lods[lod].verts)
                    vert.weights.resize(1 + seed / 3 % 5, {0, {1, 2, 3}, 0.5f}); // as many everywhere
            }
        }
        start = random.Matrix();
        for (size_t i = 12; seed % 4 == 1 && i < 15; ++i)
            start[i] = random.Float(-2e-4f, 2e-4f); // projective

        pChild = new LoadedModel(childFile);
        pModel = new LoadedModel(file);
        EXPECT_EQ(pChild->m_Result | pModel->m_Result, RESULT_OK);
        char errStr[MODEL_ERRSTR_SIZE];
        EXPECT_TRUE(pModel->AddChildModel(pChild, "child.abc", errStr, QZTRUE));
        for (const abc::File* pFile : {&file, &childFile})
            for (const abc::Anim& anim : pFile->anims)
                rows.push_back(&anim);
    }
    // The parent takes the child along.
    ~Rig() { Model::DeleteModel(pModel); }
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    Mat Start() const { return reference::Widened<Mat>(start); }
    // Of the link that the base animation came through, as the model holds them: near a half turn to five digits.
    std::vector<Mat> Relations(uint32_t iRow) const
    {
        std::vector<Mat> relations;
        for (uint32_t n = 0; n < file.nodes.size(); ++n)
        {
            const NodeKeyFrame& held = pModel->GetAnimInfo(iRow)->m_pChildInfo->m_Relations[n];
            const auto [t, q] = std::pair(held.m_vTranslation, held.m_qRotation);
            relations.push_back(reference::Matrix({t.x, t.y, t.z}, {q.x, q.y, q.z, q.w}));
            const abc::Key& own = file.links[0].relations[n];
            const Mat exact =
                iRow < 3 ? reference::Matrix(reference::Widened<reference::Vec>(own.t),
                                             reference::Widened<reference::Quat>(own.q))
                         : reference::Product(reference::RigidInverse(reference::BindLocal(childFile.nodes, n)),
                                              reference::BindLocal(file.nodes, n));
            for (size_t i = 0; i < 16; ++i)
                EXPECT_NEAR(relations[n][i], exact[i], i % 4 == 3 ? 2e-3 : 1e-4);
        }
        return relations;
    }
    // Random positions, the same for the code and the reference.
    void Choose(AnimTracker* pTrackers, uint32_t nPositions)
    {
        positions.clear();
        for (uint32_t i = 0; i < nPositions; ++i)
        {
            const uint32_t iPrev = random.Int(6);
            const uint32_t iCur = random.Int(3) ? iPrev : random.Int(6); // or a transition
            const uint32_t iPrevKey = random.Int(static_cast<uint32_t>(rows[iPrev]->keys.size()));
            const uint32_t iCurKey = random.Int(static_cast<uint32_t>(rows[iCur]->keys.size()));
            const float percents[] = {0, 1, random.Float(0, 1), random.Float(0, 1)};
            const float percent = percents[random.Int(4)];
            const uint32_t iSet = random.Int(3);
            pTrackers[i].Init(pModel, iPrev, iPrevKey, iCur, iCurKey, percent);
            if (i != 0)
                pTrackers[i].m_iWeightSet = iSet;
            positions.push_back({rows[iPrev], rows[iCur], iPrevKey, iCurKey, percent, &file.sets[iSet].values});
            if (i == 0)
                relations = Relations(iPrev);
        }
    }
    // How far the nodes are from the origin, at most.
    double Extent(const Mat& from) const
    {
        double extent = 1;
        for (size_t n = 0; n < file.nodes.size(); ++n)
        {
            const Mat m = Expected(n, from);
            extent = std::max(extent, std::hypot(m[3], m[7], m[11]));
        }
        return extent;
    }
    Mat Expected(size_t iNode, const Mat& from) const
    {
        return reference::Global(file.nodes, positions, relations, from, iNode);
    }

    abc::Random random;
    abc::File file, childFile;
    std::array<float, 16> start{};
    LoadedModel* pChild = nullptr;
    LoadedModel* pModel = nullptr;
    std::vector<const abc::Anim*> rows;
    std::vector<reference::Position> positions;
    std::vector<Mat> relations;
};

struct CallLog
{
    std::vector<uint32_t> nodes;
    uint32_t iChanged = UINT32_MAX;
    Matrix4 change;
};

// pUserB is the table that the matrices go to.
static void LogCall(void* pUserA, uint32_t iNode, Matrix4* pTransform, void* pUserB)
{
    CallLog* pLog = static_cast<CallLog*>(pUserA);
    pLog->nodes.push_back(iNode);
    EXPECT_EQ(pTransform, static_cast<Matrix4*>(pUserB) + iNode);
    if (iNode == pLog->iChanged)
        *pTransform = pLog->change;
}

TEST(TransformMaker, AgainstTheDefinitions)
{
    for (uint32_t seed = 0; seed < 150; ++seed)
    {
        SCOPED_TRACE(seed);
        Rig rig(seed);
        Model& model = *rig.pModel;
        const uint32_t nNodes = model.NumNodes();
        TransformMaker maker;
        maker.m_nAnims = 1 + seed % 8;
        rig.Choose(maker.m_Anims, maker.m_nAnims);
        Matrix4 start;
        start.Set(rig.start.data());

        // All nodes, into a table of the caller's.
        std::vector<Matrix4> table(nNodes);
        CallLog log;
        maker.m_pStartMat = &start, maker.m_pOutput = table.data();
        maker.m_pCallback = LogCall, maker.m_pUserA = &log, maker.m_pUserB = table.data();
        const std::vector<Matrix4> untouched(model.m_Transforms.GetArray(), model.m_Transforms.GetArray() + nNodes);
        ASSERT_TRUE(maker.SetupTransforms());
        EXPECT_EQ(memcmp(untouched.data(), model.m_Transforms.GetArray(), nNodes * sizeof(Matrix4)), 0);
        ASSERT_EQ(log.nodes.size(), nNodes);
        const double extent = rig.Extent(rig.Start());
        for (uint32_t i = 0; i < nNodes; ++i)
        {
            ExpectNear(table[i], rig.Expected(i, rig.Start()), extent);
            EXPECT_EQ(log.nodes[i], i); // pre-order
        }

        // Without a callback the same bits; with one that leaves any matrix, the nodes below go on from there.
        std::vector<Matrix4> second(nNodes);
        maker.m_pOutput = second.data(), maker.m_pCallback = nullptr;
        ASSERT_TRUE(maker.SetupTransforms());
        for (uint32_t i = 0; i < nNodes; ++i)
            EXPECT_TRUE(std::equal(second[i].m, second[i].m + 16, table[i].m)) << i;
        log.iChanged = rig.random.Int(nNodes);
        for (float& element : log.change.m)
            element = rig.random.Float(-1, 1);
        maker.m_pCallback = LogCall, maker.m_pUserB = second.data();
        ASSERT_TRUE(maker.SetupTransforms());
        for (uint32_t i = 0; i < nNodes; ++i)
        {
            const int parent = rig.file.nodes[i].parent;
            const Mat from = parent < 0 ? rig.Start() : Wide(second[parent]);
            const Mat local = reference::Local(rig.file.nodes, rig.positions, rig.relations, i);
            ExpectNear(second[i], i == log.iChanged ? Wide(log.change) : reference::Product(from, local), extent);
        }

        // One path, into the model's table, from the identity.
        TransformMaker path;
        path.m_nAnims = maker.m_nAnims;
        std::copy_n(maker.m_Anims, maker.m_nAnims, path.m_Anims);
        const uint32_t iNode = rig.random.Int(nNodes);
        Matrix4 mark;
        mark.m[0] = 12345;
        for (uint32_t i = 0; i < nNodes; ++i)
            model.m_Transforms[i] = mark;
        ASSERT_TRUE(path.SetupNodePath(iNode));
        const Mat identity = Mat{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        TransformMaker all = path;
        all.m_pOutput = second.data();
        ASSERT_TRUE(all.SetupTransforms());
        for (uint32_t i = 0; i < nNodes; ++i)
        {
            bool bOnPath = false;
            for (int n = static_cast<int>(iNode); n >= 0; n = rig.file.nodes[n].parent)
                bOnPath |= n == static_cast<int>(i);
            // However many nodes are worked on at once, the numbers are the same.
            EXPECT_TRUE(!bOnPath || std::equal(second[i].m, second[i].m + 16, model.GetTransform(i).m)) << i;
            if (bOnPath)
                ExpectNear(model.GetTransform(i), rig.Expected(i, identity), extent);
            else
                EXPECT_EQ(model.GetTransform(i).m[0], 12345);
        }

        // Sockets, by both calls.
        Matrix4 socket, single;
        const abc::Socket& place = rig.file.sockets[seed % 2];
        const Mat inNode = reference::Matrix(reference::Widened<reference::Vec>(place.place.t),
                                             reference::Widened<reference::Quat>(place.place.q));
        TransformMaker again = path;
        again.m_pStartMat = &start, again.m_pOutput = table.data();
        ASSERT_TRUE(model.GetSocketTransform(&again, seed % 2, &socket));
        ExpectNear(socket, reference::Product(rig.Expected(place.node, rig.Start()), inNode), extent);
        rig.positions.resize(1);
        ASSERT_TRUE(model.GetSocketTransform(&maker.m_Anims[0], seed % 2, &start, &single));
        ExpectNear(single, reference::Product(rig.Expected(place.node, rig.Start()), inNode), extent);
        ASSERT_TRUE(model.GetCurrentSocketTransform(model.GetSocket(seed % 2), &socket));
        EXPECT_TRUE(std::equal(socket.m, socket.m + 16, single.m));
        ModelSocket taken;
        model.GetSocket(seed % 2)->ToMatrix(socket);
        taken.FromMatrix(socket);
        taken.ToMatrix(single);
        ExpectNear(single, inNode, extent);
    }
}

TEST(TransformMaker, WhatIsMissing)
{
    Rig rig(7);
    Model& model = *rig.pModel;
    TransformMaker maker;
    maker.m_nAnims = 2;
    maker.m_Anims[0].Init(&model, 0, 0, 0, 0, 0.0f);
    maker.m_Anims[1].Init(&model, 1, 0, 1, 0, 0.5f);
    maker.m_Anims[1].m_iWeightSet = 0;
    model.GetNode(0)->m_Flags = 0;
    model.m_SelfChildModel.m_Relations.Term(); // a missing relation is the identity
    // A position whose weight is 0 isn't read.
    model.GetWeightSet(0)->m_Weights[0] = 0.0f;
    AnimNode* pTrack = model.GetAnim(1)->m_AnimNodes[0];
    model.GetAnim(1)->m_AnimNodes[0] = nullptr;
    EXPECT_TRUE(maker.SetupNodePath(0));
    model.GetAnim(1)->m_AnimNodes[0] = pTrack;
    Vector3 at;
    model.GetTransform(0).GetTranslation(at);
    const Vector3& key = model.GetAnim(0)->m_AnimNodes[0]->m_KeyFrames[0].m_vTranslation;
    EXPECT_TRUE(at.NearlyEquals(key + model.GetAnimInfo(0)->m_vTranslation, 1e-5f));
}

TEST(TransformMaker, Refuses)
{
    AssertionCatcher catcher;
    Rig rig(11);
    Model& model = *rig.pModel;
    const auto refused = [&](const std::function<void(TransformMaker&)>& change)
    {
        TransformMaker maker;
        maker.m_nAnims = 8;
        for (AnimTracker& tracker : maker.m_Anims)
        {
            tracker.Init(&model, 0, 0, 0, 0, 0);
            tracker.m_iWeightSet = 0;
        }
        EXPECT_TRUE(maker.IsValid());
        change(maker);
        Matrix4 mark;
        mark.m[3] = 4711;
        model.m_Transforms[0] = mark;
        const bool bRefused = !maker.SetupTransforms() && !maker.SetupNodePath(0);
        return bRefused && model.GetTransform(0).m[3] == 4711 && !maker.m_pOutput;
    };
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_nAnims = 0; }));
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_nAnims = 9; }));
    for (const float percent : {1.0001f, -0.0001f, NAN})
        EXPECT_TRUE(refused([&](TransformMaker& m) { m.m_Anims[3].m_Percent = percent; }));
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[0].m_pModel = nullptr; }));
    EXPECT_TRUE(refused([&](TransformMaker& m) { m.m_Anims[1].m_pModel = rig.pChild; }));
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[7].m_iWeightSet = ANIMTRACKER_NO_WEIGHTSET; }));
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[7].m_iWeightSet = 3; }));
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[2].m_Cur.m_iAnim = 6; }));
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[2].m_Prev.m_iAnim = 6; }));
    const uint16_t nKeys = static_cast<uint16_t>(model.GetAnim(0)->NumKeyFrames());
    EXPECT_TRUE(refused([&](TransformMaker& m) { m.m_Anims[2].m_Prev.m_iFrame = nKeys; }));
    EXPECT_TRUE(refused([&](TransformMaker& m) { m.m_Anims[2].m_Cur.m_iFrame = nKeys; }));
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[2].m_Prev.m_iFrame = 99; }));
    // What IsValid doesn't see: a weight set without values, a child of another shape, no track list.
    ASSERT_TRUE(model.AddWeightSet(new WeightSet(&model)));
    model.GetWeightSet(3)->m_Weights.Term();
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[7].m_iWeightSet = 3; }));
    rig.pChild->GetRootNode()->Clear();
    EXPECT_TRUE(model.NumNodes() == 1 || (rig.pChild->m_Transforms.SetSize(1) &&
                                          refused([](TransformMaker& m) { m.m_Anims[0].m_Cur.m_iAnim = 3; })));
    AnimNode** pList = std::exchange(model.GetAnim(1)->m_AnimNodes, nullptr);
    EXPECT_TRUE(refused([](TransformMaker& m) { m.m_Anims[1].m_Prev.m_iAnim = 1; }));
    model.GetAnim(1)->m_AnimNodes = pList;
    TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0].Init(&model, 0, 0, 0, 0, 0);
    EXPECT_FALSE(maker.SetupNodePath(model.NumNodes()));

    EXPECT_EQ(catcher.Caught().size(), 0u);
    Matrix4 out;
    EXPECT_FALSE(model.GetSocketTransform(&maker, 2, &out) || model.GetSocketTransform(&maker, 0, nullptr));
    EXPECT_FALSE(model.GetSocketTransform(&maker.m_Anims[0], 0, nullptr, &out));
    EXPECT_EQ(catcher.Caught(),
              (std::vector<std::string>{"pOutTransform", "pTime && pBaseTransform && pOutTransform"}));
    Rig twin(11);
    maker.m_Anims[0].Init(twin.pModel, 0, 0, 0, 0, 0);
    EXPECT_FALSE(model.GetSocketTransform(&maker, 0, &out)) << "a pose of another model";
    maker.m_Anims[0].Init(&model, 0, 0, 0, 0, 0);
    EXPECT_TRUE(model.GetSocketTransform(&maker, 0, &out));
    model.GetSocket(0)->m_iNode = model.NumNodes();
    EXPECT_FALSE(model.GetSocketTransform(&maker, 0, &out));
    EXPECT_FALSE(model.GetCurrentSocketTransform(model.GetSocket(0), &out));
}

TEST(TransformMaker, PathOf64Nodes)
{
    abc::Random random(1);
    abc::File file;
    file.nodes.resize(65);
    for (int i = 0; i < 65; ++i)
        file.nodes[i].parent = i - 1;
    file.anims = {random.Animation("a", 65, 1)};
    LoadedModel model(file);
    ASSERT_EQ(model.m_Result, RESULT_OK);
    TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0].Init(&model, 0, 0, 0, 0, 0);
    EXPECT_TRUE(maker.SetupNodePath(63));
    AssertionCatcher catcher;
    EXPECT_FALSE(maker.SetupNodePath(64));
    EXPECT_EQ(catcher.Caught().size(), 1u);
    EXPECT_TRUE(maker.SetupTransforms());
}

TEST(VertexDeformation, AgainstTheDefinitions)
{
    for (uint32_t seed = 0; seed < 60; ++seed)
    {
        SCOPED_TRACE(seed);
        Rig rig(seed + 1000);
        VertexDeformRequest request;
        request.m_nAnims = 1 + seed % 8;
        request.m_iLOD = seed % 2;
        rig.Choose(request.m_Anims, request.m_nAnims);
        request.m_StartMat.Set(rig.start.data());
        const uint32_t strides[] = {12, 13, 16, 32};
        request.m_VertStride = strides[seed / 3 % 4];
        std::string out(size_t{20} * request.m_VertStride, 'x');
        request.m_pVertOut = reinterpret_cast<Vector3*>(out.data());
        // Some poses go to a table of the caller's, and the model stays as it is.
        std::vector<Matrix4> table(rig.pModel->NumNodes()), before(rig.pModel->NumNodes());
        memcpy(before.data(), rig.pModel->m_Transforms.GetArray(), before.size() * sizeof(Matrix4));
        request.m_pTransforms = seed % 4 == 1 ? table.data() : nullptr;
        ASSERT_TRUE(rig.pModel->GetVertexPositions(&request, QZTRUE));
        const Matrix4* pModelTable = rig.pModel->m_Transforms.GetArray();
        EXPECT_TRUE(!request.m_pTransforms || !memcmp(before.data(), pModelTable, before.size() * sizeof(Matrix4)));
        size_t iOut = 0;
        for (const abc::Piece& piece : rig.file.pieces)
        {
            for (const abc::Vert& vert : piece.lods[request.m_iLOD].verts)
            {
                double sum[4] = {};
                for (const abc::Weight& weight : vert.weights)
                {
                    const Mat m = rig.Expected(weight.node, rig.Start());
                    for (size_t r = 0; r < 4; ++r)
                        sum[r] += m[4 * r] * weight.xyz[0] + m[4 * r + 1] * weight.xyz[1] +
                                  m[4 * r + 2] * weight.xyz[2] + m[4 * r + 3] * weight.share;
                }
                float actual[3];
                memcpy(actual, out.data() + iOut, 12);
                for (int c = 0; c < 3; ++c)
                {
                    const double expected = vert.weights.empty() ? 0 : sum[c] / sum[3];
                    ASSERT_NEAR(actual[c], expected, 1e-2 + 1e-5 * std::fabs(expected));
                }
                for (size_t k = iOut + 12; k < iOut + request.m_VertStride; ++k)
                    ASSERT_EQ(out[k], 'x');
                iOut += request.m_VertStride;
            }
        }
        EXPECT_EQ(out.find_first_not_of('x', iOut), std::string::npos);
    }
}

TEST(VertexDeformation, TakesNoMemory)
{
    abc::Random random(3);
    abc::File file;
    file.nodes = random.Tree(9);
    file.links[0].relations.assign(9, random.Place());
    file.anims = {random.Animation("a", 9, 3)};
    file.pieces.resize(1);
    file.pieces[0].lods = {random.RandomMesh(40, 0, 9)};
    CountingAllocator counting(&g_DefaultAllocator);
    Model model(&counting, &counting);
    ASSERT_EQ(LoadBytes(model, file.Write()), RESULT_OK);
    Vector3 out[40];
    VertexDeformRequest request;
    request.m_nAnims = 1;
    request.m_Anims[0].Init(&model, 0, 0, 0, 1, 0.5f);
    request.m_pVertOut = out;
    const uint32_t nBefore = counting.m_nTotalAllocations;
    const QZBOOL bDone = model.GetVertexPositions(&request, QZTRUE);
    EXPECT_EQ(counting.m_nTotalAllocations, nBefore);
    EXPECT_TRUE(bDone);
}

// Equal counts take a way of their own, and so do vertices one behind the other that a single node moves: to the same
// bits as with one other vertex behind them.
TEST(VertexDeformation, EqualCounts)
{
    for (uint32_t iCase = 1; iCase <= 5; ++iCase)
    {
        SCOPED_TRACE(iCase);
        const bool bRigid = iCase == 5;
        const uint32_t nEach = bRigid ? 1 : iCase, nVerts = bRigid ? 38 : 11, iZero = bRigid ? 10 : 2;
        abc::Random random(iCase);
        abc::File file;
        file.nodes = random.Tree(9);
        file.links[0].relations.assign(9, random.Place());
        file.anims = {random.Animation("a", 9, 2)};
        file.pieces.resize(1);
        file.pieces[0].lods = {random.RandomMesh(nVerts, 0, 9)};
        std::vector<abc::Vert>& verts = file.pieces[0].lods[0].verts;
        for (abc::Vert& vert : verts)
            vert.weights.resize(nEach, {random.Int(9), random.Vector(30), random.Float(0.05f, 1)});
        verts[iZero].weights.assign(nEach, {3, {1, 2, 3}, 0});
        for (uint32_t i = 0; bRigid && i < nVerts; ++i)
        {
            abc::Weight& weight = verts[i].weights[0];
            weight.node = i < 7 ? 3 : i < 8 ? 4 : 5, weight.share = i < 16 || i / 4 == 5 ? weight.share : 1;
        }
        LoadedModel equal(file);
        verts.emplace_back().weights.assign(nEach % 4 + 1, {0, {1, 2, 3}, 1});
        LoadedModel mixed(file);
        AssertionCatcher catcher;
        Vector3 out[2][39];
        for (const bool bDamaged : {false, true})
        {
            LoadedModel* const models[] = {&equal, &mixed};
            for (int i = 0; i < 2; ++i)
            {
                for (uint32_t iVert = bRigid ? 8 : 5; bDamaged && iVert < (bRigid ? 16 : 6); ++iVert)
                    models[i]->GetPiece(0)->GetVert(iVert)->m_Weights[nEach - 1].m_iNode = 9;
                VertexDeformRequest request;
                request.m_nAnims = 1;
                request.m_Anims[0].Init(models[i], 0, 0, 0, 1, 0.4f);
                request.m_pVertOut = out[i];
                ASSERT_TRUE(models[i]->GetVertexPositions(&request, QZTRUE));
            }
            EXPECT_EQ(memcmp(out[0], out[1], nVerts * sizeof(Vector3)), 0);
            EXPECT_TRUE(out[0][iZero].NearlyEquals(Vector3(0, 0, 0), 0));
        }
        EXPECT_EQ(catcher.Caught(), (std::vector<std::string>(bRigid ? 16 : 2, "pWeight->m_iNode < NumNodes()")));
    }
}

TEST(VertexDeformation, OddWeights)
{
    abc::Random random(1);
    abc::File file;
    file.anims = {random.Animation("a", 1, 1)};
    file.pieces.resize(1);
    std::vector<abc::Vert>& verts = file.pieces[0].lods[0].verts;
    verts.resize(4);
    verts[0].pos = {1, 1, 1}; // no weights
    verts[1].weights = {{0, {1, 2, 3}, 1}};
    verts[2].weights = {{0, {0.25f, 0.5f, 0.75f}, 0.25f}, {0, {0.25f, 0.5f, 0.75f}, 0.25f}};
    verts[3].weights = {{0, {5, 5, 5}, 0}};
    LoadedModel model(file);
    ASSERT_EQ(model.m_Result, RESULT_OK);
    Vector3 out[4];
    VertexDeformRequest request;
    request.m_nAnims = 1;
    request.m_Anims[0].Init(&model, 0, 0, 0, 0, 0);
    EXPECT_FALSE(model.GetVertexPositions(&request, QZFALSE));
    request.m_pVertOut = out;
    request.m_nAnims = 9;
    EXPECT_FALSE(model.GetVertexPositions(&request, QZFALSE));
    request.m_nAnims = 0; // not looked at when the matrices are taken as they stand
    EXPECT_FALSE(model.GetVertexPositions(&request, QZTRUE));
    LoadedModel other(file);
    request.m_nAnims = 1;
    request.m_Anims[0].Init(&other, 0, 0, 0, 0, 0);
    EXPECT_FALSE(model.GetVertexPositions(&request, QZTRUE)) << "a pose of another model";
    ASSERT_TRUE(model.GetVertexPositions(&request, QZFALSE));
    const Vector3 expected[] = {{0, 0, 0}, {1, 2, 3}, {1, 2, 3}, {0, 0, 0}};
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(out[i].NearlyEquals(expected[i], 0)) << i;

    AssertionCatcher catcher;
    model.GetPiece(0)->GetVert(2)->m_Weights[0].m_iNode = 1;
    ASSERT_TRUE(model.GetVertexPositions(&request, QZFALSE));
    EXPECT_TRUE(out[2].NearlyEquals(expected[2], 0)); // by the record that is left
    request.m_iLOD = 1;
    EXPECT_FALSE(model.GetVertexPositions(&request, QZFALSE));
    EXPECT_EQ(catcher.Caught(), (std::vector<std::string>{"pWeight->m_iNode < NumNodes()", "FALSE"}));
}
