// Levels of detail.

#include "abctools/edit/editoperation.h"
#include "abctools/edit/modeledit.h"
#include "abctools/edit/simplifiedlod.h"
#include "abctools/format.h"

// So much above the wished number of triangles, a piece that couldn't be simplified further is told.
constexpr double MUCH_MORE = 1.1;

static bool HasLod(ModelEdit& edit, uint32_t iLOD)
{
    if (iLOD != 0 && iLOD < edit.m_Model.NumLODs())
        return true;
    return edit.Fail(iLOD == 0 ? "LOD 0 is the pieces themselves"
                               : "it has " + Counted(edit.m_Model.NumLODs(), "LOD") +
                                     Format(", so there is no LOD %u", iLOD));
}

static void WarnAboutDistances(ModelEdit& edit)
{
    const auto& distances = edit.m_Model.m_LODDistances;
    for (uint32_t i = 1; i < distances.GetSize(); ++i)
    {
        if (distances[i] <= distances[i - 1])
            edit.Warn(Format("the distance of LOD %u isn't beyond that of LOD %u", i + 1, i));
    }
}

static bool AddLod(ModelEdit& edit, const EditValues& values)
{
    const double ratio = values.Number(0);
    if (!(ratio > 0.0 && ratio < 1.0) || values.Number(1) < 0.0)
        return edit.Fail("a LOD keeps a part of the triangles between 0 and 1, from a distance that isn't below 0");
    std::vector<SimplifiedPiece> pieces;
    if (!AddSimplifiedLod(edit.m_Model, ratio, values.Float(1), pieces))
        return edit.Fail("there is no memory for a LOD");
    edit.Say(Format("LOD %u is there from a distance of ", edit.m_Model.NumLODs() - 1) + values[1]);
    for (uint32_t i = 0; i < pieces.size(); ++i)
    {
        const std::string name = edit.m_Model.GetPiece(i)->GetName();
        edit.Say("piece " + name + Format(": %u of ", pieces[i].m_nTrisAfter) +
                 Counted(pieces[i].m_nTrisBefore, "triangle") + Format(", error %.3g", pieces[i].m_Error));
        if (pieces[i].m_nTrisAfter > MUCH_MORE * ratio * pieces[i].m_nTrisBefore + 1.0)
            edit.Warn("the piece " + name + " can't be simplified that far without losing its borders");
    }
    WarnAboutDistances(edit);
    return true;
}

static bool SetLodDistance(ModelEdit& edit, const EditValues& values)
{
    if (!HasLod(edit, values.Count(0)))
        return false;
    if (values.Number(1) < 0.0)
        return edit.Fail("a distance isn't below 0");
    edit.m_Model.m_LODDistances[values.Count(0) - 1] = values.Float(1);
    WarnAboutDistances(edit);
    return edit.Say("LOD " + values[0] + " is used from a distance of " + values[1]);
}

static bool RemoveLod(ModelEdit& edit, const EditValues& values)
{
    const uint32_t iLOD = values.Count(0);
    if (!HasLod(edit, iLOD))
        return false;
    Allocator* pAllocator = edit.m_Model.GetGrowAllocator();
    for (uint32_t i = 0; i < edit.m_Model.NumPieces(); ++i)
        edit.m_Model.GetPiece(i)->m_LODs.Remove(iLOD - 1, pAllocator);
    edit.m_Model.m_LODDistances.Remove(iLOD - 1, pAllocator);
    return edit.Say("LOD " + values[0] + " is gone");
}

std::span<const EditOperation> EditLodOperations()
{
    static const EditOperation operations[] = {
        {"add-lod", "RATIO DISTANCE",
         "Add a coarsest LOD that keeps this part of LOD 0's triangles, used from this distance; tells how far it "
         "strays",
         AddLod},
        {"set-lod-distance", "LOD DISTANCE", "Use a LOD, from 1, from this distance", SetLodDistance},
        {"remove-lod", "LOD", "Remove a LOD, from 1", RemoveLod},
    };
    return operations;
}
