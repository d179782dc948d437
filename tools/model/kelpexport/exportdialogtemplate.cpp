// The dialog as data, where there is no resource compiler.
#ifndef _WIN32

#include "tools/model/kelpexport/exportdialog.h"
#include "win32/dialogtemplate.h"

#define DATA_ROW(text, id, kind, style, x, y, width, height) {id, kind, text, x, y, width, height, style},

static const DialogControl s_Controls[] = {EXPORT_DIALOG_CONTROLS(DATA_ROW)};

const DialogTemplate g_ExportDialogTemplate = {
    IDD_EXPORT,
    1033, // English, United States
    EXPORT_DIALOG_TITLE,
    EXPORT_DIALOG_FONT,
    EXPORT_DIALOG_FONT_POINTS,
    0,
    0,
    EXPORT_DIALOG_WIDTH,
    EXPORT_DIALOG_HEIGHT,
    EXPORT_DIALOG_STYLE,
    s_Controls,
    sizeof(s_Controls) / sizeof(s_Controls[0]),
};

#endif
