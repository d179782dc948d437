#pragma once

#include "engine/model/src/animinfo.h"
#include "engine/model/src/attachmentlist.h"
#include "engine/model/src/blockgrowallocator.h"
#include "engine/model/src/childinfo.h"
#include "engine/model/src/loadrequest.h"
#include "engine/model/src/modelanim.h"
#include "engine/model/src/modelnode.h"
#include "engine/model/src/modelpiece.h"
#include "engine/model/src/modelsocket.h"
#include "engine/model/src/modelstringindex.h"
#include "engine/model/src/modelstringlist.h"
#include "engine/model/src/modelvertweight.h"
#include "engine/model/src/weightset.h"
#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/blockallocator.h"
#include "zoltshared/stdzolt/debugprintf.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class AnimTracker;
class BlockReader;
class LoadFault;
class ModelStream;
class TransformMaker;
struct ModelAllocations;
struct VertexDeformRequest;

constexpr uint32_t MAX_CHILD_MODELS = 16;
// A string of the file that enters the string store keeps this many characters, terminator included.
constexpr uint32_t MODEL_STRING_BUFFER = 4096;
// Room that AddChildModel needs for its message, terminator included; a longer node name is cut.
constexpr uint32_t MODEL_ERRSTR_SIZE = 4224;

// Bytes of all models of the process: the objects themselves and the blocks that they live in.
extern uint32_t g_ModelMemory;

// A list link for the run-time side, which this library never follows.
struct ModelLink
{
    ModelLink* m_pPrev = nullptr;
    ModelLink* m_pNext = nullptr;
    void* m_pData = nullptr;
};

// One model: node tree, pieces, animations, child links, sockets and weight sets. It owns all of them.
//
// Derived tables (node indices, m_Transforms, track lists, first-vertex indices) are valid after Precalc; whoever
// changes the tree or the pieces calls Precalc(QZTRUE). A model is used by one thread at a time, but that many may
// evaluate it at once into outputs of their own: see TransformMaker and VertexDeformRequest.
//
// Results are QZTRUE or QZFALSE, or a null pointer, unless told otherwise; a failure is lack of memory or what the
// comment says. Look-ups by name ignore the case of ASCII letters, and the first hit in index order wins;
// out-parameters may be null and are set on a hit only.
//
// Conventions: a matrix takes column vectors, with the translation in column 3; a product reads parent x child. Lengths
// are in model units, times in milliseconds, angles in radians.
//
// The run-time library holds all but what is marked as tool side here and in the headers of the elements (Save,
// RemoveNode and so on): those are declared for the tools, which bring them along, and don't link without them.
//
// Access by index gives null for an index out of range, and reports it.
//
// An object that is handed over (AddSocket, AddWeightSet, AddAnim, SetRootNode) must come from GetGrowAllocator();
// for a model on g_DefaultAllocator, and for one in its own block, that is what `new` of the model classes gives.
class Model
{
public:
    ZOLT_ALLOCATED_NEW

    // pAlloc serves everything that the model owns except the storage of m_Anims, which pDefaultAlloc serves.
    Model(Allocator* pAlloc, Allocator* pDefaultAlloc);
    virtual ~Model();
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    // A model on g_DefaultAllocator, or null; and its end, children that nothing refers to included. Null is allowed.
    static Model* CreateModel();
    static void DeleteModel(Model* pModel);

    // Counted references held by parents; both give the new count. Release doesn't destroy; a model must not be
    // destroyed while it has references.
    int32_t AddRef();
    int32_t Release();
    bool IsUnreferenced() const { return m_RefCount == 0; }
    // Empties the model and keeps it usable. Child models are released, and with bDeleteChildren deleted once nothing
    // refers to them. The stamp, the file version, m_HeaderFloat and what the command string set (but for NormalRef)
    // stay as they were. Link 0 has no model until the next load, AddAnim or AddChildModel.
    void Term(QZBOOL bDeleteChildren);

