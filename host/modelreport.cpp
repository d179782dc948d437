#include "host/modelreport.h"

#include "host/loadmodelfile.h"
#include "host/nodetrees.h"
#include "host/sceneclips.h"
#include "scene/cliprange.h"
#include "tools/model/counted.h"

#include <algorithm>
#include <cmath>
#include <set>

// A model that lies further from its scene than this part of the radius isn't of the same size or doesn't lie alike.
static constexpr double MISFIT = 0.1;
// A cause that moves vertices by less than this part of the radius isn't named.
static constexpr double WORTH_A_WORD = 0.1 * REPORT_LIMIT;

// The millisecond that a frame may be off is that of key times in a model.
static bool HasKeysBetweenFrames(const PlayedClip& played)
{
    if (played.clip < 0)
        return false;
    for (const SceneChannel& channel : played.scene->clips[static_cast<std::size_t>(played.clip)].channels)
    {
        for (const double time : channel.times)
        {
            const double frame = std::floor(time * played.fps + 0.5);
            if (std::fabs(frame / played.fps - time) > 1e-3)
                return true;
        }
    }
    return false;
}

static bool MovesMorphs(const PlayedClip& played)
{
    if (played.clip < 0)
        return false;
    const std::vector<SceneChannel>& channels = played.scene->clips[static_cast<std::size_t>(played.clip)].channels;
    return std::any_of(channels.begin(), channels.end(),
                       [](const SceneChannel& channel) { return channel.path == ScenePath::Weights; });
}

// The poses from which the skin may be: of a model that was made here that of what was exported first; in a file from
// before, any that the scene offers.
static std::vector<ScenePlace> FindSkinPlaces(const std::vector<PlayedClip>& clips, bool fresh)
{
    const PlayedClip& first = clips.front();
    std::vector<ScenePlace> places{{first.scene, first.clip, first.Seconds(first.start)}};
    if (fresh)
        return places;
    places.push_back({first.scene, -1, 0.0});
    for (int clip = 0; clip < static_cast<int>(first.scene->clips.size()); clip++)
        places.push_back({first.scene, clip, first.Seconds(FindClipRange(*first.scene, clip, first.fps).start)});
    return places;
}

// Names that aren't there yet.
static void AddNames(const std::vector<std::string>& names, std::vector<std::string>& all)
{
    for (const std::string& name : names)
    {
        if (std::find(all.begin(), all.end(), name) == all.end())
            all.push_back(name);
    }
}

// The clips in runs of one source. Those without a row get theirs: the newest ones of the model, in their order. False
// if it doesn't have as many.
static bool SplitBySource(const Model& model, const std::vector<PlayedClip>& clips,
                          std::vector<std::vector<PlayedClip>>& groups)
{
    const std::uint32_t nOwn = model.CalcNumOwnAnims();
    const auto hasNoRow = [](const PlayedClip& clip) { return clip.isKept && clip.row < 0; };
    const std::uint32_t firstRow =
        nOwn - static_cast<std::uint32_t>(std::count_if(clips.begin(), clips.end(), hasNoRow));
    if (clips.empty() || firstRow > nOwn)
        return false;
    std::uint32_t row = firstRow;
    for (PlayedClip clip : clips)
    {
        if (hasNoRow(clip))
        {
            clip.toOldModel = firstRow > 0;
            clip.row = static_cast<int>(row++);
        }
        if (groups.empty() || groups.back().front().source != clip.source)
            groups.emplace_back();
        groups.back().push_back(std::move(clip));
    }
    return true;
}

static ClipReport DescribeClipOf(const Model& model, const PlayedClip& played)
{
    ClipReport clip;
    clip.played = played;
    if (played.clip >= 0)
        clip.clip = played.scene->clips[static_cast<std::size_t>(played.clip)].name;
    clip.animation = model.GetAnim(static_cast<std::uint32_t>(played.row))->GetName();
    clip.scale = FindScaleEffects(played);
    clip.movesMorphs = MovesMorphs(played);
    clip.keysBetweenFrames = HasKeysBetweenFrames(played);
    return clip;
}

