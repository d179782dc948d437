#pragma once

#include "saa/SAA.h"
#include "tools/model/convmodel.h"
#include "tools/model/kelpexport/softnode.h"
#include "zoltshared/stdzolt/ownedstring.h"

// What marks the frames of a play range that hold a key.
typedef DynArray<uint32_t, DefaultCache> KeyFrameMask;

// The model that a scene of the host is read into, used for one ConvertScene. Its root node must be a SoftNode.
//
// All access to the scene goes through the operations of SAA.h. A step that fails has shown its message and returns
// QZFALSE; what it has built goes with the model. The host is trusted with nothing: counts are held against
// HOST_MAX_COUNT, and numbers that aren't finite don't get into the model (geometry is refused, poses are kept
// neutral).
class ConvModel_Soft : public ConvModel
{
public:
    ConvModel_Soft();
    ~ConvModel_Soft() override;

    // Squared distance from which on no vertex counts as near.
    static constexpr double CLOSEST_LIMIT = 1000000.0;

    // Reads the scene at its play range: nodes, meshes, weights (unless bAppend is set) and one animation, and turns
    // them into the model's terms. The host is left on the last frame that was sampled.
    QZBOOL ConvertScene(const SAA_Scene* pScene, int32_t bAppend, const char* pAnimName);

    // Node tree. convmodel_soft_nodes.cpp
    // Takes the first element of level 0 and all below it; other roots, and what is below them, are left out.
    QZBOOL BuildNodeTree(const DynArray<SAA_Elem, DefaultCache>& elements);
    QZBOOL CreateChildNodes(DynArray<ModelNode*, NoCache>& children, uint32_t nNodes) override;
    // Flags the nodes of a subtree that move no vertex and whose names don't have the token "N".
    void MarkRemovableNodes(SoftNode* pNode);
    // A custom value of the host; QZFALSE if it isn't there, with nothing changed, or without memory.
    static QZBOOL GetCustomString(const SAA_CusvalSet* pCusvals, const char* pName, OwnedString& value);

    // Geometry. convmodel_soft_geometry.cpp
    // Fills the piece of the node, as the mesh is at the host's current frame.
    QZBOOL ReadGeometry(SoftNode* pNode);
    // The index of the nearest position, the lowest on a tie; 0 if none has a squared distance below CLOSEST_LIMIT. A
    // search through the whole list: for many questions there is ClosestVertexFinder. pPos is x, y, z.
    static uint32_t FindClosestVertex(const double* pPos, const DynArray<SAA_Position, DefaultCache>& positions);
    static double SquaredDistance(const double* pA, const double* pB)
    {
        const double x = pA[0] - pB[0], y = pA[1] - pB[1], z = pA[2] - pB[2];
        return x * x + y * y + z * z;
    }

    // Envelopes. convmodel_soft_envelopes.cpp
    // The two that follow for the whole model, after a Precalc; what the first can't read is left out.
    QZBOOL ReadVertexWeights();
    // For the meshes of a subtree: asks the host which nodes of the model move a mesh's vertices, and which of them.
    QZBOOL ReadNodeEnvelopes(SoftNode* pNode);
    // Binds the pieces without an envelope to their nodes at 100 %.
    QZBOOL WeightUnenvelopedPieces();
    // Writes the weight lists of the vertices, by ascending node index. Runs after ConvertScene. Fails without memory
    // and with more than 65535 weights on a vertex.
    QZBOOL ConvertVertexWeights();
    // What has become weights of vertices, and the handles that it came by.
    void DeleteEnvelopes();
    // True if any node has an envelope of the piece; needs Precalc.
    bool IsPieceEnveloped(uint32_t iPiece) const;

    // Animation. convmodel_soft_animation.cpp
    // The next three for the whole tree: a new animation of the model, with a key for each frame of the play range that
    // any node has a key at.
    QZBOOL ReadAnimation(const char* pAnimName);
    // Sets the mask (one entry for each frame from nStartFrame on) where a rotation, translation or shape curve of a
    // subtree has a key; those out of the range count for its ends. Scale isn't asked for.
    QZBOOL CollectKeyFrames(SoftNode* pNode, KeyFrameMask& mask, int nStartFrame, int nEndFrame);
    // Makes the tracks of a subtree, with nKeyframes keys of the identity.
    QZBOOL BuildAnimNodeTree(ConvAnimNode* pAnimNode, SoftNode* pNode, uint32_t nKeyframes);
    // Fills key iKey of a subtree with the poses at the host's current frame.
    QZBOOL SampleKeyFrame(ConvAnimNode* pAnimNode, SoftNode* pNode, uint32_t iKey);

    // Passes, in the order in which they run, each once. convmodel_soft_passes.cpp
    // Puts all vertices into model space, at the first key of the first animation; with bMirrorZ z is mirrored.
    void BakeBindPose(QZBOOL bMirrorZ);
    // Makes all keys rigid; scale moves into the translations.
    void FoldScaleIntoKeys();
    void ResetNodeScales();
    // Between ResetNodeScales and ComputeWeightOffsets runs ConvertCoordinates of ConvModel.
    // Puts the nodes at the first key of the first animation, which is the bind pose of the file, and tells each
    // envelope where its vertices are in the space of its node. Needs Precalc.
    QZBOOL ComputeWeightOffsets();

    // For an append: without it meshes are left alone, and their nodes have no pieces. What goes into a file that has
    // its geometry already doesn't depend on them.
    bool m_bReadMeshes = true;
    const SAA_Scene* m_pScene = nullptr; // for the time of ConvertScene; not owned

private:
    QZBOOL ReadScene(const DynArray<SAA_Elem, DefaultCache>& elements, int32_t bAppend, const char* pAnimName);
    // Fills the node, and makes and fills all below it; the root has depth 0. Only within BuildNodeTree, which keeps
    // count of the pieces.
    QZBOOL BuildNode(const SAA_Elem* pElem, SoftNode* pNode, uint32_t nDepth);
    QZBOOL ReadPiece(SoftNode* pNode);
    QZBOOL MakeRoomForPiece();
    struct EnvelopeReading;
    QZBOOL ReadEnvelopesBelow(SoftNode* pNode, EnvelopeReading& reading);
    QZBOOL ReadEnvelope(SoftNode* pNode, SoftNode* pSkel, int nVertices, EnvelopeReading& reading);
    SoftNode* GetSoftRoot() const { return static_cast<SoftNode*>(GetRootNode()); }
    SoftNode* GetSoftNode(uint32_t i) const { return static_cast<SoftNode*>(GetNode(i)); }

    // An envelope, and the node whose it is.
    struct PlacedEnvelope
    {
        SoftNode* pNode = nullptr;
        Envelope* pEnvelope = nullptr;
    };
    QZBOOL BindPiece(SoftNode* pNode, uint32_t iPiece);
    QZBOOL AddEnvelope(SoftNode* pNode, Envelope* pEnvelope);
    bool KnowsAllEnvelopes() const;
    void SetWeightOffsets();
    template <class Use> void ForEachEnvelope(bool bAsMade, Use use) const;

    // In the order they were made in, mesh by mesh, in which they lie in memory: a walk that doesn't need the order of
    // the nodes is faster so.
    DynArray<PlacedEnvelope, DefaultCache> m_EnvelopesAsMade;
    uint32_t m_nNodesMade = 1;  // the root and all that CreateChildNodes has made
    uint32_t m_nPiecesRead = 0; // see MakeRoomForPiece; of no meaning but in BuildNodeTree
};
