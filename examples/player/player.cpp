// Plays a model: one animation, a crossfade into a second one when it ends, and a third one layered on both, and prints
// where a socket of the model is at each frame.
//
//   player MODEL FIRST SECOND LAYER [PLACE]
//
// PLACE names a socket or a node. Without it the model's first socket is followed, or its last node.

#include "zolt/play.h"

#include <cstdio>
#include <string>

constexpr uint32_t FRAME_TIME = 100; // milliseconds
constexpr float FADE_TIME = 0.2f;    // seconds

static bool Fail(const char* pName, const char* pText)
{
    std::fprintf(stderr, "player: %s: %s\n", pName, pText);
    return false;
}

static bool LoadModel(zolt::Model& model, const char* pPath)
{
    zolt::ModelStream* pStream = zolt::OpenStdioStream(pPath, "rb");
    if (!pStream)
        return Fail(pPath, "can't be opened.");
    char text[zolt::LOAD_ERROR_TEXT_SIZE];
    zolt::LoadRequest request;
    request.m_pStream = pStream;
    request.m_pErrorText = text;
    request.m_ErrorTextSize = sizeof(text);
    const std::string path = pPath;
    zolt::ModelFolder folder(path.substr(0, path.find_last_of('/') + 1).c_str());
    folder.Attach(&request); // child models stand beside their parent
    const uint32_t result = model.Load(&request);
    pStream->Release();
    if (result != zolt::RESULT_OK)
        return Fail(pPath, text);
    if (!request.m_bChildrenLoaded)
        Fail(pPath, "child models are missing, and their animations with them."); // it plays all the same
    return true;
}

static bool Play(zolt::AnimPlayer& player, const char* pName, const zolt::PlayOptions& options, uint32_t iLayer = 0)
{
    return player.Play(pName, options, iLayer) || Fail(pName, "the model has no such animation, or one without keys.");
}

// The place to follow: a socket, or a node where there is no such socket.
struct Place
{
    bool Find(const zolt::Model& model, const char* pName)
    {
        m_bSocket = pName ? model.FindSocket(pName, &m_Index) != nullptr : model.NumSockets() != 0;
        if (m_bSocket || (pName && model.FindNode(pName, &m_Index)))
            return true;
        m_Index = model.NumNodes() - 1;
        return !pName || Fail(pName, "the model has no such socket or node.");
    }

    const char* GetName(const zolt::Model& model) const
    {
        return m_bSocket ? model.GetSocket(m_Index)->GetName() : model.GetNode(m_Index)->GetName();
    }

    zolt::Vector3 Of(const zolt::ModelInstance& figure) const
    {
        zolt::Matrix4 matrix;
        if (!m_bSocket)
            matrix = *figure.GetNodeMatrix(m_Index);
        else
            figure.GetSocketMatrix(m_Index, matrix);
        zolt::Vector3 position;
        matrix.GetTranslation(position);
        return position;
    }

    bool m_bSocket = false;
    uint32_t m_Index = 0;
};

int main(int argc, char** argv)
{
    if (argc < 5 || argc > 6)
    {
        std::fprintf(stderr, "usage: player MODEL FIRST SECOND LAYER [PLACE]\n");
        return 2;
    }
    zolt::Model model(&zolt::g_DefaultAllocator, &zolt::g_DefaultAllocator);
    zolt::ModelInstance figure;
    zolt::AnimPlayer player(figure);
    Place place;
    if (!LoadModel(model, argv[1]) || (!figure.Init(model) && !Fail(argv[1], "out of memory.")) ||
        !Play(player, argv[2], {.m_Loop = zolt::LoopMode::CLAMP}) || !Play(player, argv[4], {}, 1) ||
        !place.Find(model, argc > 5 ? argv[5] : nullptr))
        return 1;
    // The model's first weight set says how the layer is laid on; without one it adds everywhere.
    if (!player.SetLayerWeightSet(1, 0))
        player.SetLayerKind(1, zolt::LayerKind::ADD);

    bool bSecond = false;
    for (uint32_t time = 0;; time += FRAME_TIME)
    {
        if (player.IsFinished() && !bSecond)
        {
            const zolt::PlayOptions fade{
                .m_Loop = zolt::LoopMode::CLAMP, .m_Fade = FADE_TIME, .m_Curve = zolt::FadeCurve::LINEAR};
            bSecond = Play(player, argv[3], fade);
            if (!bSecond)
                return 1;
        }
        player.Apply();
        figure.Evaluate();
        const zolt::Vector3 position = place.Of(figure);
        std::printf("%u ms  %s  %.3f %.3f %.3f\n", time, place.GetName(model), position.x, position.y, position.z);
        if (player.IsFinished())
            return 0;
        player.Step(FRAME_TIME / 1000.0f);
    }
}
