#include "saa/recordedscene.h"

#include "scene/cliprange.h"
#include "scene/keyframe.h"
#include "scene/meshpositions.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

static unsigned g_NextSceneId = 1;

static std::string OfferedName(const Scene& scene, int clip)
{
    if (clip >= 0 && !scene.clips[clip].name.empty())
    {
        return scene.clips[clip].name;
    }
    return scene.name.empty() ? scene.fileStem : scene.name;
}

RecordedScene::RecordedScene(const Scene& scene, const RecordedSceneOptions& options)
    : m_Scene(scene), m_Options(options), m_Id(g_NextSceneId++), m_Name(OfferedName(scene, options.clip))
{
    const ClipRange range = FindClipRange(scene, options.clip, options.fps);
    m_StartFrame = options.start.value_or(range.start);
    m_EndFrame = options.end.value_or(range.end);
    m_CurrentFrame = m_StartFrame;
    BuildElements();
    for (int i = 0; i < NumElements(); ++i)
    {
        m_NodeOf.push_back(Element(i).isNode ? Element(i).node : -1);
    }
    m_Meshes.resize(m_Elements.size());
    m_IsSpent.assign(m_Elements.size(), false);
    m_nUses.assign(options.spent == nullptr ? 0 : scene.primitives.size(), 0);
    for (int i = 0; options.spent != nullptr && i < NumElements(); ++i)
    {
        if (IsMesh(i))
        {
            ++m_nUses[Use(i).primitive];
        }
    }
    BuildTextures();
    IndexChannels();
    CollectWarnings();
}

void RecordedScene::SetCurrentFrame(int frame)
{
    m_bPoseValid = m_bPoseValid && frame == m_CurrentFrame;
    m_bGlobalsValid = m_bGlobalsValid && m_bPoseValid;
    m_CurrentFrame = frame;
    if (m_ReadMesh < 0)
    {
        return;
    }
    LeaveMesh(std::exchange(m_ReadMesh, -1));
    for (std::unique_ptr<MeshCache>& cache : m_Meshes)
    {
        cache.reset();
    }
}

bool RecordedScene::OpenMesh(int element)
{
    if (!IsMesh(element) || m_IsSpent[element])
    {
        return false;
    }
    if (m_ReadMesh >= 0 && m_ReadMesh != element)
    {
        LeaveMesh(std::exchange(m_ReadMesh, -1));
    }
    return true;
}

void RecordedScene::LeaveMesh(int element)
{
    MeshCache& cache = *m_Meshes[element];
    cache.original = std::vector<Double3>();
    cache.deformed = std::vector<Double3>();
    cache.isDeformed = false;
    if (m_Options.spent == nullptr)
    {
        return;
    }
    m_IsSpent[element] = true;
    cache.mesh.vertexOf = std::vector<std::uint32_t>();
    cache.mesh.fileVertex = std::vector<std::uint32_t>();
    const int primitive = Use(element).primitive;
    if (--m_nUses[primitive] == 0)
    {
        (*m_Options.spent)[primitive] = ScenePrimitive();
    }
}

const ScenePose& RecordedScene::LocalPose()
{
    if (!m_bPoseValid)
    {
        const double seconds = m_CurrentFrame / m_Options.fps;
        if (m_Pose.locals.empty() || m_Options.clip < 0)
        {
            EvaluateLocals(m_Scene, m_Options.clip, seconds, m_Pose);
        }
        else
        {
            MoveLocals(m_Scene.clips[m_Options.clip], seconds, m_Pose);
        }
        m_bPoseValid = true;
    }
    return m_Pose;
}

const ScenePose& RecordedScene::Pose()
{
    LocalPose();
    if (!m_bGlobalsValid)
    {
        ComputeGlobals(m_Scene, m_Pose);
        m_bGlobalsValid = true;
    }
    return m_Pose;
}

const DoubleTransform& RecordedScene::Transform(int element)
{
    static constexpr DoubleTransform none;
    return m_NodeOf[element] >= 0 ? LocalPose().locals[m_NodeOf[element]] : none;
}

const JoinedMesh& RecordedScene::Mesh(int element)
{
    std::unique_ptr<MeshCache>& cache = m_Meshes[element];
    if (!cache)
    {
        auto made = std::make_unique<MeshCache>();
        made->mesh = JoinMesh(m_Scene, Use(element), m_Elements[element].node, m_IsShown);
        cache = std::move(made);
    }
    return cache->mesh;
}

// What a float can't hold has no place among positions.
static double FloatOrZero(double value)
{
    return std::fabs(value) <= static_cast<double>(FLT_MAX) ? value : 0.0;
}

// The space that an element's mesh is in, in the world.
DoubleMatrix RecordedScene::SpaceOf(int element)
{
    while (element >= 0 && !m_Elements[element].isNode)
    {
        element = m_Elements[element].parent;
    }
    return element < 0 ? DoubleMatrix() : Pose().globals[m_Elements[element].node];
}

