#pragma once

#include "tools/model/convmodel.h"

// What the user is told of a model that gets an animation and is written.

// Whether that is a result of ADDANIMS_OK; any other is shown.
QZBOOL ShowAddResult(uint32_t result, const char* pShownName);
// Writes the model so that either the old file or the whole new one is there, whatever happens. A failure is shown. The
// model isn't needed any longer: it is emptied as ConvModel::SaveAndTerm does.
QZBOOL WriteModelFile(ConvModel* pModel, const char* pFilename, const char* pShownName);
