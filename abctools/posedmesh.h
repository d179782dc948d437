#pragma once

#include "engine/model/src/animtracker.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

// A box along the axes; empty at first.
struct PoseBox
{
    Vector3 m_Min{1e30f, 1e30f, 1e30f};
    Vector3 m_Max{-1e30f, -1e30f, -1e30f};

    bool IsEmpty() const { return m_Min.x > m_Max.x; }
    void Add(const Vector3& v);
    void Add(const PoseBox& other);
    Vector3 Centre() const;
    Vector3 Size() const;
};

// A pose of a model in triangles, in the scene's space: that of the model mirrored back in z. A model without triangles
// is its skeleton, a slim body from each node to each of its children.
class PosedMesh
{
public:
    struct Triangle
    {
        uint32_t m_Corners[3]; // counter-clockwise, seen from outside
        uint32_t m_iPiece;
    };

    // Null stands for the bind pose. Without bNormals these are all 0. False if the pose can't be evaluated.
    bool Init(Model& model, const AnimTracker* pPosition, bool bNormals);

    // Of all vertices in triangles.
    PoseBox Box() const;

    std::vector<Vector3> m_Positions;
    std::vector<Vector3> m_Normals; // of any length, or 0
    std::vector<Triangle> m_Triangles;

private:
    void AddPieces(Model& model, bool bBind, bool bNormals);
    void AddBones(Model& model);
};
