// What differs between two models, in a model's terms.
#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

// One difference. Elements are matched by their names, ignoring the case of ASCII letters; of several of one name, the
// first goes with the first.
struct ModelDifference
{
    std::string m_Kind; // "model", "node", "piece", "socket", "weightSet", "childModel", "anim"
    std::string m_Name; // valid UTF-8; empty for the model
    std::string m_What; // a key of the documents of ModelInfo, or "only", "order", "bind", "positions", "normals",
                        // "triangles", "texCoords", "weights", "times", "pose"
    // By what it is: "a" and "b" hold the two values; "distance", in model units, and "part" of the radius tell how far
    // things are apart; "lod", "vertex", "time", "from" (the first time at which a pose differs), "piece" and "node"
    // tell where.
    nlohmann::ordered_json m_Data;
};

struct ModelDiffOptions
{
    double m_Tolerance = 0.0; // numbers that differ by no more than this are alike
    std::function<void(size_t nDone, size_t nAll)> m_Progress = [](size_t, size_t) {};
};

// Stamps and file versions don't count. Poses are looked at at every key of either model and halfway between: vertices
// of LOD 0 where the pieces have equally many, else the places of nodes. Both models are evaluated in place.
std::vector<ModelDifference> DiffModels(Model& a, Model& b, const ModelDiffOptions& options);

// The step that compares animations of one name by their poses. modeldiff_poses.cpp
void DiffPoses(Model& a, Model& b, const ModelDiffOptions& options, std::vector<ModelDifference>& differences);

// Half the diagonal of the box around the vertices in the bind pose, or without any around the nodes; 1 for a point.
double BindRadius(const Model& model);

// Rows of two lists of names that belong together, by row of the first; -1 for none.
std::vector<int> MatchNames(const std::vector<std::string>& a, const std::vector<std::string>& b);

// A line for a reader at a terminal, without its line break.
std::string DifferenceText(const ModelDifference& difference);
