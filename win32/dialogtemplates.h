// The templates that DialogBoxParamA can show.
#pragma once

#include "win32/dialogtemplate.h"

// The template that is registered under the id, or null.
const DialogTemplate* FindDialogTemplate(int id);