    // Plain access; none of it allocates. NumNodes is 0 until Precalc has run.
    ModelNode* GetRootNode() const { return m_pRootNode; }
    uint32_t NumNodes() const { return m_Transforms.GetSize(); }
    ModelNode* GetNode(uint32_t i) const { return m_FlatNodeList.GetOrNone(i); }
    // For an index out of range the identity, in scratch of this thread.
    Matrix4& GetTransform(uint32_t i);
    uint32_t NumPieces() const { return m_Pieces.GetSize(); }
    ModelPiece* GetPiece(uint32_t i) const { return m_Pieces.GetOrNone(i); }
    uint32_t NumWeightSets() const { return m_WeightSets.GetSize(); }
    WeightSet* GetWeightSet(uint32_t i) const { return m_WeightSets.GetOrNone(i); }
    uint32_t NumAnims() const { return m_Anims.GetSize(); }
    ModelAnim* GetAnim(uint32_t i) const { return m_Anims.GetOrNone(i).m_pAnim; }
    AnimInfo* GetAnimInfo(uint32_t i) { return m_Anims.At(i); }
    // Null for a row that isn't an own one.
    ModelAnim* GetOwnAnim(uint32_t i) const;
    // Own is what link 0 has: the table owns that, whatever was moved elsewhere since. A child that borrows from this
    // model in its turn hands such animations back through its link; there they aren't own.
    bool IsOwn(const AnimInfo& row) const;
    uint32_t NumLODs() const { return m_LODDistances.GetSize() + 1; }
    Allocator* GetAllocator() const { return m_pAllocator; }
    Allocator* GetDefaultAllocator() const { return m_pDefaultAllocator; }
    // Memory for what is added after a load: the model's allocator, or the heap for a model that lives in its own
    // block. It also frees whatever the model's allocator gave.
    Allocator* GetGrowAllocator();
    uint32_t GetFileVersion() const { return m_FileVersion; }
    uint32_t GetModelStamp() const { return m_SelfChildModel.m_Stamp; }
    void SetModelStamp(uint32_t stamp) { m_SelfChildModel.m_Stamp = stamp; }

    // The stored copy of a text; the shared empty string, never null, for an empty text or without memory.
    const char* AddString(const char* pText);
    // Between the two, AddString finds texts by an index, and so does MakeUniqueAnimName: for whoever adds many.
    void BeginStringIndex() { m_StringIndex.Begin(m_Strings); }
    void EndStringIndex() { m_StringIndex.End(); }
    // Stores a copy; false, with no name, without memory.
    QZBOOL SetFilename(const char* pName);
    void FreeFilename();
    // Sets the two distances and their squares.
    void SetFadeRange(float fMin, float fMax);

    // Look-ups: the element, or null. FindAnim and FindAnimInfo give the row of m_Anims too; FindAnimInfo searches the
    // animations of pOwner alone, which are this model's or a child's.
    ModelPiece* FindPiece(const char* pName, uint32_t* piPiece) const;
    WeightSet* FindWeightSet(const char* pName, uint32_t* piSet) const;
    ModelNode* FindNode(const char* pName, uint32_t* piNode) const;
    ModelAnim* FindAnim(const char* pName, uint32_t* piAnim, AnimInfo** ppInfo);
    AnimInfo* FindAnimInfo(const char* pName, Model* pOwner, uint32_t* piAnim);
    // The row at that address; false if it is none of m_Anims.
    QZBOOL GetAnimInfoIndex(const AnimInfo* pInfo, uint32_t* piAnim) const;
    ModelSocket* FindSocket(const char* pName, uint32_t* piSocket) const;
    // The node under pRoot that has pNode among its direct children, and the child's place.
    static ModelNode* FindParent(ModelNode* pNode, ModelNode* pRoot, uint32_t* piChild);

