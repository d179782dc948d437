// Animations.

#include "abctools/edit/cutanim.h"
#include "abctools/edit/editoperation.h"
#include "abctools/edit/loopgap.h"
#include "abctools/edit/modeledit.h"
#include "abctools/edit/reducekeys.h"
#include "abctools/edit/reverseanim.h"
#include "abctools/format.h"

#include <algorithm>

static std::string NumberText(double value)
{
    return Format("%.3g", value);
}

// A name that an animation can get; pSelf is the one that has it already, if any.
static bool IsNewAnimName(ModelEdit& edit, const std::string& name, const ModelAnim* pSelf)
{
    return edit.IsStorable(name) && edit.IsNewName("animation", name, MODEL_STRING_BUFFER - 1,
                                                   edit.m_Model.FindAnim(name.c_str(), nullptr, nullptr), pSelf);
}

static bool RenameAnim(ModelEdit& edit, const EditValues& values)
{
    ModelAnim* pAnim = edit.FindOwnAnim(values[0], nullptr);
    if (!pAnim || !IsNewAnimName(edit, values[1], pAnim))
        return false;
    pAnim->SetName(values[1].c_str());
    return edit.Say("the animation " + values[0] + " is called " + values[1]);
}

static bool CopyAnim(ModelEdit& edit, const EditValues& values)
{
    uint32_t iAnim = 0;
    ModelAnim* pSource = edit.FindOwnAnim(values[0], &iAnim);
    if (!pSource || !IsNewAnimName(edit, values[1], nullptr))
        return false;
    Allocator* pAllocator = edit.m_Model.GetGrowAllocator();
    const AnimInfo row = *edit.m_Model.GetAnimInfo(iAnim);
    ModelAnim* pAnim = AllocNew<ModelAnim>(*pAllocator, &edit.m_Model);
    AnimInfo* pInfo = pAnim && pAnim->CopyFrom(pSource) ? edit.m_Model.AddAnim(pAnim) : nullptr;
    if (!pInfo)
    {
        if (pAnim)
            FreeObject(*pAllocator, pAnim);
        return edit.Fail("there is no memory for an animation");
    }
    pAnim->SetName(values[1].c_str());
    pInfo->m_vDims = row.m_vDims;
    pInfo->m_vTranslation = row.m_vTranslation;
    return edit.Say("the animation " + values[1] + " is a copy of " + values[0]);
}

static bool RemoveAnim(ModelEdit& edit, const EditValues& values)
{
    uint32_t iAnim = 0;
    if (!edit.FindOwnAnim(values[0], &iAnim))
        return false;
    edit.m_Model.RemoveOwnAnim(iAnim);
    return edit.Say("the animation " + values[0] + " is gone");
}

// Own rows stand ahead of those of child models.
static bool MoveAnim(ModelEdit& edit, const EditValues& values)
{
    uint32_t iFrom = 0;
    const uint32_t iTo = values.Count(1);
    const uint32_t nOwn = edit.m_Model.CalcNumOwnAnims();
    if (!edit.FindOwnAnim(values[0], &iFrom))
        return false;
    if (iTo >= nOwn)
        return edit.Fail("it has " + Counted(nOwn, "animation") + " of its own, so there is no place " + values[1]);
    AnimInfo* pRows = edit.m_Model.m_Anims.GetArray();
    if (iFrom < iTo)
        std::rotate(pRows + iFrom, pRows + iFrom + 1, pRows + iTo + 1);
    else
        std::rotate(pRows + iTo, pRows + iFrom, pRows + iFrom + 1);
    return edit.Say("the animation " + values[0] + " stands at place " + values[1]);
}

static bool SetRowVector(ModelEdit& edit, const EditValues& values, Vector3 AnimInfo::*pVector, const char* pWhat)
{
    AnimInfo* pInfo = edit.FindAnim(values[0], nullptr);
    if (!pInfo)
        return false;
    (pInfo->*pVector).Set(values.Float(1), values.Float(2), values.Float(3));
    return edit.Say(std::string("the ") + pWhat + " of animation " + values[0] + " is " + values[1] + ", " + values[2] +
                    ", " + values[3]);
}

static bool SetDims(ModelEdit& edit, const EditValues& values)
{
    // Those of a child model's animations aren't kept in this model's file.
    return edit.FindOwnAnim(values[0], nullptr) && SetRowVector(edit, values, &AnimInfo::m_vDims, "size");
}

static bool SetRootOffset(ModelEdit& edit, const EditValues& values)
{
    return SetRowVector(edit, values, &AnimInfo::m_vTranslation, "root offset");
}

static bool SetKeyCommand(ModelEdit& edit, const EditValues& values)
{
    ModelAnim* pAnim = edit.FindOwnAnim(values[0], nullptr);
    const uint32_t iKey = values.Count(1);
    if (!pAnim || !edit.IsStorable(values[2]))
        return false;
    if (iKey >= pAnim->NumKeyFrames())
        return edit.Fail("the animation " + values[0] + " has " + Counted(pAnim->NumKeyFrames(), "key") +
                         ", so there is no key " + values[1]);
    pAnim->m_KeyFrames[iKey].m_pString = edit.m_Model.AddString(values[2].c_str());
    return edit.Say("key " + values[1] + " of animation " + values[0] +
                    (values[2].empty() ? " has no command" : " has the command " + values[2]));
}

