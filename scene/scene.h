// A scene as plain data, whatever file it came from. A reader promises, for a scene that it returned as good: every
// index is in range (or -1 where that is allowed), every number is finite, parents and children agree and form trees,
// the arrays of a primitive fit each other, and a channel's values fit its times.
#pragma once

#include "scene/doublemath.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// An image that a mesh is textured with. Width and height are 0 where the image is missing or can't be understood.
struct SceneImage
{
    std::string name;
    int width = 0;
    int height = 0;
};

struct SceneTexCoord
{
    float u = 0.0F;
    float v = 0.0F; // as it stands in the file
};

// How far one joint moves a vertex. `joint` is an index into the joints of the skin; the weight is above 0.
// The weights of one vertex need not sum up to 1, and a joint may be listed more than once.
struct SceneInfluence
{
    std::uint32_t joint = 0;
    double weight = 0.0;
};

// Three indices into the positions of the primitive, in the file's winding (counter-clockwise seen from the front).
struct SceneTriangle
{
    std::uint32_t corners[3] = {0, 0, 0};
};

// What a file says of a mesh that goes no further.
struct SceneMeshExtras
{
    bool hasColors = false;
    bool hasNormals = false;
    unsigned nFurtherTexCoords = 0; // sets beside the one that is read
    std::string material;           // what the file calls it, or its number; empty for none
};

// Triangles with one material. Strips, fans and polygons are resolved by the reader, which also leaves out vertices
// that no triangle uses. The order of the vertices that are left is the file's.
struct ScenePrimitive
{
    std::string name;
    std::vector<Double3> positions;
    std::vector<SceneTexCoord> texCoords; // one for each position, or empty
    std::vector<SceneTriangle> triangles;
    std::vector<std::uint32_t> influenceStarts; // positions + 1 entries, rising from 0 to the last one's
                                                // influences.size(), or empty for a primitive without weights
    std::vector<SceneInfluence> influences;     // those of vertex v from influenceStarts[v] to influenceStarts[v + 1]
    bool hasModelWeights = false; // the weights are those of a model, to be taken over whatever they sum up to
    std::vector<std::vector<Double3>> morphDeltas; // for each morph target, what it adds to each position at weight 1
    int image = -1;                                // index into the scene's images, -1 for none
    SceneMeshExtras extras;
};

// The primitives of a scene, as a vector of them. Copies share their memory until one of them is written to, by any
// operation that isn't const: a scene in another pose costs no second copy of its meshes.
class ScenePrimitives
{
public:
    ScenePrimitives() = default;
    ScenePrimitives(std::vector<ScenePrimitive> all)
        : m_All(std::make_shared<std::vector<ScenePrimitive>>(std::move(all)))
    {
    }

    std::size_t size() const { return m_All ? m_All->size() : 0; }
    bool empty() const { return size() == 0; }
    const ScenePrimitive& operator[](std::size_t i) const { return (*m_All)[i]; }
    const ScenePrimitive* begin() const { return m_All ? m_All->data() : nullptr; }
    const ScenePrimitive* end() const { return begin() + size(); }

    ScenePrimitive& operator[](std::size_t i) { return Own()[i]; }
    ScenePrimitive* begin() { return Own().data(); }
    ScenePrimitive* end() { return begin() + size(); }
    void push_back(ScenePrimitive primitive) { Own().push_back(std::move(primitive)); }
    void resize(std::size_t size) { Own().resize(size); }

private:
    std::vector<ScenePrimitive>& Own()
    {
        if (!m_All || m_All.use_count() > 1)
        {
            m_All = m_All ? std::make_shared<std::vector<ScenePrimitive>>(*m_All)
                          : std::make_shared<std::vector<ScenePrimitive>>();
        }
        return *m_All;
    }

    std::shared_ptr<std::vector<ScenePrimitive>> m_All; // null for none
};

// One primitive as a node shows it. With a skin, the node's own transform plays no part in where the vertices are,
// except for those without influences where the skin has no joint above all others.
struct SceneMeshUse
{
    int primitive = -1; // index into the scene's primitives
    int skin = -1;      // index into the scene's skins, -1 for none; never set for a primitive without weights
    int part = 0;       // 0 for a whole mesh or the first part of one that was too large, else the number of the part
    int whole = 0;      // then the first part's place among the node's meshes
};

struct SceneNode
{
    std::string name;          // as in the file: may be empty, may repeat
    int parent = -1;           // -1 for a root
    std::vector<int> children; // in file order
    DoubleTransform local;     // the node at rest; a matrix is taken apart by DecomposeMatrix
    bool isJoint = false;
    bool isCamera = false;
    bool isLight = false;
    std::vector<SceneMeshUse> meshes; // in file order
    std::vector<double> morphWeights; // the weights at rest of the morph targets of the node's meshes
    std::vector<std::pair<std::string, std::string>> customValues; // texts that the file attaches to the node
};

struct SceneSkin
{
    std::string name;
    std::vector<int> joints;                // node indices
    std::vector<DoubleMatrix> inverseBinds; // one for each joint: from the mesh's space into the joint's
};

enum class ScenePath
{
    Translation, // 3 values: x, y, z
    Rotation,    // 4 values: x, y, z, w
    Scale,       // 3 values: x, y, z
    Weights      // as many values as the node has morph weights
};

enum class SceneInterpolation
{
    Step,
    Linear,
    Cubic // Hermite splines
};

// One animated property of one node.
struct SceneChannel
{
    int node = -1;
    ScenePath path = ScenePath::Translation;
    SceneInterpolation interpolation = SceneInterpolation::Linear;
    std::vector<double> times;  // seconds, at least one, never falling
    std::vector<double> values; // for each key the values of the path; for a cubic channel the tangent that leads in,
                                // the values, the tangent that leads out (tangents per second)
};

struct SceneClip
{
    std::string name; // may be empty
    std::vector<SceneChannel> channels;
    std::vector<std::string> unreadMorphs = {}; // what moves morph targets in the file and wasn't read
};

struct Scene
{
    std::string name;               // the scene's own name, may be empty
    std::string fileStem;           // the file's name without folder and extension
    std::vector<std::string> files; // paths of what the scene is read from and of the images; some may not be there
    std::vector<SceneNode> nodes;
    std::vector<int> roots; // the nodes at the top of what is shown, in file order, each with parent -1
    ScenePrimitives primitives;
    std::vector<SceneSkin> skins;
    std::vector<SceneImage> images;
    std::vector<SceneClip> clips;
    std::vector<std::string> warnings;       // what was left out or changed, a sentence each
    std::vector<std::string> pointsAndLines; // those of them that are about points and lines
    double statedFps = 0.0;                  // frames per second that the file itself states, 0 for none
    bool keysOnStatedFrames = false;         // whether the file says that all keys lie on those frames
    double unitMeters = 0.0;                 // length of one unit in metres where the file states it, else 0
    char upAxis = 0;                         // 'x', 'y' or 'z' where the file states it, else 0
};
