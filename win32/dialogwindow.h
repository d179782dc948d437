// A dialog that is open, as data: what its user sees, and what a user can do with it.
#pragma once

#include "win32/dialogtemplate.h"

#include <string>
#include <vector>

// A control as it stands now.
struct DialogControlState
{
    int id = 0;
    std::string className; // lower case
    std::string text;      // with its '&' if it has a mnemonic
    bool checked = false;
    short x = 0, y = 0, width = 0, height = 0;
    DWORD style = 0;

    bool IsEdit() const { return className == "edit"; }
    bool IsButton() const { return className == "button"; }
    // A button that shows a check: check boxes and radio buttons of all kinds.
    bool IsCheckable() const;
    // Visible and not disabled.
    bool IsUsable() const { return (style & (WS_VISIBLE | WS_DISABLED)) == WS_VISIBLE; }
};

class DialogWindow
{
public:
    DialogWindow(const DialogTemplate& dialogTemplate, DLGPROC procedure);
    ~DialogWindow();
    DialogWindow(const DialogWindow&) = delete;
    DialogWindow& operator=(const DialogWindow&) = delete;

    // What is seen. Controls stand in tab order; of several with one id the first counts.
    int GetTemplateId() const { return m_TemplateId; }
    const std::string& GetTitle() const { return m_Title; }
    const std::vector<DialogControlState>& GetControls() const { return m_Controls; }
    const DialogControlState* FindControl(int id) const; // null when there is none
    std::string GetText(int id) const;                   // empty when there is no such control
    bool IsChecked(int id) const;                        // false when there is no such control
    bool IsOpen() const { return m_IsOpen; }

    // What a user does. Each returns false, and does nothing, when the dialog has ended or the control isn't there,
    // is of another kind, hidden or disabled.

    // Replaces the text of an edit control.
    bool Type(int id, const std::string& text);
    // Brings a check box into the state, by a click if it isn't there yet.
    bool SetCheck(int id, bool checked);
    // Clicks a button: an automatic check box turns over, then the procedure gets WM_COMMAND with the id in the low
    // word. The procedure may open further boxes before this returns.
    bool Press(int id);
    // The window's close button: the procedure gets WM_COMMAND with IDCANCEL. A dialog whose procedure ignores it
    // stays open.
    bool Close();

    // For the calls of zoltwin32.h: window handles stand for the dialog and for its controls, and are never used twice.
    HWND GetHandle() const;
    HWND GetControlHandle(int id) const; // null when there is no such control
    INT_PTR Send(UINT message, WPARAM wParam, LPARAM lParam);
    void End(INT_PTR result);
    INT_PTR GetResult() const { return m_Result; }
    void SetTitle(const char* title) { m_Title = title; }

    // The open dialog that a handle belongs to, with the control's index in `control` (-1: the dialog itself). Null
    // for a handle of no open dialog.
    static DialogWindow* FromHandle(HWND window, int& control);
    DialogControlState& ControlAt(int index) { return m_Controls[static_cast<size_t>(index)]; }

private:
    int IndexOf(int id) const;
    HWND HandleAt(int index) const;

    int m_TemplateId;
    std::string m_Title;
    std::vector<DialogControlState> m_Controls;
    DLGPROC m_Procedure;
    UINT_PTR m_FirstHandle; // the dialog's own; those of the controls follow
    INT_PTR m_Result = 0;
    bool m_IsOpen = true;
    DialogWindow* m_Outer; // the dialog that was open before this one
};
