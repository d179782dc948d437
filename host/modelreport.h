// What an export made of a scene: how far the model strays from it, and what was left out.
#pragma once

#include "host/leftout.h"
#include "host/modelcomparison.h"
#include "host/scaleeffects.h"

#include <string>
#include <vector>

// A distance above this part of the radius is worth a word.
constexpr double REPORT_LIMIT = 0.01;

struct ClipReport
{
    PlayedClip played;
    std::string clip;      // its name in the scene, empty without one
    std::string animation; // its name in the file
    AnimationDistance distance;
    ScaleEffects scale;
    bool movesMorphs = false;
    bool keysBetweenFrames = false; // of the file, by more than a millisecond
};

struct ModelReport
{
    std::string file;
    double radius = 0.0;
    bool skinAtRest = false;       // taken from the scene without a clip
    bool fresh = true;             // all of it was made here; else its skin was there before
    std::size_t nodesCompared = 0; // where nodes were compared, else 0
    std::string misplaced;         // a sentence if an append has put keys on nodes of another name
    std::vector<ClipReport> clips;
    LeftOut leftOut;
    std::vector<std::string> warnings;
};

// Loads the model file and holds it against what was exported; the newest animations of the file are those of
// `clips`, in their order. `file` is what is loaded, `target` what it is called. False with a sentence in `error` if
// the file can't be loaded or doesn't hold the animations.
bool MakeModelReport(const std::string& file, const std::string& target, const std::vector<PlayedClip>& clips,
                     const std::vector<std::string>& warnings, unsigned jobs, ModelReport& report, std::string& error);

// The clip that strays furthest, all weights of the scene counted; null without clips.
const ClipReport* FindWorstClip(const ModelReport& report);

// One line: how far an animation strays, where, and what may help.
std::string DescribeDistance(const ModelReport& report, const ClipReport& clip);

// A line for each animation and for each thing that was left out.
std::string PrintModelReport(const ModelReport& report);

// The same for a script. The members "fps", "worst" (a part of the radius), "units", "frame", "node", "clip" and
// "animation" are those of the clip that strays furthest. `written` says
// whether the file is in its place.
std::string ModelReportAsJson(const ModelReport& report, bool written);

// What a script gets where there is no report: "written" and, unless `target` is empty, "file".
std::string MissingReportAsJson(const std::string& target, bool written);