    // Takes ownership; a root before it that isn't the built-in one is destroyed.
    void SetRootNode(ModelNode* pRoot);
    // Exchanges two pieces; false for an index out of range.
    QZBOOL SwapPieces(uint32_t iA, uint32_t iB);
    // Takes ownership on success. In a precalculated model the set is fitted to the nodes: see WeightSet::FitToNodes.
    QZBOOL AddWeightSet(WeightSet* pSet);
    // Deletes the set; those behind it move up. An index out of range is reported and changes nothing.
    void RemoveWeightSet(uint32_t iSet);
    // False if the piece counts or a piece's triangle counts differ.
    QZBOOL CopyUVs(Model* pOther);
    // The base name if it is free, else the base name and the lowest free number from 0 to 32767. False if there is
    // none or if it doesn't fit outSize bytes.
    QZBOOL MakeUniqueAnimName(const char* pBase, char* pOut, uint32_t outSize);
    // All derived tables. Without bForce, tables of the right size stay. False without memory, for more than
    // MODEL_MAX_NODES nodes, or if a track tree has more tracks than there are nodes.
    QZBOOL Precalc(QZBOOL bForce);
    // m_vOffsetFromParent of every node, from the bind pose; needs Precalc.
    void PrecalcNodeOffsets();

    // Counts, computed anew at each call: vertices at LOD 0; triangles at one LOD (a piece that lacks it is reported
    // and counts 0); weight records of all LODs; rows of the models of all links; rows of the own animations.
    uint32_t CalcNumVerts() const;
    uint32_t CalcNumTris(uint32_t iLOD) const;
    uint32_t CalcNumWeights() const;
    uint32_t CalcNumChildAnims(QZBOOL bIncludeSelf) const;
    uint32_t CalcNumOwnAnims() const;
    // True if a LOD 0 vertex of any piece has a weight on the node.
    QZBOOL IsNodeWeighted(uint32_t iNode) const;

    // Child links. model_children.cpp
    uint32_t NumChildModels() const { return m_nChildModels; }
    // Null, and reported, for an index out of range.
    ChildInfo* GetChildModel(uint32_t index) const;
    ChildInfo* GetSelfChildModel() const { return m_ChildModels[0]; }
    ChildInfo* FindChildModel(const Model* pModel) const;
    ChildInfo* FindChildModelByName(const char* pName, uint32_t* pIndex) const; // case-sensitive
    // Links pChild (which may be null: a link without a model) and copies its rows. The trees must have one shape.
    // Null on failure, with an English message in pErrStr, which has room for MODEL_ERRSTR_SIZE bytes. bCalcRelation
    // needs Precalc of this model.
    ChildInfo* AddChildModel(Model* pChild, const char* pName, char* pErrStr, QZBOOL bCalcRelation);
    // Removes the link and its rows; later rows move up. False for link 0 and an index out of range. The child model is
    // released, not deleted.
    QZBOOL RemoveChildModel(uint32_t iIndex);
    // Ties a link to a slot, for the reader: pName isn't interned, m_nChildModels isn't touched.
    QZBOOL SetChildModel(uint32_t iIndex, ChildInfo* pInfo, Model* pChild, const char* pName);
    // Fills the relations: the identity, or with bCalc what makes the child's bind pose land on this model's. False
    // without memory, and with bCalc if this model isn't precalculated.
    QZBOOL SetupChildModelRelation(ChildInfo* pInfo, Model* pChild, QZBOOL bCalc);

    // Animation table. model_anims.cpp
    // Adds an animation behind the own ones, or behind those of a link, and takes ownership of an own one. The row,
    // valid until the table changes; null without memory. Rows behind it move. The place behind a link's rows is
    // counted from the own animations that the link's model has now: call this before that model's own AddAnim.
    AnimInfo* AddAnim(ModelAnim* pAnim);
    AnimInfo* AddAnimToChildInfo(ModelAnim* pAnim, ChildInfo* pInfo);
    // A one-key animation of the identity at every node.
    QZBOOL AddDefaultAnim(const char* pName);

    // Sockets. model_sockets.cpp
    uint32_t NumSockets() const { return m_Sockets.GetSize(); }
    ModelSocket* GetSocket(uint32_t index) const { return m_Sockets.GetOrNone(index); }
    // Takes ownership on success.
    QZBOOL AddSocket(ModelSocket* pSocket);
    // Deletes the socket; those behind it move up. False for an index out of range.
    QZBOOL RemoveSocket(uint32_t index);
    // Socket space to the space of the pose, from the matrices now in m_Transforms. False if the socket's node isn't
    // there.
    QZBOOL GetCurrentSocketTransform(ModelSocket* pSocket, Matrix4* pOut);
    // The same after evaluating the path to the socket's node, at most MAX_NODE_PATH nodes, into m_Transforms: the
    // other matrices there keep what they hold. The first form takes one position and the transform of the model as a
    // whole; the second all that the caller's maker holds but its output, which is set to m_Transforms. False for an
    // index out of range, for a position of another model and where TransformMaker::SetupNodePath is; null pointers are
    // reported.
    QZBOOL GetSocketTransform(AnimTracker* pTime, uint32_t iSocket, Matrix4* pBaseTransform, Matrix4* pOutTransform);
    QZBOOL GetSocketTransform(TransformMaker* pMaker, uint32_t iSocket, Matrix4* pOutTransform);