const std::vector<Double3>& RecordedScene::Positions(int element, bool deformed)
{
    const JoinedMesh& mesh = Mesh(element);
    MeshCache& cache = *m_Meshes[element];
    m_ReadMesh = element;
    if (!deformed)
    {
        if (cache.original.empty())
        {
            cache.original.reserve(mesh.fileVertex.size());
            for (const std::uint32_t vertex : mesh.fileVertex)
            {
                cache.original.push_back(Primitive(element).positions[vertex]);
            }
        }
        return cache.original;
    }
    if (cache.isDeformed && cache.frame == m_CurrentFrame)
    {
        return cache.deformed;
    }
    const int node = m_Elements[element].node;
    const SceneMeshUse& use = Use(element);
    std::vector<Double3> positions;
    DoubleMatrix toOwnSpace;
    if (use.skin < 0)
    {
        positions = MorphedPositions(Primitive(element), Pose().morphWeights[node]);
    }
    else
    {
        positions = WorldPositions(m_Scene, node, use, Pose());
        InvertAffine(SpaceOf(element), toOwnSpace);
    }
    cache.isDeformed = false;
    cache.deformed.resize(mesh.fileVertex.size());
    for (std::size_t v = 0; v < cache.deformed.size(); ++v)
    {
        const Double3& position = positions[mesh.fileVertex[v]];
        const Double3 own = use.skin < 0 ? position : TransformPoint(toOwnSpace, position);
        cache.deformed[v] = {FloatOrZero(own.x), FloatOrZero(own.y), FloatOrZero(own.z)};
    }
    cache.frame = m_CurrentFrame;
    cache.isDeformed = true;
    return cache.deformed;
}

bool RecordedScene::IsTurned(int element)
{
    return !IsEnveloped(element) && Determinant3(Pose().globals[m_Elements[element].node]) < 0.0;
}

void RecordedScene::BuildTextures()
{
    m_Textures.resize(m_Scene.images.size() + 1);
    for (std::size_t i = 0; i < m_Scene.images.size(); ++i)
    {
        // Without two pixels each way coordinates can't be told apart; beyond 32768 the crop can't be pushed.
        const SceneImage& image = m_Scene.images[i];
        const bool usable = image.width > 1 && image.height > 1;
        RecordedTexture& texture = m_Textures[i];
        texture.width = usable ? std::min(image.width, 32768) : 2;
        texture.height = usable ? std::min(image.height, 32768) : 2;
        texture.cropMax[0] = texture.width - 1;
        texture.cropMax[1] = texture.height - 1;
    }
}

int RecordedScene::TextureOf(int element) const
{
    const ScenePrimitive& primitive = Primitive(element);
    if (primitive.texCoords.empty())
    {
        return -1;
    }
    return primitive.image >= 0 ? primitive.image : NumTextures() - 1;
}

static ScenePath PathOf(CurveKind kind)
{
    switch (kind)
    {
    case CurveKind::RotationX:
    case CurveKind::RotationY:
    case CurveKind::RotationZ:
        return ScenePath::Rotation;
    case CurveKind::Shape:
        return ScenePath::Weights;
    default:
        return ScenePath::Translation;
    }
}

// Of two channels for one property the later one plays.
void RecordedScene::IndexChannels()
{
    m_ChannelOf.assign(m_Scene.nodes.size(), {-1, -1, -1, -1});
    const std::size_t nChannels = m_Options.clip < 0 ? 0 : m_Scene.clips[m_Options.clip].channels.size();
    for (std::size_t i = 0; i < nChannels; ++i)
    {
        const SceneChannel& channel = m_Scene.clips[m_Options.clip].channels[i];
        m_ChannelOf[channel.node][static_cast<std::size_t>(channel.path)] = static_cast<int>(i);
    }
}

const SceneChannel* RecordedScene::Channel(int element, CurveKind kind) const
{
    if (!m_Elements[element].isNode)
    {
        return nullptr;
    }
    const int channel = m_ChannelOf[m_Elements[element].node][static_cast<std::size_t>(PathOf(kind))];
    return channel < 0 ? nullptr : &m_Scene.clips[m_Options.clip].channels[channel];
}

std::size_t RecordedScene::NumExtraKeys(int element, CurveKind kind) const
{
    return m_Elements[element].level == 0 && kind == CurveKind::TranslationX ? m_Options.extraKeys.size() : 0;
}

int RecordedScene::NumKeys(int element, CurveKind kind) const
{
    const SceneChannel* channel = Channel(element, kind);
    return static_cast<int>((channel == nullptr ? 0 : channel->times.size()) + NumExtraKeys(element, kind));
}

// That of the file, or of the key's frame where it doesn't lead there.
static float TimeOfKey(SceneInterpolation interpolation, double time, double fps)
{
    const int frame = KeyFrame(interpolation, time, fps);
    const auto seconds = static_cast<float>(time);
    return NearestFrame(static_cast<double>(seconds), fps) == frame ? seconds : static_cast<float>(frame / fps);
}

const std::vector<float>& RecordedScene::KeyTimes(int element, CurveKind kind)
{
    const SceneChannel* channel = Channel(element, kind);
    const std::size_t nExtra = NumExtraKeys(element, kind);
    if (channel != nullptr && m_KeyChannel != nullptr && nExtra == 0 &&
        channel->interpolation == m_KeyChannel->interpolation && HaveSameTimes(*channel, *m_KeyChannel))
    {
        m_KeyChannel = channel;
        return m_KeyTimes;
    }
    m_KeyTimes.clear();
    for (std::size_t i = 0; channel != nullptr && i < channel->times.size(); ++i)
    {
        m_KeyTimes.push_back(TimeOfKey(channel->interpolation, channel->times[i], m_Options.fps));
    }
    for (std::size_t i = 0; i < nExtra; ++i)
    {
        m_KeyTimes.push_back(static_cast<float>(m_Options.extraKeys[i] / m_Options.fps));
    }
    m_KeyChannel = nExtra == 0 ? channel : nullptr;
    return m_KeyTimes;
}
