#include "win32/dialogtemplates.h"

#include <algorithm>
#include <vector>

static std::vector<const DialogTemplate*>& Templates()
{
    // Never destroyed: a module may unregister its template while the process is ending.
    static auto* templates = new std::vector<const DialogTemplate*>;
    return *templates;
}

void RegisterDialogTemplate(const DialogTemplate* dialog)
{
    if (!dialog)
        return;
    UnregisterDialogTemplate(FindDialogTemplate(dialog->id));
    Templates().push_back(dialog);
}

void UnregisterDialogTemplate(const DialogTemplate* dialog)
{
    std::erase(Templates(), dialog);
}

const DialogTemplate* FindDialogTemplate(int id)
{
    const auto& templates = Templates();
    const auto found = std::find_if(templates.begin(), templates.end(),
                                    [id](const DialogTemplate* candidate) { return candidate->id == id; });
    return found == templates.end() ? nullptr : *found;
}
