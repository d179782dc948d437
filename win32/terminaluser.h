// A user at a terminal: dialogs are shown as numbered lines of text and operated by what is typed.
#pragma once

#include "win32/dialoguser.h"

#include <cstdio>

// Reads lines from `in`, writes to `out`; both stay the caller's. The end of the input cancels every dialog and chooser
// and answers No to every question. Control characters in shown texts come out as '?'.
class TerminalUser : public DialogUser
{
public:
    TerminalUser(FILE* in, FILE* out) : m_In(in), m_Out(out) {}

    // Lists edit fields, check boxes and buttons with numbers. A number edits the field, turns the box over or presses
    // the button; "o" is OK, "c" is Cancel.
    void OperateDialog(DialogWindow& dialog) override;
    // Yes/No boxes ask until the answer begins with y or n; OK boxes are shown and answered at once.
    int AnswerMessageBox(const char* text, const char* caption, unsigned type) override;
    // Asks for a name until it is accepted. An empty line takes the starting name, "-" cancels.
    bool ChooseSaveFile(SaveFileQuestion& question) override;

private:
    bool ReadLine(std::string& line);
    void EditField(DialogWindow& dialog, const DialogControlState& control);
    void ShowDialog(const DialogWindow& dialog, std::vector<int>& numbered);

    FILE* m_In;
    FILE* m_Out;
};
