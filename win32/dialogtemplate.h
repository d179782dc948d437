// A dialog as data, for platforms without a resource compiler: what a resource script says about a dialog, in a table.
#pragma once

#include "win32/zoltwin32.h"

// A control. `className` is "edit", "button" or "static" (any case), `text` may be null. Positions and sizes are in
// dialog units, `style` is as Win32 has it (the low four bits of a button's style tell its kind).
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the fields stand as in a resource script
struct DialogControl
{
    int id;
    const char* className;
    const char* text;
    short x, y, width, height;
    DWORD style;
};

// The dialog and its controls in tab order.
struct DialogTemplate
{
    WORD id;
    WORD language;
    const char* title;
    const char* fontName;
    WORD fontPoints;
    short x, y, width, height;
    DWORD style;
    const DialogControl* controls;
    int controlCount;
};

// Makes the template known to DialogBoxParamA under its id, in place of an earlier one with that id. Only the pointer
// is kept: the template must stay valid until it is replaced or unregistered.
void RegisterDialogTemplate(const DialogTemplate* dialog);

// Forgets the template if it is the one known under its id; for a module that is unloaded.
void UnregisterDialogTemplate(const DialogTemplate* dialog);
