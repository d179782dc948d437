#pragma once

#include "engine/model/src/animkeyframe.h"
#include "engine/model/src/animnode.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// One animation: key times and a tree of tracks that has the shape of the model's node tree.
class ModelAnim
{
public:
    ZOLT_ALLOCATED_NEW

    explicit ModelAnim(Model* pModel);
    virtual ~ModelAnim();
    ModelAnim(const ModelAnim&) = delete;
    ModelAnim& operator=(const ModelAnim&) = delete;

    // Moves the animation to another model: its name and the strings of its keys go into that model's string store and
    // the tracks are linked to its nodes. False if the trees differ in shape.
    virtual QZBOOL SetModel(Model* pModel);
    // A new animation of this class for pModel, or null.
    virtual ModelAnim* CreateAnim(Model* pModel);

    Model* GetModel() const { return m_pModel; }
    const char* GetName() const { return m_Name; }
    // Empty without memory.
    void SetName(const char* pName);
    AnimNode* GetRootNode() const { return m_pRootNode; }
    uint32_t NumKeyFrames() const { return m_KeyFrames.GetSize(); }
    // Time of the last key in milliseconds; 0 with no keys.
    uint32_t GetAnimTime() const;
    // Takes ownership; the root before it is destroyed.
    void SetRootNode(AnimNode* pRoot);
    // Builds m_AnimNodes. Without bForce an existing list stays. False without memory or if the track tree has more
    // tracks than the model has nodes.
    QZBOOL PrecalcNodeLists(QZBOOL bForce);
    // Back to no keys and no tracks; name and parameters stay.
    void Term();

    // Key editing across the whole tree. RemoveKeyFrame refuses an animation of two keys or fewer; without key 0 the
    // times move so that the new first key stands at 0.
    QZBOOL RemoveKeyFrame(uint32_t iKeyFrame);
    // A new one-key animation with that key, owned by the caller, or null. To evaluate it, call SetModel and
    // PrecalcNodeLists.
    ModelAnim* CopyKeyFrame(uint32_t iKeyFrame);
    // CopyKeyFrame, then RemoveKeyFrame; null, with nothing changed, if one of them fails.
    ModelAnim* CutKeyFrame(uint32_t iKeyFrame);
    // Inserts key 0 of pSource. After a failure the animation may be inconsistent and has to be discarded.
    QZBOOL PasteKeyFrame(ModelAnim* pSource, uint32_t iKeyFrame);

    // nVersion is the version of the file whose layout is read. The tracks follow the model's node tree. False if the
    // stream is too short for the keys, for a text that can't be read, and without memory.
    QZBOOL Load(ModelStream* pStream, uint32_t nVersion);
    QZBOOL Save(ModelStream* pStream);   // tool side
    QZBOOL CopyFrom(ModelAnim* pSource); // tool side: a save and a load through memory

    AnimNode** m_AnimNodes; // every track by node index, NumNodes() entries; derived
    DynArray<AnimKeyFrame, NoCache> m_KeyFrames;
    int32_t m_AnimParamA; // only kept through load and save
    int32_t m_AnimParamB;
    Model* m_pModel;
    const char* m_Name; // in the model's string store
    AnimNode m_DefaultRootNode;
    AnimNode* m_pRootNode; // never null

private:
    QZBOOL LoadKeyTimes(ModelStream* pStream);
};

ZOLT_END_NAMESPACE
