#include "win32/dialogwindow.h"

#include <algorithm>
#include <cctype>

// The innermost open dialog. Dialogs are modal, so the open ones form a stack.
static DialogWindow* s_Innermost = nullptr;

// The next window handle, counted up for good so that a handle kept too long never meets another window.
static UINT_PTR s_NextHandle = 0x10000;

static std::string LowerCase(const char* text)
{
    std::string lower = text ? text : "";
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

bool DialogControlState::IsCheckable() const
{
    constexpr DWORD CHECKABLE_KINDS = 0x27C; // check boxes 2, 3, 5, 6, radio buttons 4, 9
    return IsButton() && ((CHECKABLE_KINDS >> (style & 0xF)) & 1) != 0;
}

DialogWindow::DialogWindow(const DialogTemplate& dialogTemplate, DLGPROC procedure)
    : m_TemplateId(dialogTemplate.id), m_Title(dialogTemplate.title ? dialogTemplate.title : ""),
      m_Procedure(procedure), m_FirstHandle(s_NextHandle), m_Outer(s_Innermost)
{
    for (int i = 0; i < dialogTemplate.controlCount; i++)
    {
        const DialogControl& control = dialogTemplate.controls[i];
        DialogControlState state;
        state.id = control.id;
        state.className = LowerCase(control.className);
        state.text = control.text ? control.text : "";
        state.x = control.x;
        state.y = control.y;
        state.width = control.width;
        state.height = control.height;
        state.style = control.style;
        m_Controls.push_back(state);
    }
    s_NextHandle += m_Controls.size() + 1;
    s_Innermost = this;
}

DialogWindow::~DialogWindow()
{
    s_Innermost = m_Outer;
}

int DialogWindow::IndexOf(int id) const
{
    for (size_t i = 0; i < m_Controls.size(); i++)
    {
        if (m_Controls[i].id == id)
            return static_cast<int>(i);
    }
    return -1;
}

const DialogControlState* DialogWindow::FindControl(int id) const
{
    const int index = IndexOf(id);
    return index < 0 ? nullptr : &m_Controls[static_cast<size_t>(index)];
}

std::string DialogWindow::GetText(int id) const
{
    const DialogControlState* control = FindControl(id);
    return control ? control->text : std::string();
}

bool DialogWindow::IsChecked(int id) const
{
    const DialogControlState* control = FindControl(id);
    return control && control->checked;
}

bool DialogWindow::Type(int id, const std::string& text)
{
    const int index = IndexOf(id);
    if (!m_IsOpen || index < 0 || !ControlAt(index).IsEdit() || !ControlAt(index).IsUsable())
        return false;
    ControlAt(index).text = text.c_str(); // a text ends at its first zero
    return true;
}

bool DialogWindow::SetCheck(int id, bool checked)
{
    const int index = IndexOf(id);
    if (!m_IsOpen || index < 0 || !ControlAt(index).IsCheckable() || !ControlAt(index).IsUsable())
        return false;
    return ControlAt(index).checked == checked || (Press(id) && ControlAt(index).checked == checked);
}

bool DialogWindow::Press(int id)
{
    const int index = IndexOf(id);
    if (!m_IsOpen || index < 0 || !ControlAt(index).IsButton() || !ControlAt(index).IsUsable())
        return false;
    DialogControlState& control = ControlAt(index);
    if ((control.style & 0xF) == BS_AUTOCHECKBOX)
        control.checked = !control.checked;
    Send(WM_COMMAND, MAKEWPARAM(LOWORD(static_cast<ULONG_PTR>(id)), BN_CLICKED),
         reinterpret_cast<LPARAM>(HandleAt(index)));
    return true;
}

bool DialogWindow::Close()
{
    if (!m_IsOpen)
        return false;
    Send(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(GetControlHandle(IDCANCEL)));
    return true;
}

// Index -1 is the dialog itself.
HWND DialogWindow::HandleAt(int index) const
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is a number in a pointer's clothes
    return reinterpret_cast<HWND>(m_FirstHandle + static_cast<UINT_PTR>(index + 1));
}

HWND DialogWindow::GetHandle() const
{
    return HandleAt(-1);
}

HWND DialogWindow::GetControlHandle(int id) const
{
    const int index = IndexOf(id);
    return index < 0 ? nullptr : HandleAt(index);
}

INT_PTR DialogWindow::Send(UINT message, WPARAM wParam, LPARAM lParam)
{
    return m_Procedure(GetHandle(), message, wParam, lParam);
}

void DialogWindow::End(INT_PTR result)
{
    m_IsOpen = false;
    m_Result = result;
}

DialogWindow* DialogWindow::FromHandle(HWND window, int& control)
{
    const UINT_PTR handle = reinterpret_cast<UINT_PTR>(window);
    for (DialogWindow* dialog = s_Innermost; dialog; dialog = dialog->m_Outer)
    {
        if (handle >= dialog->m_FirstHandle && handle - dialog->m_FirstHandle <= dialog->m_Controls.size())
        {
            control = static_cast<int>(handle - dialog->m_FirstHandle) - 1;
            return dialog;
        }
    }
    return nullptr;
}
