// The clips of a scene as the exporter names, finds and measures them.
#pragma once

#include "scene/cliprange.h"
#include "scene/scene.h"

#include <string>
#include <vector>

struct ExportOptions;

// A play range of more frames is refused.
constexpr long long MAX_PLAY_RANGE = 65535;

// Whether a node that is shown has a triangle.
bool HasTriangles(const Scene& scene);

// How a clip is called in messages: its name in quotes, or "clip 2" for one without.
std::string DescribeClip(const Scene& scene, int clip);

// The clip of that name, else the one of that index; -1 if there is neither, with a sentence that lists the clips.
int FindClip(const Scene& scene, const std::string& nameOrIndex, std::string& error);

// A sentence if further clips are called as the one that FindClip gave for `nameOrIndex`; else empty.
std::string NameTwins(const Scene& scene, int clip, const std::string& nameOrIndex);

// A name for the animation of each clip: the clip's own, else one that is made from the scene's and the clip's index.
std::vector<std::string> NameAnimations(const Scene& scene);

// The frames that are exported of a clip (-1 for the scene at rest).
ClipRange FindPlayRange(const Scene& scene, int clip, const ExportOptions& options);

// Why the clip can't be exported over its range, as a sentence; empty if it can.
std::string PlayRangeProblem(const Scene& scene, int clip, const ExportOptions& options);
