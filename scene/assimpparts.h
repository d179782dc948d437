// The steps of turning what Assimp has read into a scene, in their order. Each returns false with a sentence's end in
// `error` if the file makes no sense there.
#pragma once

#include "scene/scene.h"

#include <assimp/scene.h>

#include <map>
#include <set>
#include <string>
#include <vector>

struct AssimpReading
{
    const aiScene& source;
    Scene& scene;
    std::string folder;     // of the file
    bool isCollada = false; // else no unit and no axis was applied by Assimp
    std::string error = {};
    std::vector<const aiNode*> nodes = {};               // those of the scene, in the same order
    std::map<std::string, int> nodeOfName = {};          // the first node of each of Assimp's names
    std::set<std::string> repeatedNames = {};            // names of several nodes, warned about when first used
    std::vector<int> primitiveOfMesh = {};               // -1 for a mesh that was left out
    std::vector<int> skinOfMesh = {};                    // -1 for a mesh without
    std::vector<std::vector<double>> weightsOfMesh = {}; // morph weights at rest
    std::map<std::string, int> imageOfPath = {};

    // Always false, for a return.
    bool Fail(const std::string& reason);

    // The node that Assimp calls so, -1 for none.
    int FindNode(const std::string& name);
};

// The nodes of a tree, each before its children, which come in their order. False if it isn't a tree.
bool ListAssimpNodes(const aiNode* root, std::vector<const aiNode*>& nodes);

// What the file itself calls the node: not what Assimp made up for one without a name.
std::string AssimpNodeName(const aiNode& node);

bool ReadAssimpNodes(AssimpReading& reading);
bool ReadAssimpMeshes(AssimpReading& reading); // and skins, and which node shows which; needs the nodes
bool ReadAssimpClips(AssimpReading& reading);  // needs the nodes

// Sets `image` to the index of the image that the mesh is textured with (-1 for none) and `coordSet` to the set of
// coordinates that it is laid on with.
bool FindAssimpTexture(AssimpReading& reading, const aiMesh& mesh, int& image, unsigned& coordSet);

// Adds the paths where the images of all materials may be to the scene's files.
void ListAssimpTextures(AssimpReading& reading);

// The unit, the up axis and the frame rate that an FBX file states.
void ReadFbxSettings(const aiMetadata& settings, Scene& scene);