    // Reads m_CommandString into the settings below; what it doesn't know is skipped. A load does this; NormalRef
    // overwrites m_Transforms. model_command.cpp
    void ParseCommandString();
    // Writes the position of every vertex of every piece at one LOD, piece by piece, to m_pVertOut:
    //     sum(matrix(node) x (x, y, z, share)) over the vertex's weight records, divided by its fourth component,
    // so that shares which don't add up to 1 are made up for. A vertex without weights, or whose shares sum to 0, goes
    // to 0, 0, 0. With bSetupTransforms the request's positions are evaluated into m_Transforms (or the request's own
    // table) first, otherwise those are taken as they stand. Allocates nothing. False, with nothing written, without
    // m_pVertOut, for more than MAX_ANIM_POSITIONS positions, for a first position of another model and for positions
    // that TransformMaker refuses; and at the first piece that lacks the LOD, which is reported. model_deform.cpp
    QZBOOL GetVertexPositions(VertexDeformRequest* pRequest, QZBOOL bSetupTransforms);

    // Reading. model_load.cpp
    // Replaces the model by what the stream holds: a RESULT_ code, or that of a callback. After any but RESULT_OK the
    // model is empty (after RESULT_INVALID_PARAMS: untouched). The stream stays the caller's.
    uint32_t Load(LoadRequest* pRequest);
    // Sets m_FileVersion and the counts of the header. False without a header, or for a version that isn't read.
    QZBOOL LoadHeader(ModelStream* pStream, ModelAllocations* pAllocs);
    // Empties the model and takes one block from pAllocator, of the size that the file's header needs; the next Load
    // fills it. pAllocator must outlive the model. RESULT_OK; RESULT_INVALID_MODEL_FILE for a header that can't be used
    // or whose block is out of proportion to the stream, with the model as it was; RESULT_OUT_OF_MEMORY, with it empty
    // and on g_DefaultAllocator if it had a block before.
    uint32_t PrepareBlock(ModelStream* pStream, Allocator* pAllocator);
    // Reads a text and interns it; false if it can't be read, and without memory.
    QZBOOL LoadStoredString(ModelStream* pStream, const char** ppOut);
    // The same for the characters alone, which must have been announced.
    QZBOOL LoadStoredText(BlockReader& reader, uint16_t length, const char** ppOut);
    // True if the stream still holds nCount records of at least `bytes` bytes each: what a count is held against before
    // memory is asked for.
    bool HasRoomFor(ModelStream* pStream, uint32_t nCount, uint64_t bytes) const;
    // The same, with a word for what lacks room: "12 triangles".
    bool HasRoomFor(ModelStream* pStream, uint32_t nCount, uint64_t bytes, const char* pWhat);
    // For the steps of a load: why it fails, by printf's rules, at the place of the stream, or at another one. The
    // first word goes into the request's m_pErrorText; when nothing is being loaded from that stream, nowhere. Always
    // QZFALSE.
    QZBOOL FailLoad(ModelStream* pStream, const char* pFormat, ...) ZOLT_PRINTF_FORMAT(3, 4);
    QZBOOL FailLoadAt(ModelStream* pStream, uint32_t position, const char* pFormat, ...) ZOLT_PRINTF_FORMAT(4, 5);
    // Counts the tracks of an animation without keys, which take no bytes in a file; false when there are more than any
    // sound file has.
    bool CountEmptyTracks(ModelStream* pStream);
    // What was seen in passing when the vertices of a mesh were read: the largest node index of their weights, and how
    // many weights each has, 0 if they differ.
    void NoteWeights(uint32_t maxNode, uint32_t nEach);

