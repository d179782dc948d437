#pragma once

#include "engine/model/src/model.h"
#include "tools/model/convanimnode.h"
#include "tools/model/convnode.h"

// A model that is being converted, or that a tool writes. Lives on g_DefaultAllocator.
class ConvModel : public Model
{
public:
    ConvModel();
    ~ConvModel() override;

    // The last step of a conversion: closes the animations, removes the nodes that nothing needs, cleans the meshes
    // (by the mag scale) and computes the normals. Fails through FinishAnim, or without memory.
    virtual QZBOOL Finish(QZBOOL bRemoveNodes, QZBOOL bMagScale);
    // Size the list and fill it with new nodes or tracks; on failure the list is empty.
    virtual QZBOOL CreateChildNodes(DynArray<ModelNode*, NoCache>& children, uint32_t nNodes);
    virtual QZBOOL CreateChildAnimNodes(DynArray<AnimNode*, NoCache>& children, uint32_t nNodes, ModelAnim* pAnim,
                                        AnimNode* pParent);
    // Puts the first key at time 0 and sets up relations and track lists.
    virtual QZBOOL FinishAnim(uint32_t iAnim);
    // The first node that has the piece: its index, or -1; the node, or null.
    virtual uint32_t FindPieceNodeIndex(uint32_t iPiece);
    virtual ConvNode* FindPieceNode(uint32_t iPiece);

    // Turns all keys from the host's axes into the model's. Needs rigid keys and node scales of 1; runs once.
    // convmodel_coordinates.cpp
    void ConvertCoordinates();

    // Copies every animation of pSource in under a free name: 0. The node trees must have one shape, if need be after
    // a copy of the source was pruned to the nodes that this model knows by name: 1 if they don't. 2 if an animation
    // couldn't be added; those ahead of it stay. pSource isn't changed. convmodel_addanims.cpp
    uint32_t AddAnims(Model* pSource);
    // Removes the nodes whose names pTarget doesn't have, as far as RemoveNode lets it.
    void RemoveForeignNodes(Model* pTarget);
    // Deletes the model's own animations and empties the table.
    void RemoveAllAnims();
};
