// A clip as the plug-in has exported it.
#pragma once

#include "scene/scene.h"

#include <string>
#include <vector>

class RecordedScene;

struct PlayedClip
{
    const Scene* scene = nullptr; // what was open; must outlive this
    int clip = -1;                // -1 for the scene at rest
    double fps = 30.0;
    int start = 0; // frames of the play range, both inclusive
    int end = 0;
    int firstKey = 0;      // frame of the animation's first key, at which its time starts
    std::string animation; // the name that was typed; in the file it may have got a number
    int source = 0;        // which of the run's scenes
    bool isKept = true;    // false: it has given the skin, and its animation isn't in the file
    int row = -1; // of m_Anims, which holds the animation; -1: the newest rows are those of the clips, in their order
    bool toOldModel = false; // where rows are given: the model was there before, and has kept its skin
    // For a scene that was fitted to the model: by node of the model the node of `scene` that moves it, -1 for none.
    std::vector<int> sceneNodes;

    // Frame f stands there, in seconds.
    double Seconds(int frame) const { return frame / fps; }
};

// What was played, from the scene that was open.
PlayedClip RecordPlayedClip(RecordedScene& recorded, const std::string& animation);
