// The Win32 calls, types and constants that the plug-in uses: the dialog, message boxes, the file chooser, the
// registry, the module handle. On Windows they are the system's; elsewhere the library zoltwin32 implements the
// ones that are declared here.
//
// Texts are byte strings (UTF-8 off Windows). The calls aren't thread-safe: one thread, the host's.
#pragma once

#ifdef _WIN32

#include <windows.h>

#include <commdlg.h>

#else

#include <cstdint>

#define CALLBACK
#define WINAPI

using BOOL = int;
using BYTE = unsigned char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using LSTATUS = LONG;
using REGSAM = DWORD;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using LPVOID = void*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using LPSTR = char*;
using LPCSTR = const char*;

using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HWND = struct HWND__*;
using HKEY = struct HKEY__*;
using PHKEY = HKEY*;
using LPSECURITY_ATTRIBUTES = struct SECURITY_ATTRIBUTES_*;

using DLGPROC = INT_PTR(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using LPOFNHOOKPROC = UINT_PTR(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// Results of the registry calls.
constexpr LONG ERROR_SUCCESS = 0;
constexpr LONG ERROR_FILE_NOT_FOUND = 2;
constexpr LONG ERROR_ACCESS_DENIED = 5;
constexpr LONG ERROR_INVALID_HANDLE = 6;
constexpr LONG ERROR_OUTOFMEMORY = 14;
constexpr LONG ERROR_INVALID_PARAMETER = 87;
constexpr LONG ERROR_BUSY = 170;
constexpr LONG ERROR_MORE_DATA = 234;
constexpr LONG ERROR_BADDB = 1009;
constexpr LONG ERROR_REGISTRY_CORRUPT = 1015;
constexpr LONG ERROR_REGISTRY_IO_FAILED = 1016;

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;
constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;

constexpr UINT WM_INITDIALOG = 272;
constexpr UINT WM_COMMAND = 273;
constexpr UINT BM_GETCHECK = 240;
constexpr UINT BM_SETCHECK = 241;
constexpr WPARAM BST_UNCHECKED = 0;
constexpr WPARAM BST_CHECKED = 1;
constexpr WORD BN_CLICKED = 0;

constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;
constexpr UINT MB_OK = 0;
constexpr UINT MB_YESNO = 4;

constexpr DWORD OFN_OVERWRITEPROMPT = 0x2;
constexpr DWORD OFN_PATHMUSTEXIST = 0x800;
constexpr DWORD OFN_EXPLORER = 0x80000;

constexpr DWORD WS_POPUP = 0x80000000;
constexpr DWORD WS_CHILD = 0x40000000;
constexpr DWORD WS_VISIBLE = 0x10000000;
constexpr DWORD WS_DISABLED = 0x08000000;
constexpr DWORD WS_CAPTION = 0x00C00000;
constexpr DWORD WS_BORDER = 0x00800000;
constexpr DWORD WS_SYSMENU = 0x00080000;
constexpr DWORD WS_GROUP = 0x00020000;
constexpr DWORD WS_TABSTOP = 0x00010000;
constexpr DWORD DS_SETFONT = 0x40;
constexpr DWORD DS_MODALFRAME = 0x80;
constexpr DWORD DS_SETFOREGROUND = 0x200;
constexpr DWORD DS_CENTER = 0x800;
constexpr DWORD ES_AUTOHSCROLL = 0x80;
constexpr DWORD SS_RIGHT = 2;
constexpr DWORD BS_PUSHBUTTON = 0;
constexpr DWORD BS_DEFPUSHBUTTON = 1;
constexpr DWORD BS_AUTOCHECKBOX = 3;
constexpr DWORD BS_LEFTTEXT = 0x20;

constexpr WORD LOWORD(ULONG_PTR value)
{
    return static_cast<WORD>(value & 0xFFFF);
}
constexpr WORD HIWORD(ULONG_PTR value)
{
    return static_cast<WORD>((value >> 16) & 0xFFFF);
}
constexpr WPARAM MAKEWPARAM(WORD low, WORD high)
{
    return low | (static_cast<WPARAM>(high) << 16);
}

// A resource id in the place of a resource name.
inline LPCSTR MAKEINTRESOURCEA(WORD id)
{
    return reinterpret_cast<LPCSTR>(static_cast<ULONG_PTR>(id)); // NOLINT(performance-no-int-to-ptr)
}

// The predefined root key 0x80000002.
// NOLINTNEXTLINE(performance-no-int-to-ptr)
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002U));

struct OPENFILENAMEA
{
    DWORD lStructSize;
    HWND hwndOwner;
    HINSTANCE hInstance;
    LPCSTR lpstrFilter;
    LPSTR lpstrCustomFilter;
    DWORD nMaxCustFilter;
    DWORD nFilterIndex;
    LPSTR lpstrFile;
    DWORD nMaxFile;
    LPSTR lpstrFileTitle;
    DWORD nMaxFileTitle;
    LPCSTR lpstrInitialDir;
    LPCSTR lpstrTitle;
    DWORD Flags;
    WORD nFileOffset;
    WORD nFileExtension;
    LPCSTR lpstrDefExt;
    LPARAM lCustData;
    LPOFNHOOKPROC lpfnHook;
    LPCSTR lpTemplateName;
    void* pvReserved;
    DWORD dwReserved;
    DWORD FlagsEx;
};
using OPENFILENAME = OPENFILENAMEA;
using LPOPENFILENAMEA = OPENFILENAMEA*;

extern "C"
{
    // Shows the template of that resource id (dialogtemplate.h) until EndDialog, and returns what EndDialog was
    // given. -1 when there is no such template or no procedure, 0 when `owner` is no window. The instance isn't used.
    INT_PTR WINAPI DialogBoxParamA(HINSTANCE instance, LPCSTR templateName, HWND owner, DLGPROC procedure,
                                   LPARAM initParam);
    // Null when the dialog has no such control.
    HWND WINAPI GetDlgItem(HWND dialog, int id);
    BOOL WINAPI SetWindowTextA(HWND window, LPCSTR text);
    // Copies at most maxCount - 1 characters, terminates, and returns the number copied.
    int WINAPI GetWindowTextA(HWND window, LPSTR text, int maxCount);
    // Answers BM_GETCHECK and BM_SETCHECK for buttons; a message to a dialog goes to its procedure. All else gives 0.
    LRESULT WINAPI SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    BOOL WINAPI EndDialog(HWND dialog, INT_PTR result);

    // MB_OK gives IDOK, MB_YESNO gives IDYES, IDNO, or IDCANCEL for a box that was closed in another way.
    int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT type);

    // Asks for a name to save to, starting with what stands in lpstrFile, and puts the absolute path there. 0 when the
    // user cancels, when the path is refused (SaveFileProblem in dialoguser.h) or doesn't fit nMaxFile; lpstrFile then
    // stays as it was.
    BOOL WINAPI GetSaveFileNameA(LPOPENFILENAMEA question);

    // The registry (registrystore.h says where it lives). Key and value names ignore the case of ASCII letters, the
    // sub-key may be a path with backslashes. Every result but ERROR_SUCCESS is a failure.
    LSTATUS WINAPI RegCreateKeyExA(HKEY key, LPCSTR subKey, DWORD reserved, LPSTR className, DWORD options,
                                   REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition);
    // Without `data` only the size is given. ERROR_MORE_DATA, with the size in *size, when the value doesn't fit.
    LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                    LPDWORD size);
    LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR valueName, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
    LSTATUS WINAPI RegCloseKey(HKEY key);

    // Goes to stderr.
    void WINAPI OutputDebugStringA(LPCSTR text);
}

#endif
