// Pieces.

#include "abctools/edit/editoperation.h"
#include "abctools/edit/modeledit.h"

static bool RenamePiece(ModelEdit& edit, const EditValues& values)
{
    ModelPiece* pPiece = edit.FindPiece(values[0], nullptr);
    if (!pPiece || !edit.IsNewName("piece", values[1], MODELPIECE_NAME_SIZE - 1,
                                   edit.m_Model.FindPiece(values[1].c_str(), nullptr), pPiece))
        return false;
    pPiece->SetName(values[1].c_str());
    return edit.Say("the piece " + values[0] + " is called " + values[1]);
}

static bool SetTexture(ModelEdit& edit, const EditValues& values)
{
    ModelPiece* pPiece = edit.FindPiece(values[0], nullptr);
    if (!pPiece)
        return false;
    if (values.Count(1) > UINT16_MAX)
        return edit.Fail("a texture index goes up to " + std::to_string(UINT16_MAX));
    pPiece->m_iTexture = values.Count(1);
    return edit.Say("the piece " + values[0] + " has the texture " + values[1]);
}

static bool RemovePiece(ModelEdit& edit, const EditValues& values)
{
    uint32_t iPiece = 0;
    ModelPiece* pPiece = edit.FindPiece(values[0], &iPiece);
    if (!pPiece)
        return false;
    // Its weights stay in the common store, where no vertex points at them, so that no save writes them.
    FreeObject(*edit.m_Model.GetAllocator(), pPiece);
    edit.m_Model.m_Pieces.Remove(iPiece, edit.m_Model.GetGrowAllocator());
    edit.m_Model.Precalc(QZFALSE);
    return edit.Say("the piece " + values[0] + " is gone");
}

std::span<const EditOperation> EditPieceOperations()
{
    static const EditOperation operations[] = {
        {"rename-piece", "OLD NEW", "Call a piece otherwise", RenamePiece},
        {"set-texture", "PIECE TEXTURE", "Give a piece its texture index", SetTexture},
        {"remove-piece", "PIECE", "Remove a piece", RemovePiece},
    };
    return operations;
}