static bool CutAnimRange(ModelEdit& edit, const EditValues& values)
{
    ModelAnim* pAnim = edit.FindOwnAnim(values[0], nullptr);
    if (!pAnim)
        return false;
    const uint32_t from = values.Count(1);
    const uint32_t to = values.Count(2);
    if (from >= to || to > pAnim->GetAnimTime())
        return edit.Fail(Format("a range of animation %s goes from an earlier to a later time within its %u ms, not "
                                "from %u to %u",
                                values[0].c_str(), pAnim->GetAnimTime(), from, to));
    if (!CutAnim(*pAnim, from, to))
        return edit.Fail("the animation " + values[0] + " can't be cut");
    return edit.Say("the animation " + values[0] + " is what was " + values[1] + " to " + values[2] + " ms, " +
                    Counted(pAnim->NumKeyFrames(), "key"));
}

static bool ReverseAnimOf(ModelEdit& edit, const EditValues& values)
{
    ModelAnim* pAnim = edit.FindOwnAnim(values[0], nullptr);
    if (!pAnim)
        return false;
    if (!ReverseAnim(*pAnim))
        return edit.Fail("the animation " + values[0] + " can't be turned round");
    return edit.Say("the animation " + values[0] + " runs backwards");
}

static bool CheckLoop(ModelEdit& edit, const EditValues& values)
{
    uint32_t iAnim = 0;
    LoopGap gap;
    if (!edit.FindAnim(values[0], &iAnim))
        return false;
    if (!FindLoopGap(edit.m_Model, iAnim, gap))
        return edit.Fail("the animation " + values[0] + " can't be evaluated");
    const std::string text = gap.m_Where.empty() ? " ends where it began"
                                                 : " ends " + NumberText(gap.m_Distance) + " from where it began (" +
                                                       gap.m_Where + ", seen from the root)";
    if (gap.m_Distance > values.Number(1))
        return edit.Fail("the animation " + values[0] + text + ", and " + values[1] + " is allowed");
    return edit.Say("the animation " + values[0] + text + "; its root goes " + NumberText(gap.m_RootTravel) +
                    " and turns " + NumberText(gap.m_RootTurn) + " degrees");
}

// The animation is one of so many.
static bool ReduceKeysOf(ModelEdit& edit, const std::string& name, double tolerance, uint32_t iOf, uint32_t nOf)
{
    uint32_t iAnim = 0;
    KeyReduction reduction;
    if (!edit.FindOwnAnim(name, &iAnim))
        return false;
    const auto progress = [&](size_t nDone, size_t nAll) { edit.m_Progress(iOf * nAll + nDone, nOf * nAll); };
    if (!ReduceKeys(edit.m_Model, iAnim, tolerance, progress, reduction))
        return edit.Fail("the animation " + name + " can't be evaluated");
    return edit.Say("the animation " + name + Format(" has %u of ", reduction.m_nAfter) +
                    Counted(reduction.m_nBefore, "key") + ", and nothing strays further than " +
                    NumberText(reduction.m_Strays));
}

static bool ReduceKeysTo(ModelEdit& edit, const EditValues& values)
{
    const double tolerance = values.Number(1);
    if (tolerance < 0.0)
        return edit.Fail("a tolerance isn't below 0");
    if (values[0] != "*")
        return ReduceKeysOf(edit, values[0], tolerance, 0, 1);
    const uint32_t nAnims = edit.m_Model.CalcNumOwnAnims();
    for (uint32_t i = 0; i < nAnims; ++i)
    {
        if (!ReduceKeysOf(edit, edit.m_Model.GetAnim(i)->GetName(), tolerance, i, nAnims))
            return false;
    }
    return true;
}

std::span<const EditOperation> EditAnimOperations()
{
    static const EditOperation operations[] = {
        {"rename-anim", "OLD NEW", "Call an animation otherwise", RenameAnim},
        {"copy-anim", "NAME NEW", "Add a copy of an animation, to cut another range out of it for example", CopyAnim},
        {"remove-anim", "NAME", "Remove an animation", RemoveAnim},
        {"move-anim", "NAME PLACE", "Put an animation at a place, from 0, among the model's own", MoveAnim},
        {"set-dims", "ANIM X Y Z", "Give an animation its size, m_vDims", SetDims},
        {"set-root-offset", "ANIM X Y Z",
         "Give an animation, also a child model's, its root offset: what the root node is moved by while it plays",
         SetRootOffset},
        {"set-key-command", "ANIM KEY TEXT", "Give a key, from 0, its command string; an empty text takes it away",
         SetKeyCommand},
        {"cut-anim", "ANIM FROM TO", "Keep what an animation plays between two times in milliseconds", CutAnimRange},
        {"reverse-anim", "ANIM", "Make an animation run backwards", ReverseAnimOf},
        {"check-loop", "ANIM TOLERANCE",
         "Fail if the last pose is further than that from the first, at any node or vertex, seen from the root node",
         CheckLoop},
        {"reduce-keys", "ANIM TOLERANCE",
         "Take out keys that aren't needed: no node, vertex or socket goes further than that, in model units, from "
         "where it was at any millisecond; * is each animation",
         ReduceKeysTo},
    };
    return operations;
}