    // Writing and whole-model operations of the tool side; they are not part of the run-time library. All of them need
    // Precalc; the first two run it if the tables don't fit the tree.
    //
    // Writes the model at the start of a stream that can seek back, then loads that, or, where it can't be read back,
    // another writing in memory: a false may come from the stream, from what can't be written, or from this proof, with
    // the stream written already. Own rows of m_Anims go to the front; the stamp rises by 2 (the file has the first).
    QZBOOL Save(ModelStream* pStream);
    // Without proof and order; the stamp rises by 1.
    QZBOOL WriteSections(ModelStream* pStream);
    // Own rows of m_Anims ahead of those of child links, each in the order that they have. False without memory, with
    // the table as it was.
    QZBOOL OrderAnimsForSave();
    // Empties this model and makes it a copy, without the child models that links refer to. False, and empty, where
    // Save or Load fails.
    QZBOOL CopyModelFrom(Model* pSource);
    // Destroys a node; its children move up to its parent, and every pose of the others stays. False, with nothing
    // changed, for null, the root, a node without MNODE_REMOVEABLE, one that a vertex has a weight on, and without
    // memory. All node indices may change; those of vertex weights are kept right, those in sockets, weight sets and
    // m_iNormalRefNode are not.
    QZBOOL RemoveNode(ModelNode* pNode);
    // RemoveNode for each node with MNODE_REMOVEABLE, from the front, over and over. The keys make one round trip
    // through model space for all. False if one of them couldn't be removed; without memory none is.
    QZBOOL RemoveRemovableNodes();

    char* m_Filename; // see SetFilename; the shared empty string without a name
    ModelLink m_Link;
    AttachmentList m_Attachments;
    DynArray<ModelNode*, NoCache> m_FlatNodeList; // by node index; derived
    DynArray<ModelPiece*, NoCache> m_Pieces;
    DynArray<WeightSet*, NoCache> m_WeightSets;
    DynArray<ModelVertWeight, NoCache> m_VertexWeights; // of all vertices; never resized while vertices point into it
    uint32_t m_nTotalVerts = 0;                         // at LOD 0; derived
    uint32_t m_nTotalTris = 0;
    uint32_t m_nDWordNodes = 0;              // 32-bit words that hold one byte per node; derived
    DynArray<Matrix4, NoCache> m_Transforms; // by node index; the evaluator's default output
    const char* m_CommandString;
    ModelStringList m_Strings;
    DynArray<float, DefaultCache> m_LODDistances; // one for every LOD beyond the first
    float m_HeaderFloat = 96.0f;                  // only kept through load and save
    // What the command string sets, for whoever draws the model; lengths in model units. The library itself reads none
    // of it.
    float m_VisRadius = 50.0f;
    QZBOOL m_bNoAnimation = QZFALSE;
    float m_FadeRangeMin = 20000.0f;
    float m_FadeRangeMinSqr = 20000.0f * 20000.0f;
    float m_FadeRangeMax = 20000.0f;
    float m_FadeRangeMaxSqr = 20000.0f * 20000.0f;
    float m_FadeSpriteSize[2] = {100.0f, 100.0f};
    float m_AmbientLight = 0.25f;
    float m_DirLight = 0.75f;
    QZBOOL m_bShadowEnable = QZFALSE;
    float m_ShadowProjectLength = 200.0f;
    float m_ShadowLightDist = 200.0f;
    float m_ShadowSizeX = 50.0f;
    float m_ShadowSizeY = 50.0f;
    Vector3 m_ShadowCenterOffset{0.0f, 0.0f, 0.0f};
    int32_t m_iNormalRefNode = -1;
    int32_t m_iNormalRefAnim = -1;
    Matrix4 m_NormalRefTransform; // valid while m_bNormalRef is set
    QZBOOL m_bNormalRef = QZFALSE;
    QZBOOL m_bFovOffset = QZFALSE;
    float m_FovXOffset = 0.0f; // radians
    float m_FovYOffset = 0.0f;
    QZBOOL m_bSpecularEnable = QZFALSE;
    QZBOOL m_bRigid = QZFALSE;
    DynArray<ModelSocket*, NoCache> m_Sockets;
    DynArray<AnimInfo, NoCache> m_Anims; // own rows first, then those of each child link
    Allocator* m_pAllocator;
    Allocator* m_pDefaultAllocator;
    BlockAllocator m_BlockAllocator;
    ChildInfo* m_ChildModels[MAX_CHILD_MODELS] = {};
    uint32_t m_nChildModels = 1;
    ChildInfo m_SelfChildModel; // link 0; also holds the model stamp
    uint32_t m_FileVersion = 0;
    int32_t m_RefCount = 0;
    ModelNode m_DefaultRootNode;
    ModelNode* m_pRootNode; // never null

protected:
    // RemoveNode for many nodes at once; pWanted has a flag for each node, which is cleared where a node is refused.
    // False if one was; without memory none goes. Tool side.
    QZBOOL RemoveNodes(uint8_t* pWanted);

private:
    // Gives link 0 its model back, which Term takes.
    void TieSelf() { m_SelfChildModel.m_pModel = this; }
    // Precalc without m_nEqualWeights.
    QZBOOL PrecalcTables(QZBOOL bForce);
    QZBOOL PrecalcTransforms(QZBOOL bForce);
    QZBOOL PrecalcFlatNodeList(QZBOOL bForce);
    // The number of weight records of each vertex if all have the same and the records of a mesh lie in the order of
    // its vertices, else 0. model_deform.cpp
    uint32_t CalcEqualWeights() const;
    void CalcNodeRelations(ChildInfo* pInfo, const Matrix4& mParentA, const Matrix4& mParentB, ModelNode* pNodeA,
                           ModelNode* pNodeB);
    void ParseNormalRef(TransformMaker& maker, const char* pNodeName, const char* pAnimName);

