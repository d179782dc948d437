// The user in front of the dialogs: whoever fills them in, answers message boxes and picks files.
#pragma once

#include "win32/dialogwindow.h"

#include <string>
#include <utility>
#include <vector>

// What the file chooser asks.
struct SaveFileQuestion
{
    std::string title;
    std::vector<std::pair<std::string, std::string>> filters; // what is shown, and the pattern: "ABC Files", "*.abc"
    std::string defaultExtension;                             // without a dot; empty when there is none
    std::string startingName;                                 // what stands in the name field at first
    std::string folder;         // that relative names are under; empty: the current folder
    bool pathMustExist = false; // whether the folder of the chosen name has to be there
    std::string chosen;         // the answer: a path, relative or absolute, with or without an extension
};

// The absolute path that the answer stands for: under `folder` if it is relative, with the default extension if it has
// none.
std::string ResolveSaveFile(const SaveFileQuestion& question);

// Why the chooser would refuse the answer, as a sentence; empty when it takes it. It refuses a name that is empty or
// is that of a folder, and a missing folder when pathMustExist is set.
std::string SaveFileProblem(const SaveFileQuestion& question);

class DialogUser
{
public:
    virtual ~DialogUser() = default;

    // Operates the dialog until it has ended. A dialog that is still open afterwards counts as closed by its close
    // button.
    virtual void OperateDialog(DialogWindow& dialog) = 0;
    // IDOK, IDYES, IDNO, or IDCANCEL for a box closed in another way; `type` is MB_OK or MB_YESNO.
    virtual int AnswerMessageBox(const char* text, const char* caption, unsigned type) = 0;
    // Puts a name into `question.chosen` and returns true, or returns false to cancel.
    virtual bool ChooseSaveFile(SaveFileQuestion& question) = 0;
};

// Puts a user in place and returns the one before. The user isn't owned. With none (null, the state at the start)
// dialogs and choosers are cancelled, OK boxes are answered OK and Yes/No boxes No.
DialogUser* SetDialogUser(DialogUser* user);
DialogUser* GetDialogUser();
