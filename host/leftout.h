// What a scene has and its model doesn't.
#pragma once

#include "engine/model/src/model.h"
#include "host/playedclip.h"
#include "saa/recordedscene.h"

#include <cstddef>
#include <string>
#include <vector>

struct LeftOut
{
    std::vector<std::string> scaleKeys;      // elements whose scale is animated
    std::vector<std::string> morphMotion;    // elements whose morph targets are animated
    std::size_t weights = 0;                 // of 5 % and below
    std::size_t weightedVertices = 0;        // that these are on
    std::vector<std::string> linesAndPoints; // sentences of the reader
    std::vector<std::string> secondRoots;    // nodes of the file that the scene doesn't show, with what is below them
    std::vector<std::string> nodesRemoved;   // elements that are no nodes of the model
    // Of a model whose meshes are those of the scene; 0 when they were in the file before.
    std::size_t verticesMerged = 0;
    std::size_t vertices = 0; // of the scene, seams joined
    std::size_t trianglesDropped = 0;
    std::size_t triangles = 0;
};

// `clips` are those that were exported, `fresh` says that the model's meshes come from the scene, `warnings` what was
// said about it on the way.
LeftOut FindLeftOut(const Model& model, RecordedScene& recorded, const std::vector<PlayedClip>& clips, bool fresh,
                    const std::vector<std::string>& warnings);

// A line for each thing, without those of which there is nothing.
std::vector<std::string> DescribeLeftOut(const LeftOut& leftOut);