    // The section of the load to come, or a word that there is none.
    QZBOOL EnterSection(ModelStream* pStream, const char* pName);

    // Steps of Load, in its order; each returns QZFALSE (or a result code) for Load to clean up.
    uint32_t LoadAll(LoadRequest* pRequest);
    QZBOOL LoadHeaderSection(ModelStream* pStream);
    QZBOOL LoadPieces(ModelStream* pStream);
    QZBOOL LoadNodes(ModelStream* pStream);
    QZBOOL LoadWeightSets(ModelStream* pStream);
    QZBOOL CheckWeights(ModelStream* pStream);
    void ReportWeight(ModelStream* pStream, const ModelPieceLOD& mesh, const char* pPiece);
    uint32_t LoadChildModels(LoadRequest* pRequest);
    QZBOOL LoadAnims(ModelStream* pStream);
    QZBOOL CopyChildAnimRows(uint32_t nOwnAnims);
    QZBOOL LoadAnimBindings(LoadRequest* pRequest, ModelStream* pStream);
    QZBOOL LoadSockets(ModelStream* pStream);

    bool IsFreeAnimName(const char* pName);

    QZBOOL DetachNodes(const uint8_t* pGoes); // tool side, like the next ones
    QZBOOL SavePiece(ModelStream* pStream, ModelPiece* pPiece);
    QZBOOL SaveWeightSets(ModelStream* pStream);
    QZBOOL SaveSockets(ModelStream* pStream);
    QZBOOL SaveAnimBindings(ModelStream* pStream, uint32_t iPrevLink);

    BlockGrowAllocator m_GrowAllocator;
    ModelStringIndex m_StringIndex;
    uint32_t m_nEqualWeights = 0; // what Precalc got from CalcEqualWeights
    // For the time of a load.
    static constexpr uint32_t NO_MESH_YET = 0xFFFFFFFFu;
    ModelStream* m_pLoadStream = nullptr;
    LoadFault* m_pLoadFault = nullptr;
    uint32_t m_LoadLength = 0;
    uint64_t m_nEmptyTracks = 0;
    uint32_t m_MaxWeightNode = 0;  // of all meshes that were read
    uint32_t m_nLoadedWeights = 0; // what m_nEqualWeights will be, or NO_MESH_YET
};

ZOLT_END_NAMESPACE
