#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class Model;
class ModelAnim;

// A position on an animation's key list.
struct AnimTime
{
    uint16_t m_iAnim = 0;  // row of the model's m_Anims
    uint16_t m_iFrame = 0; // key index
    uint32_t m_Time = 0;   // for the caller's own use
};

constexpr uint32_t ANIMTRACKER_NO_WEIGHTSET = 0xFFFFFFFFu;

// One animation position: a point between two keys, which may lie in two different animations.
class AnimTracker
{
public:
    // Fills all but the weight set, which stays. Indices beyond 16 bits don't fit: they are cut to their lower 16.
    void Init(Model* pModel, uint32_t iPrevAnim, uint32_t iPrevFrame, uint32_t iCurAnim, uint32_t iCurFrame,
              float percent);
    // True if there is a model, both rows and both keys exist, and 0 <= m_Percent <= 1 (so a NaN is refused).
    QZBOOL IsValid() const;
    // The animation of m_Prev or of m_Cur; a row out of range is a fault of the caller, and reported.
    ModelAnim* GetPrevAnim() const;
    ModelAnim* GetCurAnim() const;

    Model* m_pModel = nullptr;
    AnimTime m_Prev;                                  // the earlier key
    AnimTime m_Cur;                                   // the later key
    float m_Percent = 0.0f;                           // fraction from m_Prev to m_Cur, 0.0 to 1.0
    uint32_t m_iWeightSet = ANIMTRACKER_NO_WEIGHTSET; // row of the model's m_WeightSets; of positions 1 and up
};

ZOLT_END_NAMESPACE
