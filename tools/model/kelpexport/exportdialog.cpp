#include "tools/model/kelpexport/exportdialog.h"

#include "tools/model/kelpexport/libraryentry.h"
#include "tools/model/kelpexport/messages.h"

#include <cstring>

static constexpr int TEXT_SIZE = 512;

// What the dialog edits while it is up.
static OwnedString* s_pFilename = nullptr;
static OwnedString* s_pAnimName = nullptr;
static int32_t* s_pDebugMode = nullptr;
static int32_t* s_pForceOverwrite = nullptr;

static void SetCheck(HWND dialog, int id, int32_t value)
{
    SendMessageA(GetDlgItem(dialog, id), BM_SETCHECK, static_cast<WPARAM>(value), 0);
}

static int32_t GetCheck(HWND dialog, int id)
{
    return static_cast<int32_t>(SendMessageA(GetDlgItem(dialog, id), BM_GETCHECK, 0, 0));
}

// False if the text is lost for want of memory.
static bool TakeText(HWND dialog, int id, OwnedString* pText)
{
    char text[TEXT_SIZE] = "";
    GetWindowTextA(GetDlgItem(dialog, id), text, TEXT_SIZE);
    pText->Set(text);
    return !*text || *pText->GetString();
}

static void BrowseForFile(HWND dialog)
{
    char filter[1024] = "ABC Files (*.abc)\0*.abc\0All Files (*.*)\0*.*\0"; // one more zero byte ends the list
    char path[TEXT_SIZE] = "";
    HWND edit = GetDlgItem(dialog, IDC_FILENAME);
    GetWindowTextA(edit, path, TEXT_SIZE);
    OPENFILENAMEA question;
    std::memset(&question, 0, sizeof(question));
    question.lStructSize = sizeof(question);
    question.lpstrFilter = filter;
    question.nFilterIndex = 1;
    question.lpstrFile = path;
    question.nMaxFile = TEXT_SIZE;
    question.lpstrTitle = "Select file...";
    // No OFN_OVERWRITEPROMPT: what to do with a file that is there is asked when the dialog is done.
    question.Flags = OFN_EXPLORER | OFN_PATHMUSTEXIST;
    question.lpstrDefExt = "abc";
    if (GetSaveFileNameA(&question))
        SetWindowTextA(edit, path);
}

INT_PTR CALLBACK ExportDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM /*lParam*/)
{
    switch (message)
    {
    case WM_INITDIALOG:
        SetWindowTextA(GetDlgItem(dialog, IDC_FILENAME), s_pFilename->GetString());
        SetWindowTextA(GetDlgItem(dialog, IDC_ANIMNAME), s_pAnimName->GetString());
        SetCheck(dialog, IDC_DEBUGMODE, *s_pDebugMode);
        SetCheck(dialog, IDC_FORCEOVERWRITE, *s_pForceOverwrite);
        return 1;
    case WM_COMMAND:
        switch (LOWORD(wParam))
        {
        case IDOK:
            if (!TakeText(dialog, IDC_FILENAME, s_pFilename) || !TakeText(dialog, IDC_ANIMNAME, s_pAnimName))
            {
                ShowOutOfMemory();
                EndDialog(dialog, IDCANCEL);
                break;
            }
            *s_pDebugMode = GetCheck(dialog, IDC_DEBUGMODE);
            *s_pForceOverwrite = GetCheck(dialog, IDC_FORCEOVERWRITE);
            EndDialog(dialog, IDOK);
            break;
        case IDCANCEL:
            EndDialog(dialog, IDCANCEL);
            break;
        case IDC_BROWSE:
            BrowseForFile(dialog);
            break;
        default:
            break;
        }
        return 1;
    default:
        return 0;
    }
}

int ShowExportDialog(OwnedString* pFilename, OwnedString* pAnimName, int32_t* pDebugMode, int32_t* pForceOverwrite)
{
    s_pFilename = pFilename;
    s_pAnimName = pAnimName;
    s_pDebugMode = pDebugMode;
    s_pForceOverwrite = pForceOverwrite;
    return DialogBoxParamA(g_ModuleHandle, MAKEINTRESOURCEA(IDD_EXPORT), nullptr, ExportDlgProc, 0) == 1 ? 1 : 0;
}
