// Draws a model at some moments of an animation, side by side, into a PNG file.
//
//   gpu MODEL ANIMATION OUT.png [MOMENTS]

#include "figurerenderer.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

#include <cstdio>
#include <cstdlib>

constexpr uint32_t WIDTH = 960, HEIGHT = 320;

static int Fail(const char* pText, const char* pMore = "")
{
    std::fprintf(stderr, "gpu: %s%s\n", pText, pMore);
    return 1;
}

// Looks at a box from the front and somewhat from above and the side, without perspective.
static zolt::Matrix4 LookAt(const zolt::Bounds& box, float across)
{
    zolt::Matrix4 turn, tilt, scale;
    zolt::MatrixFromAxisAngle(turn, 0.0f, 1.0f, 0.0f, -0.6f);
    zolt::MatrixFromAxisAngle(tilt, 1.0f, 0.0f, 0.0f, 0.2f);
    const zolt::Vector3 middle = (box.m_Min + box.m_Max) * 0.5f;
    zolt::Matrix4 centre;
    centre.SetTranslation(middle * -1.0f);
    const float radius = ((box.m_Max - box.m_Min) * 0.5f).Mag();
    scale(0, 0) = 1.0f / (radius * across);
    scale(1, 1) = 1.0f / radius;
    scale(2, 2) = -0.2f / radius; // nearer is smaller
    return scale * tilt * turn * centre;
}

int main(int argc, char** argv)
{
    if (argc < 4 || argc > 5)
        return Fail("usage: gpu MODEL ANIMATION OUT.png [MOMENTS]"), 2;
    const int nMoments = argc > 4 ? std::atoi(argv[4]) : 5;
    zolt::ModelStream* pStream = zolt::OpenStdioStream(argv[1], "rb");
    if (!pStream)
        return Fail(argv[1], " can't be opened");
    zolt::Model model(&zolt::g_DefaultAllocator, &zolt::g_DefaultAllocator);
    char text[zolt::LOAD_ERROR_TEXT_SIZE];
    zolt::LoadRequest request;
    request.m_pStream = pStream;
    request.m_pErrorText = text;
    request.m_ErrorTextSize = sizeof(text);
    const uint32_t result = model.Load(&request);
    pStream->Release();
    if (result != zolt::RESULT_OK)
        return Fail("the model can't be loaded: ", text);

    zolt::ModelInstance figure;
    zolt::AnimPlayer player(figure);
    zolt::ModelBounds bounds;
    if (!figure.Init(model) || !bounds.Init(model))
        return Fail("out of memory");
    if (nMoments < 1 || nMoments > 100 || !player.Play(argv[2]))
        return Fail("the model has no such animation: ", argv[2]);
    zolt::Bounds box = bounds.OfAnim(player.GetAnim());

    FigureRenderer renderer;
    if (!renderer.Init(model, WIDTH, HEIGHT))
        return Fail(renderer.GetError().c_str());
    renderer.Clear();
    const float aspect = static_cast<float>(WIDTH) / HEIGHT;
    for (int i = 0; i < nMoments; ++i)
    {
        player.Apply();
        figure.Evaluate();
        zolt::Matrix4 place;
        place.SetTranslation(2.0f * (static_cast<float>(i) + 0.5f) / static_cast<float>(nMoments) - 1.0f, 0, 0);
        renderer.Draw(figure, place * LookAt(box, aspect));
        player.Step(player.GetLength() / static_cast<float>(nMoments));
    }
    std::vector<uint8_t> pixels;
    if (!renderer.GetPicture(pixels))
        return Fail(renderer.GetError().c_str());
    if (!stbi_write_png(argv[3], WIDTH, HEIGHT, 4, pixels.data(), WIDTH * 4))
        return Fail(argv[3], " can't be written");
    std::printf("%s: %d moments of %s, by %s\n", argv[3], nMoments, argv[2], renderer.GetDriver().c_str());
}
