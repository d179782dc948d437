// The dialog calls of zoltwin32.h over DialogWindow.
#include "win32/dialogtemplates.h"
#include "win32/dialoguser.h"

#include <algorithm>
#include <cstring>

static void OperateUntilEnd(DialogWindow& dialog)
{
    if (dialog.IsOpen() && GetDialogUser())
        GetDialogUser()->OperateDialog(dialog);
    if (dialog.IsOpen())
        dialog.Close();
    // A procedure that doesn't end the dialog on a cancel would leave it up for ever; nobody is there to operate it.
    if (dialog.IsOpen())
        dialog.End(IDCANCEL);
}

extern "C" INT_PTR WINAPI DialogBoxParamA(HINSTANCE, LPCSTR templateName, HWND owner, DLGPROC procedure,
                                          LPARAM initParam)
{
    int control = 0;
    if (owner && !DialogWindow::FromHandle(owner, control))
        return 0;
    const ULONG_PTR id = reinterpret_cast<ULONG_PTR>(templateName);
    const DialogTemplate* dialogTemplate = id <= 0xFFFF ? FindDialogTemplate(static_cast<int>(id)) : nullptr;
    if (!dialogTemplate || !procedure)
        return -1;
    DialogWindow dialog(*dialogTemplate, procedure);
    const auto& controls = dialog.GetControls();
    const auto focus = std::find_if(controls.begin(), controls.end(),
                                    [](const DialogControlState& candidate)
                                    { return candidate.IsUsable() && (candidate.style & WS_TABSTOP) != 0; });
    const HWND focusHandle = focus == controls.end() ? nullptr : dialog.GetControlHandle(focus->id);
    dialog.Send(WM_INITDIALOG, reinterpret_cast<WPARAM>(focusHandle), initParam);
    OperateUntilEnd(dialog);
    return dialog.GetResult();
}

extern "C" HWND WINAPI GetDlgItem(HWND window, int id)
{
    int control = 0;
    const DialogWindow* dialog = DialogWindow::FromHandle(window, control);
    return dialog && control < 0 ? dialog->GetControlHandle(id) : nullptr;
}

extern "C" BOOL WINAPI SetWindowTextA(HWND window, LPCSTR text)
{
    int control = 0;
    DialogWindow* dialog = DialogWindow::FromHandle(window, control);
    if (!dialog)
        return FALSE;
    if (control < 0)
        dialog->SetTitle(text ? text : "");
    else
        dialog->ControlAt(control).text = text ? text : "";
    return TRUE;
}

extern "C" int WINAPI GetWindowTextA(HWND window, LPSTR text, int maxCount)
{
    if (!text || maxCount <= 0)
        return 0;
    text[0] = 0;
    int control = 0;
    DialogWindow* dialog = DialogWindow::FromHandle(window, control);
    if (!dialog)
        return 0;
    const std::string& source = control < 0 ? dialog->GetTitle() : dialog->ControlAt(control).text;
    const size_t length = std::min(source.size(), static_cast<size_t>(maxCount) - 1);
    std::memcpy(text, source.data(), length);
    text[length] = 0;
    return static_cast<int>(length);
}

extern "C" LRESULT WINAPI SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    int index = 0;
    DialogWindow* dialog = DialogWindow::FromHandle(window, index);
    if (!dialog)
        return 0;
    if (index < 0)
        return dialog->Send(message, wParam, lParam);
    DialogControlState& control = dialog->ControlAt(index);
    if (!control.IsCheckable())
        return 0;
    if (message == BM_GETCHECK)
        return static_cast<LRESULT>(control.checked ? BST_CHECKED : BST_UNCHECKED);
    if (message == BM_SETCHECK)
        control.checked = wParam != BST_UNCHECKED;
    return 0;
}

extern "C" BOOL WINAPI EndDialog(HWND window, INT_PTR result)
{
    int control = 0;
    DialogWindow* dialog = DialogWindow::FromHandle(window, control);
    if (!dialog || control >= 0)
        return FALSE;
    dialog->End(result);
    return TRUE;
}
