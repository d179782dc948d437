#include "abctools/displaytext.h"
#include "abctools/format.h"
#include "abctools/gltfframe.h"
#include "abctools/modeltogltf.h"
#include "engine/model/src/model.h"

#include <cmath>
#include <optional>

using nlohmann::ordered_json;

// A key that the glTF animation has: that of the model, at a time in seconds.
struct GltfKey
{
    uint32_t m_iKey;
    float m_Time;
};

// Times have to rise. Of keys that share one, the last holds there; the first leads to it, a moment earlier. What lies
// between those is never seen, and neither is what leads to time 0.
static std::vector<GltfKey> FindKeys(const ModelAnim& anim, bool& bFalls)
{
    std::vector<GltfKey> keys;
    const uint32_t nKeys = anim.NumKeyFrames();
    uint32_t iKey = 0;
    while (iKey < nKeys)
    {
        const uint32_t time = anim.m_KeyFrames[iKey].m_Time;
        uint32_t iLast = iKey;
        while (iLast + 1 < nKeys && anim.m_KeyFrames[iLast + 1].m_Time == time)
            ++iLast;
        const float seconds = static_cast<float>(time / 1000.0);
        const float before = keys.empty() ? -1.0f : keys.back().m_Time;
        const float early = std::nextafter(seconds, 0.0f);
        if (iLast > iKey && early < seconds && early > before)
            keys.push_back({iKey, early});
        if (seconds > before)
            keys.push_back({iLast, seconds});
        else
            bFalls = true;
        iKey = iLast + 1;
    }
    return keys;
}

// The node in its parent at a key, its link's relation and the row's offset included.
static NodeKeyFrame LocalAt(const AnimInfo& row, const ModelNode& node, const NodeKeyFrame& key)
{
    NodeKeyFrame local = key;
    const bool bRoot = node.GetParentIndex() == MNODE_NO_PARENT;
    if (node.m_Flags & MNODE_FIXEDOFFSET)
        local.m_vTranslation = node.m_vOffsetFromParent;
    if (bRoot)
        local.m_vTranslation += row.m_vTranslation;
    const auto& relations = row.m_pChildInfo->m_Relations;
    if (node.GetNodeIndex() < relations.GetSize())
    {
        const NodeKeyFrame& relation = relations[node.GetNodeIndex()];
        const Vector3& t = relation.m_vTranslation;
        const Quaternion& q = relation.m_qRotation;
        if (t.x != 0.0f || t.y != 0.0f || t.z != 0.0f)
        {
            Matrix4 rotation;
            Vector3 turned;
            local.m_qRotation.ToMatrix(rotation);
            rotation.Apply3x3(turned, t);
            local.m_vTranslation += turned;
        }
        if (q.x != 0.0f || q.y != 0.0f || q.z != 0.0f)
            QuatMultiply(local.m_qRotation, local.m_qRotation, q);
    }
    return GltfFrame(local, bRoot);
}

namespace
{

// What one node does in one animation.
struct Track
{
    std::vector<float> m_Translations;
    std::vector<float> m_Rotations;
};

} // namespace

static Track MakeTrack(const AnimInfo& row, const ModelNode& node, const std::vector<GltfKey>& keys)
{
    const AnimNode* pAnimNode = row.m_pAnim->m_AnimNodes[node.GetNodeIndex()];
    Track track;
    Quaternion last(0.0f, 0.0f, 0.0f, 1.0f);
    for (const GltfKey& key : keys)
    {
        const NodeKeyFrame frame = LocalAt(row, node, pAnimNode->m_KeyFrames[key.m_iKey]);
        const Vector3& t = frame.m_vTranslation;
        Quaternion q = frame.m_qRotation;
        // q and -q turn alike; what doesn't look for the shorter way finds it then.
        if (q.x * last.x + q.y * last.y + q.z * last.z + q.w * last.w < 0.0f)
            q.Set(-q.x, -q.y, -q.z, -q.w);
        last = q;
        track.m_Translations.insert(track.m_Translations.end(), {t.x, t.y, t.z});
        track.m_Rotations.insert(track.m_Rotations.end(), {q.x, q.y, q.z, q.w});
    }
    return track;
}

static bool IsConstant(const std::vector<float>& values, size_t nComponents)
{
    for (size_t i = nComponents; i < values.size(); ++i)
    {
        if (values[i] != values[i % nComponents])
            return false;
    }
    return true;
}

static ordered_json AnimExtras(const AnimInfo& row)
{
    const Vector3& dims = row.m_vDims;
    const Vector3& offset = row.m_vTranslation;
    ordered_json extras = {{"dims", {dims.x, dims.y, dims.z}}};
    if (offset.x != 0.0f || offset.y != 0.0f || offset.z != 0.0f)
        extras["offset"] = {offset.x, offset.y, offset.z};
    for (uint32_t i = 0; i < row.m_pAnim->NumKeyFrames(); ++i)
    {
        const AnimKeyFrame& key = row.m_pAnim->m_KeyFrames[i];
        if (*key.m_pString)
            extras["commands"].push_back({{"key", i}, {"time", key.m_Time}, {"text", ToUtf8(key.m_pString)}});
    }
    return extras;
}

