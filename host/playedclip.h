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
    // For a scene that was fitted to the model: by node of the model the node of `scene` that moves it, -1 for none.
    std::vector<int> sceneNodes;

    // Frame f stands there, in seconds.
    double Seconds(int frame) const { return frame / fps; }
};

// What was played, from the scene that was open.
PlayedClip RecordPlayedClip(const RecordedScene& recorded, const std::string& animation);
