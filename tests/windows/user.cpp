#include "tests/windows/user.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

bool WaitUntil(const std::function<bool()>& isSo)
{
    const DWORD start = GetTickCount();
    while (!isSo())
    {
        if (GetTickCount() - start > PATIENCE)
            return false;
        Sleep(30);
    }
    return true;
}

void ClickAt(POINT point)
{
    SetCursorPos(point.x, point.y);
    const LONG width = GetSystemMetrics(SM_CXSCREEN);
    const LONG height = GetSystemMetrics(SM_CYSCREEN);
    // Each event brings its place along: a screen that tells late where the mouse was can't move the click elsewhere.
    for (DWORD flag : {MOUSEEVENTF_LEFTDOWN, MOUSEEVENTF_LEFTUP})
    {
        INPUT input = {};
        input.type = INPUT_MOUSE;
        input.mi.dx = (point.x * 65536 + 32768) / width; // the screen is 65536 units wide and high
        input.mi.dy = (point.y * 65536 + 32768) / height;
        input.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE | flag;
        SendInput(1, &input, sizeof(input));
    }
}

void Click(HWND window)
{
    RECT area;
    GetWindowRect(window, &area);
    ClickAt({(area.left + area.right) / 2, (area.top + area.bottom) / 2});
}

bool ClickCloseButton(HWND window)
{
    RECT area;
    GetWindowRect(window, &area);
    for (LONG y = area.top; y < area.top + 40; y += 3)
    {
        for (LONG x = area.right - 1; x > area.left; x -= 3)
        {
            if (SendMessageA(window, WM_NCHITTEST, 0, MAKELPARAM(x, y)) == HTCLOSE)
            {
                ClickAt({x - 4, y + 4});
                return true;
            }
        }
    }
    return false;
}

static void SendKey(WORD key, WORD scan, DWORD flags)
{
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = scan;
    input.ki.dwFlags = flags;
    SendInput(1, &input, sizeof(input));
}

void PressKey(WORD key)
{
    SendKey(key, 0, 0);
    SendKey(key, 0, KEYEVENTF_KEYUP);
}

void TypeText(const std::string& text)
{
    for (unsigned char c : text)
    {
        SendKey(0, c, KEYEVENTF_UNICODE);
        SendKey(0, c, KEYEVENTF_UNICODE | KEYEVENTF_KEYUP);
    }
}

std::string TypeInto(HWND edit, const std::string& text)
{
    Click(edit);
    PressKey(VK_HOME);
    SendKey(VK_SHIFT, 0, 0);
    PressKey(VK_END);
    SendKey(VK_SHIFT, 0, KEYEVENTF_KEYUP);
    TypeText(text);
    WaitUntil([&] { return TextOf(edit) == text; });
    return TextOf(edit);
}

std::string TextOf(HWND window)
{
    std::vector<char> text(4096);
    SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return text.data();
}

std::string SentenceOf(HWND box)
{
    std::string sentence;
    for (HWND child = nullptr; (child = FindWindowExA(box, child, "Static", nullptr)) != nullptr;)
        sentence += TextOf(child);
    return sentence;
}

bool IsChecked(HWND box)
{
    return SendMessageA(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

static void SaveBitmap(const std::string& path, const BITMAPINFOHEADER& header, const void* pBits)
{
    BITMAPFILEHEADER file = {};
    file.bfType = 0x4D42; // "BM"
    file.bfOffBits = sizeof(file) + sizeof(header);
    file.bfSize = file.bfOffBits + header.biSizeImage;
    FILE* pFile = std::fopen(path.c_str(), "wb");
    if (!pFile)
        return;
    std::fwrite(&file, sizeof(file), 1, pFile);
    std::fwrite(&header, sizeof(header), 1, pFile);
    std::fwrite(pBits, header.biSizeImage, 1, pFile);
    std::fclose(pFile);
}

void TakeScreenshot(HWND window, const char* pName)
{
    const char* pFolder = std::getenv("ZOLT_SCREENSHOTS");
    if (!pFolder)
        return;
    Sleep(1000); // until all is drawn
    RECT area;
    GetWindowRect(window, &area);
    BITMAPINFO info = {};
    BITMAPINFOHEADER& header = info.bmiHeader;
    header.biSize = sizeof(header);
    header.biWidth = area.right - area.left;
    header.biHeight = area.bottom - area.top;
    header.biPlanes = 1;
    header.biBitCount = 32;
    header.biSizeImage = static_cast<DWORD>(header.biWidth * header.biHeight * 4);
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    void* pBits = nullptr;
    HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &pBits, nullptr, 0);
    HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, header.biWidth, header.biHeight, screen, area.left, area.top, SRCCOPY);
    GdiFlush();
    SaveBitmap(std::string(pFolder) + "/" + pName + ".bmp", header, pBits);
    SelectObject(memory, before);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}
