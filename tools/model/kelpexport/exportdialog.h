#pragma once

#include "tools/model/kelpexport/exportdialogresource.h"
#include "zoltshared/stdzolt/ownedstring.h"
#include "zoltshared/stdzolt/qzbool.h"

#include "win32/zoltwin32.h"

#include <cstdint>

// On Windows the template is a resource (kelpexport.rc).
#ifndef _WIN32
struct DialogTemplate;
extern const DialogTemplate g_ExportDialogTemplate;
#endif

// Shows the dialog, filled with the values given. 1 if it ended with OK: only then are the values changed, the texts
// cut to 511 characters. Else 0; when memory is short at the OK, which a box tells, the texts may be lost. One dialog
// at a time.
int ShowExportDialog(OwnedString* pFilename, OwnedString* pAnimName, int32_t* pDebugMode, int32_t* pForceOverwrite);

INT_PTR CALLBACK ExportDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
