// The report of an export for a script.
#include "host/modelreport.h"

#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;

static Json ClipAsJson(const ClipReport& clip)
{
    const AnimationDistance& distance = clip.distance;
    Json entry;
    entry["name"] = clip.clip;
    entry["animation"] = clip.animation;
    entry["fps"] = clip.played.fps;
    entry["start"] = clip.played.start;
    entry["end"] = clip.played.end;
    entry["keys"] = distance.keyFrames;
    const ModelDistance& worst = distance.all.worst;
    entry["worst"] = worst.part;
    entry["units"] = worst.units;
    entry["frame"] = worst.frame;
    entry["node"] = worst.node;
    entry["worstAtKeys"] = distance.all.atKeys.part;
    entry["worstAtFirst"] = distance.all.atFirst.part;
    entry["worstWithoutSmallWeights"] = distance.shares.worst.part;
    entry["lostWeightsAtKeys"] = distance.lostWeights;
    return entry;
}

std::string MissingReportAsJson(const std::string& target, bool written)
{
    Json all;
    if (!target.empty())
        all["file"] = target;
    all["written"] = written;
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string ModelReportAsJson(const ModelReport& report, bool written)
{
    Json all;
    all["file"] = report.file;
    all["written"] = written;
    if (const ClipReport* clip = FindWorstClip(report))
    {
        const ModelDistance& worst = clip->distance.all.worst;
        all["fps"] = clip->played.fps;
        all["worst"] = worst.part;
        all["units"] = worst.units;
        all["frame"] = worst.frame;
        all["node"] = worst.node;
        all["clip"] = clip->clip;
        all["animation"] = clip->animation;
    }
    all["radius"] = report.radius;
    all["nodesCompared"] = report.nodesCompared;
    all["clips"] = Json::array();
    for (const ClipReport& clip : report.clips)
        all["clips"].push_back(ClipAsJson(clip));
    const LeftOut& leftOut = report.leftOut;
    all["leftOut"] = {{"scaleKeys", leftOut.scaleKeys},
                      {"scaleDistance", leftOut.scaleDistance},
                      {"shearedScale", leftOut.shearedScale},
                      {"shearDistance", leftOut.shearDistance},
                      {"morphMotion", leftOut.morphMotion},
                      {"weights", leftOut.weights.raised + leftOut.weights.dropped},
                      {"weightsRaised", leftOut.weights.raised},
                      {"weightsDropped", leftOut.weights.dropped},
                      {"weightedVertices", leftOut.weights.touched},
                      {"verticesMended", leftOut.weights.mended},
                      {"linesAndPoints", leftOut.linesAndPoints},
                      {"unread", leftOut.unread},
                      {"vertexColors", leftOut.vertexColors},
                      {"texCoordSets", leftOut.texCoordSets},
                      {"materials", leftOut.materials},
                      {"normals", leftOut.normals},
                      {"cameras", leftOut.cameras},
                      {"lights", leftOut.lights},
                      {"secondRoots", leftOut.secondRoots},
                      {"nodesRemoved", leftOut.nodesRemoved},
                      {"verticesMerged", leftOut.verticesMerged},
                      {"vertices", leftOut.vertices},
                      {"trianglesDropped", leftOut.trianglesDropped},
                      {"triangles", leftOut.triangles}};
    all["warnings"] = report.warnings;
    // A name that is no valid UTF-8 must not spoil the whole.
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
