// The export dialog: template 101 with its controls in tab order, beside IDOK and IDCANCEL. Both the compiler, where
// the dialog is data, and the resource compiler of Windows read this, so it holds macros alone.
#pragma once

#define IDD_EXPORT 101
#define IDC_FILENAME 1000
#define IDC_ANIMNAME 1001
#define IDC_BROWSE 1002
#define IDC_ANIMNAME_LABEL 1003
#define IDC_DEBUGMODE 1004
#define IDC_FORCEOVERWRITE 1005

#define EXPORT_DIALOG_TITLE "ZoltExport"
#define EXPORT_DIALOG_FONT "MS Sans Serif"
#define EXPORT_DIALOG_FONT_POINTS 8
#define EXPORT_DIALOG_WIDTH 298
#define EXPORT_DIALOG_HEIGHT 102
#define EXPORT_DIALOG_STYLE                                                                                            \
    (WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_CENTER | DS_SETFOREGROUND | DS_MODALFRAME | DS_SETFONT)

#define EXPORT_CONTROL (WS_CHILD | WS_VISIBLE | WS_TABSTOP)
#define EXPORT_EDIT (EXPORT_CONTROL | WS_BORDER | ES_AUTOHSCROLL)
#define EXPORT_LABEL (WS_CHILD | WS_VISIBLE | WS_GROUP | SS_RIGHT)
#define EXPORT_SWITCH (EXPORT_CONTROL | BS_AUTOCHECKBOX | BS_LEFTTEXT)

// ROW(text, id, class, style, x, y, width, height), in dialog units.
#define EXPORT_DIALOG_CONTROLS(ROW)                                                                                    \
    ROW("", IDC_FILENAME, "EDIT", EXPORT_EDIT, 75, 7, 162, 14)                                                         \
    ROW("", IDC_ANIMNAME, "EDIT", EXPORT_EDIT, 75, 28, 162, 14)                                                        \
    ROW("&OK", IDOK, "BUTTON", EXPORT_CONTROL | BS_DEFPUSHBUTTON, 94, 81, 50, 14)                                      \
    ROW("&Cancel", IDCANCEL, "BUTTON", EXPORT_CONTROL | BS_PUSHBUTTON, 152, 81, 50, 14)                                \
    ROW("&Browse", IDC_BROWSE, "BUTTON", EXPORT_CONTROL | BS_PUSHBUTTON, 241, 7, 50, 14)                               \
    ROW("Filename", -1, "STATIC", EXPORT_LABEL, 7, 10, 65, 8)                                                          \
    ROW("Animation Name", IDC_ANIMNAME_LABEL, "STATIC", EXPORT_LABEL, 7, 31, 64, 8)                                    \
    ROW("Debug Mode", IDC_DEBUGMODE, "BUTTON", EXPORT_SWITCH, 8, 49, 76, 10)                                           \
    ROW("Force Overwrite", IDC_FORCEOVERWRITE, "BUTTON", EXPORT_SWITCH, 8, 63, 76, 10)
