// The vertices of a scene that an exporter is shown, in the order in which it makes pieces of them.
#pragma once

#include "saa/recordedscene.h"

#include <cstdint>
#include <string>
#include <vector>

// A moment of a scene.
struct ScenePlace
{
    const Scene* scene = nullptr; // must outlive this
    int clip = -1;                // -1 for the scene at rest
    double seconds = 0.0;
};

// The weights of one mesh, as a primitive has them; empty for a mesh without a skin.
struct MeshWeights
{
    std::vector<std::uint32_t> influenceStarts;
    std::vector<SceneInfluence> influences;
};

// By mesh.
typedef std::vector<MeshWeights> SceneWeights;

class SceneVertices
{
public:
    // One mesh, for one piece.
    struct Mesh
    {
        int element = -1;
        int node = -1;
        int use = -1;
        std::string name;
        std::uint32_t first = 0; // of its vertices among all
        std::vector<std::uint32_t> fileVertex;
        std::size_t nTriangles = 0;
    };

    // Elements and joined vertices are taken over; the scene isn't needed any longer.
    explicit SceneVertices(RecordedScene& recorded);

    const std::vector<Mesh>& Meshes() const { return m_Meshes; }
    std::uint32_t Count() const { return m_nVertices; }
    // The mesh that a vertex belongs to.
    const Mesh& MeshOf(std::uint32_t vertex) const;

    // Where all vertices are, mirrored in z as a model has them: with all weights and the morph targets. Another
    // scene than the first one must have the same nodes and meshes. A number that a float can't hold becomes 0.
    // `weights` take the place of the scene's, unless there are none.
    void Place(const ScenePlace& place, const SceneWeights& weights, std::vector<Double3>& positions) const;
    // The shares of its vertices that an exporter gets, in place of the scene's weights; none if they are the same.
    SceneWeights FindSharesOf(const Scene& scene) const;

private:
    std::vector<Mesh> m_Meshes;
    std::uint32_t m_nVertices = 0;
};

// A position as a model has it: with z mirrored, and 0 for what a float can't hold.
Double3 ModelPosition(const Double3& position);

// The elements from the top down, children in order: the order of a model's nodes.
std::vector<int> ElementsInPreOrder(const RecordedScene& recorded);
