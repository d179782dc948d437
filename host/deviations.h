// How far vertices that several joints move stray from where they should be, once a model's skin is taken from a pose.
#pragma once

#include "scene/meshpositions.h"
#include "scene/rigidposes.h"

#include <cstddef>
#include <vector>

// A pose that a skin may be taken from.
struct SkinPose
{
    SkinPose(const Scene& scene, int clip, double seconds) : poses(scene, clip, seconds), matrices(scene, poses.Pose())
    {
    }
    SkinPose(const SkinPose&) = delete;
    SkinPose& operator=(const SkinPose&) = delete;

    RigidPoses poses;
    SkinMatrices matrices;
};

// A mesh with a skin, as a node shows it.
struct SkinnedMesh
{
    int node = -1;
    const SceneMeshUse* use = nullptr; // the scene's
    double extent = 0.0;               // the largest distance of a vertex from the origin of the mesh's space
    bool isBoundable = true;           // no vertex has more than MAX_BOUNDED_INFLUENCES
};

// The vertices that could stray by more than a limit. For each of their joints: where the joint would put the vertex,
// less where the model's joint does, which stays the same as the joint sees it.
class Deviations
{
public:
    // Looks at the vertices `first`, `first + step` and so on. The skin is taken from the pose `skin`, of the same
    // scene or of one that differs by its joints at rest; `start` is the pose at which the scene's clip starts.
    void Add(const SkinnedMesh& mesh, SkinPose& start, SkinPose& skin, double limit, std::size_t first = 0,
             std::size_t step = 1);
    // Those that may stray furthest to the front.
    void Sort();

    bool IsEmpty() const { return m_Vertices.empty(); }
    // The largest distance at a pose, or `worst` if none is larger.
    double FindWorst(const RigidPoses& poses, double worst) const;

private:
    struct Part
    {
        int node = -1;
        double share = 0.0;
        Double3 offset;
    };
    struct Vertex
    {
        double most = 0.0; // what its parts come to at worst
        std::size_t firstPart = 0;
        std::size_t nParts = 0;
    };
    double DistanceOf(const Vertex& vertex, const RigidPoses& poses) const;

    std::vector<Part> m_Parts;
    std::vector<Vertex> m_Vertices;
};
