#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"
#include "zoltshared/stdzolt/vector3.h"

ZOLT_BEGIN_NAMESPACE

class ChildInfo;
class Model;
class ModelAnim;
class ModelStream;

// One row of a model's animation table: a plain record that owns nothing.
struct AnimInfo
{
    ModelAnim* m_pAnim = nullptr;             // belongs to the model of the link
    ChildInfo* m_pChildInfo = nullptr;        // the link through which the model has the animation
    Vector3 m_vDims{128.0f, 16.0f, 16.0f};    // goes with the animation, in model units; only kept
    Vector3 m_vTranslation{0.0f, 0.0f, 0.0f}; // model units; added to the root node by the evaluator

    // The model of the animation, which must be the model of the link; otherwise reported, and null.
    Model* GetAnimOwner() const;

    // Reads dimensions and animation; m_pAnim must be set. False as ModelAnim::Load.
    QZBOOL LoadAnimInfo(ModelStream* pStream);
    QZBOOL SaveAnimInfo(ModelStream* pStream); // tool side
};

ZOLT_END_NAMESPACE
