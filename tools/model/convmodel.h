#pragma once

#include "engine/model/src/model.h"
#include "tools/model/convanimnode.h"
#include "tools/model/convnode.h"

// What AddAnims and TakeAnims give.
enum : uint32_t
{
    ADDANIMS_OK = 0,
    ADDANIMS_TREES_DIFFER = 1,
    ADDANIMS_INVALID_ANIM = 2,
};

// Room for a free animation name.
constexpr uint32_t ANIM_NAME_BUFFER = 2048;

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

    // Save for a model that isn't needed any longer: it is empty once it is written, and its memory serves the proof.
    // model_save.cpp
    QZBOOL SaveAndTerm(ModelStream* pStream);
    // Empties this model and makes it a copy of pSource without its animations. The meshes aren't copied: they move
    // over. On failure pSource keeps them. Both models live on g_DefaultAllocator. model_save.cpp
    QZBOOL TakeModelFrom(ConvModel* pSource);
    // Copies every animation of pSource in under a free name: 0. The node trees must have one shape, if need be after
    // a copy of the source was pruned to the nodes that this model knows by name: 1 if they don't. 2 if an animation
    // couldn't be added; those ahead of it stay. pSource isn't changed. convmodel_addanims.cpp
    uint32_t AddAnims(Model* pSource);
    // AddAnims for a source that isn't needed any longer: nothing is copied, the animations move over, and what is
    // pruned is pruned from pSource itself, which is left without animations. Both models live on g_DefaultAllocator.
    // convmodel_takeanims.cpp
    uint32_t TakeAnims(ConvModel* pSource);
    // Removes the nodes whose names pTarget doesn't have, as far as RemoveNode lets it.
    void RemoveForeignNodes(Model* pTarget);
    // Deletes the own animation of a row, and the row.
    void RemoveOwnAnim(uint32_t iAnim);
    // The animation of row iFrom takes the place of that of row iAnim, which is deleted: row iAnim keeps what else it
    // holds, row iFrom goes. Both are own animations.
    void ReplaceOwnAnim(uint32_t iAnim, uint32_t iFrom);
    // Deletes the model's own animations and empties the table.
    void RemoveAllAnims();

private:
    void RemoveAnimRow(uint32_t iAnim);
};