// What scale does in clips of a scene, from clip `first` of the report on.
static void AddScaleEffects(const RecordedScene& recorded, std::size_t first, ModelReport& report)
{
    LeftOut& leftOut = report.leftOut;
    std::set<int> sheared;
    for (std::size_t i = first; i < report.clips.size(); i++)
    {
        const ScaleEffects& scale = report.clips[i].scale;
        leftOut.scaleDistance = std::max(leftOut.scaleDistance, scale.animated.distance / report.radius);
        leftOut.shearDistance = std::max(leftOut.shearDistance, scale.sheared.distance / report.radius);
        sheared.insert(scale.sheared.nodes.begin(), scale.sheared.nodes.end());
    }
    for (int i = 0; i < recorded.NumElements(); i++)
    {
        if (recorded.Element(i).isNode && sheared.count(recorded.Element(i).node) != 0)
            AddNames({recorded.Element(i).name}, leftOut.shearedScale);
    }
}

// What the clips of one scene have become. `report.fresh` says whether the model was made in this run, `isFirst` of
// this scene.
static bool ReportOnScene(Model& model, const std::vector<PlayedClip>& clips, bool isFirst, unsigned jobs,
                          ModelReport& report, std::string& error)
{
    RecordedSceneOptions options;
    options.clip = clips.front().clip;
    options.fps = clips.front().fps;
    RecordedScene recorded(*clips.front().scene, options);
    const bool fresh = report.fresh && isFirst;
    const LeftOut leftOut = FindLeftOut(model, recorded, clips, fresh);
    if (isFirst)
        report.leftOut = leftOut;
    AddNames(leftOut.scaleKeys, report.leftOut.scaleKeys);
    AddNames(leftOut.morphMotion, report.leftOut.morphMotion);
    AddNames(leftOut.unread, report.leftOut.unread);
    const auto kept = std::find_if(clips.begin(), clips.end(), [](const PlayedClip& clip) { return clip.isKept; });
    if (kept == clips.end())
        return true;
    ModelComparison comparison(model, recorded, clips.front().sceneNodes, jobs);
    if (!comparison.HasPoints())
    {
        error = "No node of the scene is called as one of those in " + report.file + "; nothing can be compared.";
        return false;
    }
    if (!fresh && clips.front().sceneNodes.empty())
    {
        const SceneTree tree = MakeSceneTree(recorded);
        report.misplaced = DescribeMisplaced(tree.tree, tree.fixed, MakeModelTree(model));
    }
    comparison.Match(FindSkinPlaces(clips, fresh), static_cast<std::uint32_t>(kept->row), *kept);
    if (report.clips.empty())
    {
        report.nodesCompared = comparison.NumNodesCompared();
        report.radius = comparison.Radius();
        report.skinAtRest = comparison.SkinPlace().clip < 0;
    }
    const std::size_t nBefore = report.clips.size();
    for (const PlayedClip& played : clips)
    {
        if (!played.isKept)
            continue;
        ClipReport clip = DescribeClipOf(model, played);
        if (!comparison.Compare(static_cast<std::uint32_t>(played.row), played, clip.distance))
        {
            error = report.file + ": animation \"" + clip.animation + "\" can't be played.";
            return false;
        }
        report.clips.push_back(std::move(clip));
    }
    AddScaleEffects(recorded, nBefore, report);
    return true;
}

bool MakeModelReport(const std::string& file, const std::string& target, const std::vector<PlayedClip>& clips,
                     const std::vector<std::string>& warnings, unsigned jobs, ModelReport& report, std::string& error)
{
    report = ModelReport();
    report.file = target;
    report.warnings = warnings;
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!LoadModelFile(file, model))
    {
        error = "Unable to read " + target + " back.";
        return false;
    }
    std::vector<std::vector<PlayedClip>> groups;
    if (!SplitBySource(model, clips, groups))
    {
        error = target + " doesn't hold the animations that were exported.";
        return false;
    }
    report.fresh = !groups.front().front().toOldModel;
    for (const std::vector<PlayedClip>& group : groups)
    {
        if (!ReportOnScene(model, group, &group == groups.data(), jobs, report, error))
            return false;
    }
    return true;
}

