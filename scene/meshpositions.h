// Where the vertices of a mesh are.
#pragma once

#include "scene/scenepose.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// The position of the file with the morph targets' deltas added by weight, in the mesh's own space.
Double3 MorphedPosition(const ScenePrimitive& primitive, const std::vector<double>& weights, std::size_t vertex);

// Those of all vertices.
std::vector<Double3> MorphedPositions(const ScenePrimitive& primitive, const std::vector<double>& weights);

struct SkinWeights
{
    const std::uint32_t* starts = nullptr; // as a primitive has them
    const SceneInfluence* influences = nullptr;
};

// The joint matrices of a scene's skins at one pose: from the mesh's space into the world, each skin when it is first
// asked for. Scene and pose must outlive this.
class SkinMatrices
{
public:
    SkinMatrices(const Scene& scene, const ScenePose& pose) : m_Scene(scene), m_Pose(pose), m_OfSkin(scene.skins.size())
    {
    }

    const std::vector<DoubleMatrix>& Joints(int skin);
    const Scene& GetScene() const { return m_Scene; }
    const ScenePose& Pose() const { return m_Pose; }

private:
    const Scene& m_Scene;
    const ScenePose& m_Pose;
    std::vector<std::vector<DoubleMatrix>> m_OfSkin;
};

// Places the vertices of one mesh of a node in the world. With a skin: linear blend skinning by all weights, divided by
// their sum, in which the node's own transform plays no part. A vertex without weights follows the joint that all
// others are below, or, if there is none, the node.
class VertexPlacer
{
public:
    // `matrices` must outlive this, and so must `weights`, which take the place of those of the primitive unless null.
    VertexPlacer(SkinMatrices& matrices, int node, const SceneMeshUse& use, const SkinWeights* weights = nullptr);

    Double3 operator()(std::size_t vertex) const
    {
        const Double3 point =
            m_bMorphs ? MorphedPosition(m_Primitive, m_MorphWeights, vertex) : m_Primitive.positions[vertex];
        return m_Joints == nullptr ? TransformPoint(m_OfOthers, point) : SkinPoint(vertex, point);
    }

private:
    Double3 SkinPoint(std::size_t vertex, const Double3& point) const
    {
        Double3 sum;
        double weights = 0.0;
        const SceneInfluence* end = m_Weights.influences + m_Weights.starts[vertex + 1];
        for (const SceneInfluence* i = m_Weights.influences + m_Weights.starts[vertex]; i != end; ++i)
        {
            const Double3 moved = TransformPoint(m_Joints[i->joint], point);
            sum.x += i->weight * moved.x;
            sum.y += i->weight * moved.y;
            sum.z += i->weight * moved.z;
            weights += i->weight;
        }
        if (weights == 0.0)
        {
            return TransformPoint(m_OfOthers, point);
        }
        return {sum.x / weights, sum.y / weights, sum.z / weights};
    }

    const ScenePrimitive& m_Primitive;
    const std::vector<double>& m_MorphWeights;
    bool m_bMorphs = false;                 // a weight isn't 0
    const DoubleMatrix* m_Joints = nullptr; // null without a skin
    DoubleMatrix m_OfOthers;                // what moves a vertex that no joint does
    SkinWeights m_Weights;
};

// All vertices as VertexPlacer places them.
std::vector<Double3> WorldPositions(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose);

// The same for the vertices that are listed: positions[i] is that of vertices[i].
void PlaceVertices(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose,
                   const SkinWeights* weights, const std::vector<std::uint32_t>& vertices, Double3* positions);
