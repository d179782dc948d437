#pragma once

#include "engine/play/bounds.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
class ModelInstance;

// Boxes around a model and what it does: a box for each node over its share of the vertices of all LODs, which moves
// along with the node. A vertex lies between the places where its nodes would have it, so the boxes around those hold
// it. Vertices without weights, which stay at 0, 0, 0, don't count.
//
// Init and OfAnim allocate. After Init any number of threads may ask. The model isn't owned and must outlive this.
class ModelBounds
{
public:
    // False without memory; then all boxes are empty.
    bool Init(const Model& model);

    // In the bind pose, in model space.
    Bounds AtRest() const;
    // In whatever moment of an animation, model space: between the keys as well, where a turning limb swings out beyond
    // where the keys have it. Empty for an index out of range, an animation without keys or one that doesn't fit.
    Bounds OfAnim(uint32_t iAnim) const;
    // Of the pose that an instance of the model has now, in world space; empty for an instance of another model.
    Bounds OfInstance(const ModelInstance& instance) const;

private:
    struct Move;

    float FindMargins(uint32_t iAnim, uint32_t iKey, std::vector<Move>& moves, std::vector<float>& margins) const;

    const Model* m_pModel = nullptr;
    std::vector<Bounds> m_NodeBoxes; // in node space, by node index
    std::vector<uint32_t> m_Parents; // MNODE_NO_PARENT at the root
};
ZOLT_END_NAMESPACE
} // namespace zolt
