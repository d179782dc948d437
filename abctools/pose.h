// A model's pose at a key or a time: node matrices, sockets and vertex positions.
#pragma once

#include "engine/model/src/animtracker.h"
#include "engine/model/src/vertexdeformrequest.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

// An animation position on top of the base pose.
struct PoseLayer
{
    std::string m_Anim;
    double m_Time = 0.0; // milliseconds
    std::string m_WeightSet;
};

// "ANIM:MS:WEIGHTSET", taken apart from the end, so that an animation's name may hold colons. False if it isn't that.
bool ParsePoseLayer(const std::string& text, PoseLayer& layer);

struct PoseOptions
{
    std::string m_Path;
    std::string m_Anim;
    std::optional<uint32_t> m_iKey; // one of the two is set
    std::optional<double> m_Time;   // milliseconds
    std::vector<PoseLayer> m_Layers;
    std::string m_Node;   // only this node's matrix
    std::string m_Socket; // only this socket's transform
    uint32_t m_iLOD = 0;
    std::string m_VerticesPath; // where vertex positions go: .json, or .bin for float32 triples, little-endian
    bool m_bJson = false;
    std::vector<std::string> m_Children; // files that are linked as further child models
};

// The animation positions that the options ask for, in order, base first. `error` is the end of a sentence.
bool MakePosePositions(Model& model, const PoseOptions& options, std::vector<AnimTracker>& positions,
                       std::string& error);

// Node matrices of a pose, into the model's m_Transforms.
bool EvaluatePose(const std::vector<AnimTracker>& positions);

// Then the vertices of all pieces at a LOD, piece by piece, from these matrices.
bool PoseVertices(Model& model, const std::vector<AnimTracker>& positions, uint32_t iLOD,
                  std::vector<Vector3>& vertices);
