#pragma once

#include "engine/model/src/nodekeyframe.h"
#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

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
    AnimNode* GetChild(uint32_t index) const { return m_Children.GetOrNone(index); }
    // That of the animation, not the size of this track's own array.
    uint32_t NumKeyFrames() const;
    Model* GetModel() const;

    // Links the subtree to a node tree, node by node in the order of the children; false, and reported, where the
    // shapes differ.
    QZBOOL SetNode(ModelNode* pNode);
    // Frees the keys and the children, through the allocator of the animation's model.
    void Term();

    // Steps of the key editing of ModelAnim, which checks the index. Each works on the whole subtree.
    QZBOOL RemoveKeyFrame(uint32_t iKeyFrame);
    QZBOOL CopyKeyFrame(uint32_t iKeyFrame, AnimNode* pDest);
    QZBOOL PasteKeyFrame(AnimNode* pSource, uint32_t iKeyFrame);

    // Reads the keys of this track and, by the shape of the tree under m_pNode (which must be set), of all below it.
    // The track must be empty. False without memory; read errors show in the stream's status.
    QZBOOL Load(ModelStream* pStream);
    QZBOOL Save(ModelStream* pStream); // tool side

    ModelNode* m_pNode;                          // the node that the track drives
    DynArray<NodeKeyFrame, NoCache> m_KeyFrames; // local transforms: node space to the parent node's space
    AnimNode* m_pParent;                         // null at the root
    DynArray<AnimNode*, NoCache> m_Children;     // owned
    ModelAnim* m_pAnim;
};

ZOLT_END_NAMESPACE
