#include "fuzz/checkscene.h"
#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "saa/recordedscene.h"
#include "scene/gltfreader.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

// A file in memory, for as long as it lives.
namespace
{
class MemoryFile
{
public:
    explicit MemoryFile(std::span<const uint8_t> bytes) : m_File(memfd_create("fuzz", 0))
    {
        FUZZ_REQUIRE(m_File >= 0);
        FUZZ_REQUIRE(write(m_File, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    ~MemoryFile() { close(m_File); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_File); }

private:
    int m_File;
};
} // namespace

static void WalkElement(RecordedScene& recorded, int element)
{
    const int parent = recorded.Element(element).parent;
    FUZZ_REQUIRE(parent >= -1 && parent < recorded.NumElements());
    recorded.Transform(element);
    for (int kind = 0; kind < NUM_CURVE_KINDS; ++kind)
    {
        const auto curve = static_cast<CurveKind>(kind);
        const std::vector<float>& times = recorded.KeyTimes(element, curve);
        FUZZ_REQUIRE(times.size() == static_cast<std::size_t>(recorded.NumKeys(element, curve)));
        for (const float seconds : times)
            FUZZ_REQUIRE(std::isfinite(seconds));
    }
    if (!recorded.IsMesh(element))
        return;
    const JoinedMesh& mesh = recorded.Mesh(element);
    FUZZ_REQUIRE(mesh.vertexOf.size() == recorded.Primitive(element).positions.size());
    for (const std::uint32_t vertex : mesh.vertexOf)
        FUZZ_REQUIRE(vertex < mesh.fileVertex.size());
    for (const JoinedWeight& weight : mesh.weights)
        FUZZ_REQUIRE(weight.vertex < mesh.fileVertex.size() && weight.percent >= 0.0F && weight.percent <= 100.001F);
    recorded.IsTurned(element);
    FUZZ_REQUIRE(recorded.TextureOf(element) < recorded.NumTextures());
    for (const bool deformed : {false, true})
        for (const Double3& position : recorded.Positions(element, deformed))
            FUZZ_REQUIRE(std::isfinite(position.x) && std::isfinite(position.y) && std::isfinite(position.z));
}

void FuzzGltf(std::span<const uint8_t> bytes)
{
    // A few of each are enough: a document can name one thing many times.
    constexpr int MAX_CLIPS = 3;
    constexpr int MAX_ELEMENTS = 50;
    const MemoryFile file(bytes);
    Scene scene;
    std::string error;
    if (!ReadGltfScene(file.Path().c_str(), scene, error))
    {
        FUZZ_REQUIRE(!error.empty() && scene.nodes.empty() && scene.primitives.empty());
        return;
    }
    CheckScene(scene);
    const int nClips = static_cast<int>(std::min<std::size_t>(scene.clips.size(), MAX_CLIPS));
    for (int clip = -1; clip < nClips; ++clip)
    {
        RecordedSceneOptions options;
        options.clip = clip;
        RecordedScene recorded(scene, options);
        const int last = recorded.EndFrame();
        FUZZ_REQUIRE(recorded.StartFrame() <= last);
        for (const int frame : {recorded.StartFrame(), recorded.StartFrame() / 2 + last / 2, last})
        {
            recorded.SetCurrentFrame(frame);
            for (int element = 0; element < std::min(recorded.NumElements(), MAX_ELEMENTS); ++element)
                WalkElement(recorded, element);
        }
    }
}
