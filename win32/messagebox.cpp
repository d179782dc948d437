#include "win32/dialoguser.h"

extern "C" int WINAPI MessageBoxA(HWND, LPCSTR text, LPCSTR caption, UINT type)
{
    const bool yesNo = (type & 0xF) == MB_YESNO;
    int answer = yesNo ? IDNO : IDOK;
    if (GetDialogUser())
        answer =
            GetDialogUser()->AnswerMessageBox(text ? text : "", caption ? caption : "Error", yesNo ? MB_YESNO : MB_OK);
    if (!yesNo)
        return IDOK; // all that an OK box can give
    return answer == IDYES || answer == IDCANCEL ? answer : IDNO;
}
