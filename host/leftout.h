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
    double scaleDistance = 0.0;              // that comes from it, as a part of the radius
    std::vector<std::string> shearedScale;   // elements that scale above them shears otherwise than at the first frame
    double shearDistance = 0.0;              // likewise
    std::vector<std::string> morphMotion;    // elements whose morph targets are animated, or what the file calls them
    std::vector<std::string> linesAndPoints; // sentences of the reader
    std::vector<std::string> unread;         // its other ones: what the file has that couldn't be read as it stands
    std::vector<std::string> secondRoots;    // nodes of the file that the scene doesn't show, with what is below them
    std::vector<std::string> nodesRemoved;   // elements that are no nodes of the model
    std::vector<std::string> cameras;        // elements
    std::vector<std::string> lights;
    // Of a model whose meshes are those of the scene; nothing when they were in the file before.
    ShareChanges weights;
    std::vector<std::string> vertexColors; // elements
    std::vector<std::string> texCoordSets; // elements with further sets
    std::vector<std::string> normals;      // elements with normals of their own
    std::vector<std::string> materials;
    std::size_t verticesMerged = 0;
    std::size_t vertices = 0; // of the scene, seams joined
    std::size_t trianglesDropped = 0;
    std::size_t triangles = 0;
};

// `clips` are those that were exported, `fresh` says that the model's meshes come from the scene. What comes from scale
// is left to FindScaleEffects.
LeftOut FindLeftOut(const Model& model, RecordedScene& recorded, const std::vector<PlayedClip>& clips, bool fresh);

// A line for each thing, without those of which there is nothing.
std::vector<std::string> DescribeLeftOut(const LeftOut& leftOut);
