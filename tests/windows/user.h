// The hands and eyes of a user: keys, the mouse, the screen. All waits give up after PATIENCE.
#pragma once

#include <functional>
#include <string>

#include <windows.h>

constexpr DWORD PATIENCE = 60000; // milliseconds

bool WaitUntil(const std::function<bool()>& isSo);

// Moves the mouse to the middle of a window, or to a point of the screen, and clicks.
void Click(HWND window);
void ClickAt(POINT point);
// The button in the title bar that closes the window. False if there is none.
bool ClickCloseButton(HWND window);

void PressKey(WORD key);
void TypeText(const std::string& text);
// Replaces the text of an edit control: a click, all of it selected, the keys. Returns what it holds then.
std::string TypeInto(HWND edit, const std::string& text);

std::string TextOf(HWND window);
// The sentence in a message box.
std::string SentenceOf(HWND box);
bool IsChecked(HWND box);

// Keeps what the screen shows of a window as NAME.bmp in the folder that ZOLT_SCREENSHOTS names, if it names one.
void TakeScreenshot(HWND window, const char* pName);
