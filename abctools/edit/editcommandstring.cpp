// The command string.

#include "abctools/edit/commandtext.h"
#include "abctools/edit/editoperation.h"
#include "abctools/edit/modeledit.h"

static bool StoreCommand(ModelEdit& edit, const std::string& text)
{
    if (!edit.IsStorable(text))
        return false;
    edit.m_Model.m_CommandString = edit.m_Model.AddString(text.c_str());
    edit.m_bCommandEdited = true;
    return edit.Say(text.empty() ? "the command string is empty" : "the command string is " + text);
}

static bool SetCommandText(ModelEdit& edit, const EditValues& values)
{
    return StoreCommand(edit, values[0]);
}

static bool AddCommandLine(ModelEdit& edit, const EditValues& values)
{
    return StoreCommand(edit, AddCommand(edit.m_Model.m_CommandString, values[0]));
}

static bool RemoveKeyword(ModelEdit& edit, const EditValues& values)
{
    uint32_t nRemoved = 0;
    const std::string text = RemoveCommands(edit.m_Model.m_CommandString, values[0], &nRemoved);
    if (nRemoved == 0)
        return edit.Fail("its command string has no " + values[0]);
    return StoreCommand(edit, text);
}

std::span<const EditOperation> EditCommandOperations()
{
    static const EditOperation operations[] = {
        {"set-command", "TEXT", "Make this the command string", SetCommandText},
        {"add-command", "LINE", "Put a further command at the end of the command string", AddCommandLine},
        {"remove-command", "KEYWORD", "Take the commands with this keyword out of the command string", RemoveKeyword},
    };
    return operations;
}
