#pragma once

#include "engine/model/src/nodekeyframe.h"
#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/qzbool.h"

class Model;
class ModelAnim;
class ModelNode;
class ModelStream;

// One track: a key for each key time of its animation. A track owns its children; child track i belongs to child
// node i of its node.
class AnimNode
{
public:
    ZOLT_ALLOCATED_NEW

    AnimNode();
    AnimNode(ModelAnim* pAnim, AnimNode* pParent);
    virtual ~AnimNode();
    AnimNode(const AnimNode&) = delete;
    AnimNode& operator=(const AnimNode&) = delete;

    virtual ModelAnim* GetAnim();
    virtual void SetAnim(ModelAnim* pAnim);
    // A new track of this track's class, or null.
    virtual AnimNode* CreateAnimNode(ModelAnim* pAnim, AnimNode* pParent);

    uint32_t NumChildren() const { return m_Children.GetSize(); }
    AnimNode* GetChild(uint32_t index) const { return m_Children.Get(index); }
    // That of the animation, not the size of this track's own array.
    uint32_t NumKeyFrames() const;
    Model* GetModel() const;

    // Links the subtree to a node tree; false, and reported, where the shapes differ.
    QZBOOL SetNode(ModelNode* pNode);
    // Frees the keys and the children.
    void Term();

    // Steps of the key editing of ModelAnim, which checks the index. Each works on the whole subtree.
    QZBOOL RemoveKeyFrame(uint32_t iKeyFrame);
    QZBOOL CopyKeyFrame(uint32_t iKeyFrame, AnimNode* pDest);
    QZBOOL PasteKeyFrame(AnimNode* pSource, uint32_t iKeyFrame);

    QZBOOL Load(ModelStream* pStream);
    QZBOOL Save(ModelStream* pStream); // tool side

    ModelNode* m_pNode;
    DynArray<NodeKeyFrame, NoCache> m_KeyFrames;
    AnimNode* m_pParent;
    DynArray<AnimNode*, NoCache> m_Children;
    ModelAnim* m_pAnim;
};
