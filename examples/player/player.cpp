// Plays a model: one animation, a transition into a second one, and a third one layered on both, and prints where a
// socket of the model is at each frame.
//
//   player MODEL FIRST SECOND LAYER [PLACE]
//
// PLACE names a socket, or a node on which a socket is then made. Without it the model's first socket is followed, or
// its last node.

#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/stdiostream.h"

#include <cstdio>
#include <string>

constexpr uint32_t FRAME_TIME = 100;      // milliseconds
constexpr uint32_t TRANSITION_TIME = 200; // milliseconds

// Puts the tracker between the two keys around a time, which is clamped to the animation. Of several keys at one time
// the last one holds.
static void SetTime(AnimTracker& tracker, Model& model, uint32_t iAnim, uint32_t time)
{
    const auto& keys = model.GetAnim(iAnim)->m_KeyFrames;
    uint32_t iPrev = 0;
    while (iPrev + 1 < keys.GetSize() && keys[iPrev + 1].m_Time <= time)
        ++iPrev;
    const uint32_t iNext = iPrev + 1 < keys.GetSize() && time > keys[iPrev].m_Time ? iPrev + 1 : iPrev;
    const uint32_t span = keys[iNext].m_Time - keys[iPrev].m_Time;
    const float percent = span ? static_cast<float>(time - keys[iPrev].m_Time) / static_cast<float>(span) : 0.0f;
    tracker.Init(&model, iAnim, iPrev, iAnim, iNext, percent);
}

static bool Fail(const char* pName, const char* pText)
{
    std::fprintf(stderr, "player: %s: %s\n", pName, pText);
    return false;
}

static bool LoadModel(Model& model, const char* pPath)
{
    ModelStream* pStream = OpenStdioStream(pPath, "rb");
    if (!pStream)
        return Fail(pPath, "can't be opened.");
    LoadRequest request;
    request.m_pStream = pStream;
    const std::string path = pPath;
    ModelFolder folder(path.substr(0, path.find_last_of('/') + 1).c_str());
    folder.Attach(&request); // child models stand beside their parent
    const uint32_t result = model.Load(&request);
    pStream->Release();
    if (result != RESULT_OK)
        return Fail(pPath, "is no valid model file.");
    if (!request.m_bChildrenLoaded)
        Fail(pPath, "child models are missing, and their animations with them."); // it plays all the same
    return true;
}

static bool FindAnim(Model& model, const char* pName, uint32_t& iAnim)
{
    const ModelAnim* pAnim = model.FindAnim(pName, &iAnim, nullptr);
    if (!pAnim)
        return Fail(pName, "the model has no such animation.");
    return pAnim->NumKeyFrames() != 0 || Fail(pName, "the animation has no keys.");
}

// The weight set of the layer: the model's first one, or else a new one that adds the layer at every node.
static bool FindWeightSet(Model& model, uint32_t& iSet)
{
    iSet = 0;
    if (model.NumWeightSets() != 0)
        return true;
    WeightSet* pSet = new WeightSet(&model);
    if (!pSet || !pSet->Init() || !model.AddWeightSet(pSet))
    {
        delete pSet;
        return Fail("weight set", "out of memory.");
    }
    pSet->SetName("everything");
    for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
        pSet->m_Weights[iNode] = 2.0f;
    return true;
}

// The socket to follow: the one that is asked for, or else a new one in the middle of a node.
static bool FindPlace(Model& model, const char* pName, uint32_t& iSocket)
{
    iSocket = 0;
    if (pName ? model.FindSocket(pName, &iSocket) != nullptr : model.NumSockets() != 0)
        return true;
    uint32_t iNode = model.NumNodes() - 1;
    if (pName && !model.FindNode(pName, &iNode))
        return Fail(pName, "the model has no such socket or node.");
    ModelSocket* pSocket = new ModelSocket;
    if (!pSocket || !model.AddSocket(pSocket))
    {
        delete pSocket;
        return Fail("socket", "out of memory.");
    }
    pSocket->SetName(model.GetNode(iNode)->GetName());
    pSocket->m_iNode = iNode;
    iSocket = model.NumSockets() - 1;
    return true;
}

int main(int argc, char** argv)
{
    if (argc < 5 || argc > 6)
    {
        std::fprintf(stderr, "usage: player MODEL FIRST SECOND LAYER [PLACE]\n");
        return 2;
    }
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    uint32_t iFirst = 0, iSecond = 0, iLayer = 0, iSet = 0, iSocket = 0;
    if (!LoadModel(model, argv[1]) || !FindAnim(model, argv[2], iFirst) || !FindAnim(model, argv[3], iSecond) ||
        !FindAnim(model, argv[4], iLayer) || !FindWeightSet(model, iSet) ||
        !FindPlace(model, argc > 5 ? argv[5] : nullptr, iSocket))
        return 1;

    const uint64_t start = uint64_t{model.GetAnim(iFirst)->GetAnimTime()} + TRANSITION_TIME; // of the second animation
    const uint64_t end = start + model.GetAnim(iSecond)->GetAnimTime();
    const uint64_t loop = model.GetAnim(iLayer)->GetAnimTime();
    TransformMaker maker;
    maker.m_nAnims = 2;
    for (uint64_t time = 0; time <= end; time += FRAME_TIME)
    {
        if (time + TRANSITION_TIME <= start)
            SetTime(maker.m_Anims[0], model, iFirst, static_cast<uint32_t>(time));
        else if (time < start)
            maker.m_Anims[0].Init(&model, iFirst, model.GetAnim(iFirst)->NumKeyFrames() - 1, iSecond, 0,
                                  1.0f - static_cast<float>(start - time) / TRANSITION_TIME);
        else
            SetTime(maker.m_Anims[0], model, iSecond, static_cast<uint32_t>(time - start));
        SetTime(maker.m_Anims[1], model, iLayer, static_cast<uint32_t>(loop ? time % loop : 0));
        maker.m_Anims[1].m_iWeightSet = iSet;

        Matrix4 transform;
        if (!model.GetSocketTransform(&maker, iSocket, &transform))
        {
            Fail(argv[1], "the pose can't be evaluated.");
            return 1;
        }
        Vector3 position;
        transform.GetTranslation(position);
        std::printf("%llu ms  %s  %.3f %.3f %.3f\n", static_cast<unsigned long long>(time),
                    model.GetSocket(iSocket)->GetName(), position.x, position.y, position.z);
    }
}
