#pragma once

#include "saa/SAA.h"
#include "tools/model/convnode.h"
#include "tools/model/kelpexport/envelope.h"
#include "tools/model/kelpexport/numberedhandles.h"

#include <memory>

// A node that stands for an element of the host's scene.
class SoftNode : public ConvNode
{
public:
    explicit SoftNode(Model* pModel);
    ~SoftNode() override;

    // Weights on the vertex move to the replacement, those behind it close the gap. Both indices are those before the
    // removal. Only LOD 0 of a piece has weights.
    void OnVertexRemoved(ModelPieceLOD* pLOD, uint32_t iVert, uint32_t iReplacement) override;
    // The same for many vertices at once: pNewIndices holds the new index of each old vertex, or NO_VERTEX for one
    // whose weights are dropped.
    void OnVerticesRemapped(ModelPieceLOD* pLOD, const uint32_t* pNewIndices);

    // Puts their numbers in the place of the list of control vertices, if they say it all.
    void ShortenCtrlVertices();
    // The first control vertex with the handle's bytes. A search from the front: for many look-ups there is
    // CtrlVertexLookup.
    bool FindCtrlVertex(const SAA_SubHandle& handle, uint32_t* pIndex) const;
    // Appends the node and its subtree in pre-order; false without memory.
    QZBOOL CollectNodes(DynArray<SoftNode*, DefaultCache>& list);
    // The control vertices too, which are known by envelopes alone.
    void DeleteEnvelopes();

    SoftNode* GetSoftChild(uint32_t index) const { return static_cast<SoftNode*>(GetChild(index)); }

    int32_t m_EnvelopeType = 0; // what SAA_envelopeGetType gave
    int32_t m_ModelType = 0;    // what SAA_modelGetType gave
    // Of the original geometry, in the order of the piece's m_Verts: a list, or where their numbers say it all, those.
    DynArray<SAA_SubHandle, DefaultCache> m_CtrlVertices;
    std::unique_ptr<NumberedHandles> m_pNumberedVertices;
    DynArray<Envelope*, DefaultCache> m_Envelopes; // owned
    SAA_Elem m_Elem = {};

private:
    // The envelopes that may be of the mesh: from there on, and up to *pEnd.
    uint32_t FindEnvelopes(const ModelPieceLOD* pLOD, uint32_t* pEnd);

    uint32_t m_nOrdered = 0;   // so many first envelopes were seen to stand in the order of their pieces
    uint32_t m_iLastPiece = 0; // that was asked for
};
