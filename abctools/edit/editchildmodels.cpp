// Child models.

#include "abctools/edit/editoperation.h"
#include "abctools/edit/modeledit.h"
#include "abctools/format.h"
#include "abctools/linkchildmodel.h"
#include "engine/model/src/modelfolder.h"

#include <filesystem>

static bool AddChild(ModelEdit& edit, const EditValues& values)
{
    // An engine looks for the file by its name as seen from the model.
    std::error_code code;
    const std::string name = std::filesystem::proximate(values[0], edit.m_Folder, code).generic_string();
    if (code || !ModelFolder::StaysInside(name.c_str()))
        return edit.Fail("child model " + values[0] + ": it has to be in the folder of the model, or below it");
    if (!edit.IsStorable(name))
        return false;
    if (edit.m_Model.FindChildModelByName(name.c_str(), nullptr))
        return edit.Fail("child model " + name + ": it is linked already");
    std::string error;
    const uint32_t nBefore = edit.m_Model.NumAnims();
    if (!LinkChildModel(edit.m_Model, values[0], name, error))
        return edit.Fail(error);
    edit.Say("the child model " + name + " is linked, with " + Counted(edit.m_Model.NumAnims() - nBefore, "animation"));
    for (uint32_t i = nBefore; i < edit.m_Model.NumAnims(); ++i)
    {
        const char* pName = edit.m_Model.GetAnim(i)->GetName();
        uint32_t iFirst = i;
        edit.m_Model.FindAnim(pName, &iFirst, nullptr);
        if (iFirst != i)
            edit.Warn("the animation " + std::string(pName) + " of child model " + name +
                      " can't be found by its name: there is another one");
    }
    return true;
}

static bool RemoveChild(ModelEdit& edit, const EditValues& values)
{
    uint32_t iChild = 0;
    const ChildInfo* pInfo = edit.m_Model.FindChildModelByName(values[0].c_str(), &iChild);
    if (!pInfo || iChild == 0)
        return edit.Fail("it has no child model " + values[0]);
    Model* pChild = pInfo->m_pModel;
    edit.m_Model.RemoveChildModel(iChild);
    if (pChild && pChild->IsUnreferenced())
        Model::DeleteModel(pChild);
    return edit.Say("the child model " + values[0] + " is gone");
}

std::span<const EditOperation> EditChildOperations()
{
    static const EditOperation operations[] = {
        {"add-child", "FILE",
         "Link another model with the same tree of nodes, to borrow its animations, which are fitted by the bind "
         "poses; it has to be in the folder of the model that is written, or below it",
         AddChild},
        {"remove-child", "NAME", "Remove the link to a child model of that file name", RemoveChild},
    };
    return operations;
}