const ClipReport* FindWorstClip(const ModelReport& report)
{
    const auto worst = std::max_element(report.clips.begin(), report.clips.end(),
                                        [](const ClipReport& a, const ClipReport& b)
                                        { return a.distance.all.worst.part < b.distance.all.worst.part; });
    return worst == report.clips.end() ? nullptr : &*worst;
}

static std::string FormatNumber(double value)
{
    char text[40];
    std::snprintf(text, sizeof(text), "%.4g", value);
    return text;
}

// How far the clip strays apart from what weights of 5 % and below bring about.
static const ClipDistance& DistanceOfShares(const ClipReport& clip)
{
    const AnimationDistance& distance = clip.distance;
    return distance.shares.worst.part < distance.all.worst.part ? distance.shares : distance.all;
}

// Why it strays, or what may help. What is wrong between keys is told apart from what is wrong at the keys already. A
// model that is only added to keeps its skin.
static std::string AdviceFor(const ModelReport& report, const ClipReport& clip)
{
    const ClipDistance& distance = DistanceOfShares(clip);
    std::string causes;
    std::string switches;
    if (clip.scale.animated.distance > WORTH_A_WORD * report.radius)
        causes += "; the clip animates scale, which a model doesn't keep";
    if (clip.scale.sheared.distance > WORTH_A_WORD * report.radius)
        causes += "; nodes turn below an uneven scale, which shears what they move and a model doesn't keep";
    if (clip.movesMorphs)
        causes += "; the clip moves morph targets, which a model doesn't keep";
    const bool isSimple = causes.empty();
    const bool isFarAtKeys = distance.atKeys.part > REPORT_LIMIT;
    if (isSimple && !report.fresh && report.misplaced.empty() && distance.atKeys.part > MISFIT)
        causes += "; the model may have been made with another --scale or --up";
    if (isSimple && isFarAtKeys && !report.fresh && !report.skinAtRest && report.nodesCompared == 0)
        switches = "a fresh export";
    // With a single key there is no curve in between that a key could bring closer.
    const bool isFarBetween = distance.worst.part > std::max(1.5 * distance.atKeys.part, REPORT_LIMIT);
    if (isFarBetween && (isSimple || clip.distance.keyFrames.size() > 1))
    {
        switches += switches.empty() ? "--keys" : " and --keys";
        if (clip.keysBetweenFrames)
            switches += " or --fps";
    }
    return causes + (switches.empty() ? "" : "; " + switches + " may help");
}

std::string DescribeDistance(const ModelReport& report, const ClipReport& clip)
{
    const ModelDistance& worst = clip.distance.all.worst;
    std::string text = "animation \"" + clip.animation + "\" differs from the scene by up to " +
                       FormatNumber(worst.units) + " units, " + FormatNumber(100.0 * worst.part) +
                       " % of the radius, frame " + std::to_string(worst.frame) + ", node " + worst.node;
    if (worst.part > REPORT_LIMIT)
        text += AdviceFor(report, clip);
    const double ofShares = DistanceOfShares(clip).worst.part;
    if (worst.part > REPORT_LIMIT && ofShares < worst.part)
        text += "; without weights of 5 % and below, which a model can't hold as they are, it would be " +
                FormatNumber(100.0 * ofShares) + " %";
    return text;
}

std::string PrintModelReport(const ModelReport& report)
{
    std::string text =
        report.file + ": radius " + FormatNumber(report.radius) +
        (report.nodesCompared > 0 ? ", compared by the places of " + Counted(report.nodesCompared, "node") : "") + "\n";
    for (const ClipReport& clip : report.clips)
    {
        const std::size_t nKeys = clip.distance.keyFrames.size();
        text += DescribeDistance(report, clip) + " (at keys " + FormatNumber(100.0 * clip.distance.all.atKeys.part) +
                " %); frames " + std::to_string(clip.played.start) + " to " + std::to_string(clip.played.end) + " at " +
                FormatNumber(clip.played.fps) + " per second, " + std::to_string(nKeys) +
                (nKeys == 1 ? " key\n" : " keys\n");
    }
    const std::vector<std::string> leftOut = DescribeLeftOut(report.leftOut);
    for (const std::string& line : leftOut)
        text += "left out, " + line + "\n";
    return leftOut.empty() ? text + "nothing was left out\n" : text;
}