namespace
{

// Puts the channels of one animation together. A node that stands as it does at rest needs none, and one that doesn't
// move needs one key; but the root's rotation has all of them, so that no time is lost.
class AnimWriter
{
public:
    AnimWriter(GltfFile& file, const std::vector<GltfKey>& keys) : m_File(file)
    {
        std::vector<float> times;
        times.reserve(keys.size());
        for (const GltfKey& key : keys)
            times.push_back(key.m_Time);
        file.BeginView(GltfFile::TARGET_NONE);
        m_iTimes = file.AddFloats(times, "SCALAR", true);
        m_FirstTime = {times[0]};
    }

    void AddTrack(uint32_t iNode, const Track& track)
    {
        const ordered_json& node = m_File.m_Json["nodes"][iNode];
        Add(iNode, "translation", node.value("translation", std::vector<float>{0.0f, 0.0f, 0.0f}), track.m_Translations,
            false);
        Add(iNode, "rotation", node.value("rotation", std::vector<float>{0.0f, 0.0f, 0.0f, 1.0f}), track.m_Rotations,
            iNode == 0);
    }

    ordered_json Finish(const AnimInfo& row)
    {
        return {{"name", ToUtf8(row.m_pAnim->GetName())},
                {"channels", m_Channels},
                {"samplers", m_Samplers},
                {"extras", AnimExtras(row)}};
    }

private:
    void Add(uint32_t iNode, const char* pPath, const std::vector<float>& rest, const std::vector<float>& values,
             bool bAllKeys)
    {
        const bool bConstant = !bAllKeys && IsConstant(values, rest.size());
        const std::vector<float> first(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rest.size()));
        if (bConstant && first == rest)
            return;
        if (bConstant && !m_iFirstTime)
            m_iFirstTime = m_File.AddFloats(m_FirstTime, "SCALAR", true);
        m_Channels.push_back({{"sampler", m_Samplers.size()}, {"target", {{"node", iNode}, {"path", pPath}}}});
        m_Samplers.push_back(
            {{"input", bConstant ? *m_iFirstTime : m_iTimes},
             {"output", m_File.AddFloats(bConstant ? first : values, rest.size() == 3 ? "VEC3" : "VEC4", false)}});
    }

    GltfFile& m_File;
    size_t m_iTimes = 0;
    std::vector<float> m_FirstTime;
    std::optional<size_t> m_iFirstTime; // the accessor, once a track needs it
    ordered_json m_Channels = ordered_json::array();
    ordered_json m_Samplers = ordered_json::array();
};

} // namespace

// The lowest usual rate on whose frames all keys lie, whose times are cut to whole milliseconds. Any lie on those of
// the last one, which is a little below 1000, so that no float of a frame's time falls short of its millisecond. An
// exporter that knows the rate finds the very same keys.
static double FrameRateOf(const Model& model)
{
    constexpr double MILLISECONDS = 999.999;
    constexpr double CUT = 1.0 + 1e-6; // 700 ms may have become 699, if the float that was cut is less
    for (const double fps : {24.0, 25.0, 30.0, 48.0, 50.0, 60.0, 120.0})
    {
        bool bFits = true;
        for (uint32_t i = 0; i < model.NumAnims() && bFits; ++i)
        {
            const ModelAnim& anim = *model.GetAnim(i);
            for (uint32_t iKey = 0; iKey < anim.NumKeyFrames() && bFits; ++iKey)
            {
                const double frame = anim.m_KeyFrames[iKey].m_Time * fps / 1000.0;
                bFits = (std::ceil(frame - 1e-9) - frame) * 1000.0 / fps <= CUT;
            }
        }
        if (bFits)
            return fps;
    }
    return MILLISECONDS;
}

bool AddGltfAnims(Model& model, GltfFile& file, const GltfProgress& progress, std::vector<std::string>& warnings,
                  std::string& error)
{
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
    {
        progress(i, model.NumAnims());
        const AnimInfo& row = *model.GetAnimInfo(i);
        const std::string name = row.m_pAnim->GetName();
        bool bFalls = false;
        const std::vector<GltfKey> keys = FindKeys(*row.m_pAnim, bFalls);
        if (bFalls)
            warnings.push_back("times of animation " + name + " fall, and the keys there are left out");
        if (keys.empty() || !row.m_pChildInfo->m_bTreeMatches || !row.m_pAnim->m_AnimNodes)
        {
            warnings.push_back("animation " + name + " is left out: it " +
                               (keys.empty() ? "has no keys" : "comes from a model of another shape"));
            continue;
        }
        AnimWriter writer(file, keys);
        for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
        {
            const Track track = MakeTrack(row, *model.GetNode(iNode), keys);
            if (!AreFinite(track.m_Translations) || !AreFinite(track.m_Rotations))
            {
                error = "animation " + name + " holds a number that isn't finite";
                return false;
            }
            writer.AddTrack(iNode, track);
        }
        file.m_Json["animations"].push_back(writer.Finish(row));
    }
    if (file.m_Json.contains("animations"))
        file.m_Json["asset"]["extras"]["framesPerSecond"] = FrameRateOf(model);
    return true;
}
