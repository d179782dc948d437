// The steps of reading a glTF document into a scene, in their order. Each returns false with a sentence's end in
// `error` if the document makes no sense there.
#pragma once

#include "scene/gltfdocument.h"
#include "scene/placename.h"
#include "scene/scene.h"

#include <cstddef>
#include <string>
#include <vector>

struct GltfReading
{
    GltfDocument& document; // each of its animations is emptied once it has been read
    Scene& scene;
    std::string error;
    std::size_t budget = 0;                            // numbers that may still be stored
    std::vector<std::vector<int>> meshPrimitives = {}; // for each mesh the scene's primitives
    std::vector<std::size_t> meshTargets = {};         // for each mesh its number of morph targets
    std::vector<bool> hasMatrix = {};                  // for each node whether a matrix places it
    std::string place = {};                            // which part of the file is being read, for warnings

    // Always false, for a return.
    bool Fail(const std::string& reason);

    // A sentence that begins with the place.
    void Warn(const std::string& sentence) { scene.warnings.push_back(place + ": " + sentence); }

    // Takes `count` numbers out of the budget. A file that refers to the same bytes over and over must not fill the
    // memory.
    bool Spend(std::size_t count);
};

// Whether four numbers are a rotation to within what bytes can hold.
bool IsNearUnit(const double* quat);

bool ReadGltfMeshes(GltfReading& reading);
bool ReadGltfNodes(GltfReading& reading);     // and the roots of the default scene; needs the meshes
bool ReadGltfInstances(GltfReading& reading); // nodes of their own, behind all others; needs the nodes
bool ReadGltfSkins(GltfReading& reading);     // and which node's mesh uses which; needs the nodes
bool ReadGltfClips(GltfReading& reading);     // needs the nodes
