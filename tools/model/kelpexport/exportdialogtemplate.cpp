// The dialog as data, where there is no resource compiler.
#ifndef _WIN32

#include "tools/model/kelpexport/exportdialog.h"
#include "win32/dialogtemplate.h"

static constexpr DWORD CONTROL = WS_CHILD | WS_VISIBLE | WS_TABSTOP;
static constexpr DWORD EDIT = CONTROL | WS_BORDER | ES_AUTOHSCROLL;
static constexpr DWORD LABEL = WS_CHILD | WS_VISIBLE | WS_GROUP | SS_RIGHT;
static constexpr DWORD SWITCH = CONTROL | BS_AUTOCHECKBOX | BS_LEFTTEXT;

static const DialogControl s_Controls[] = {
    {IDC_FILENAME, "edit", nullptr, 75, 7, 162, 14, EDIT},
    {IDC_ANIMNAME, "edit", nullptr, 75, 28, 162, 14, EDIT},
    {IDOK, "button", "&OK", 94, 81, 50, 14, CONTROL | BS_DEFPUSHBUTTON},
    {IDCANCEL, "button", "&Cancel", 152, 81, 50, 14, CONTROL | BS_PUSHBUTTON},
    {IDC_BROWSE, "button", "&Browse", 241, 7, 50, 14, CONTROL | BS_PUSHBUTTON},
    {-1, "static", "Filename", 7, 10, 65, 8, LABEL},
    {IDC_ANIMNAME_LABEL, "static", "Animation Name", 7, 31, 64, 8, LABEL},
    {IDC_DEBUGMODE, "button", "Debug Mode", 8, 49, 76, 10, SWITCH},
    {IDC_FORCEOVERWRITE, "button", "Force Overwrite", 8, 63, 76, 10, SWITCH},
};

const DialogTemplate g_ExportDialogTemplate = {
    IDD_EXPORT,
    1033, // English, United States
    "ZoltExport",
    "MS Sans Serif",
    8,
    0,
    0,
    298,
    102,
    WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_CENTER | DS_SETFOREGROUND | DS_MODALFRAME | DS_SETFONT,
    s_Controls,
    sizeof(s_Controls) / sizeof(s_Controls[0]),
};

#endif
