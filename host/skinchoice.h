// From which pose a model's skin is to be taken.
#pragma once

#include "scene/scene.h"

#include <string>
#include <vector>

// A clip and the frames of it that are exported.
struct ClipSpan
{
    int clip = -1; // of the scene, -1 for the scene at rest
    double fps = 30.0;
    int start = 0; // both inclusive
    int end = 0;
};

struct SkinChoice
{
    bool atBind = false; // else at the first frame of the first clip
    std::string reason;  // a sentence; empty where there is nothing to choose
};

// More than this part of the radius is worth the bind pose.
constexpr double SKIN_LIMIT = 0.001;

// A vertex that several joints move is right at the pose in which the model's skin was taken, and at others as far as
// that pose is the one that it was bound in. The bind pose is chosen if a vertex would otherwise stray by more than
// SKIN_LIMIT at any frame, and less with it. Cheap where the first frame is the bind pose, or is the only one.
//
// `clips` are those of the scene that are exported, the first one first; `playsMore` tells that animations of other
// scenes follow, of which nothing is known. `atBind` is filled as MakeSceneAtBind does if the bind pose is looked at.
SkinChoice ChooseSkin(const Scene& scene, const std::vector<ClipSpan>& clips, bool playsMore, Scene& atBind);

// The scene without its clips, with its joints where its skins were bound (PoseAtBind).
Scene MakeSceneAtBind(const Scene& scene);
