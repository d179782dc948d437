// A user who follows a script, for tests and for hosts without a person in front of them.
#pragma once

#include "win32/dialoguser.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

// Actions, answers and choices are taken from three queues in the order in which they were given. An action that finds
// its dialog ended waits for the next dialog. When the actions run out the dialog is closed; when the answers or the
// choices run out, the box is answered as without a user (OK, No) and the chooser is cancelled.
class ScriptedUser : public DialogUser
{
public:
    // Queue actions on dialogs.
    ScriptedUser& Type(int id, const std::string& text);
    ScriptedUser& SetCheck(int id, bool checked);
    ScriptedUser& Press(int id);
    ScriptedUser& Close();
    // Queues any other action, for instance one that looks at the dialog.
    ScriptedUser& Do(std::function<void(DialogWindow&)> action);
    // Queue an answer to a message box: IDOK, IDYES, IDNO or IDCANCEL.
    ScriptedUser& Answer(int answer);
    // Queue a choice, or a cancel, for the file chooser.
    ScriptedUser& Choose(const std::string& path);
    ScriptedUser& CancelChooser();

    struct SeenBox
    {
        std::string text;
        std::string caption;
        unsigned type;
        int answer;
        bool expected; // whether the script had an answer for it
    };
    struct SeenDialog
    {
        int templateId;
        std::string title;
        std::vector<DialogControlState> atStart;
        std::vector<DialogControlState> atEnd;
    };
    std::vector<SeenBox> m_Boxes;
    std::vector<SeenDialog> m_Dialogs;
    std::vector<SaveFileQuestion> m_Choosers; // with the answer given
    int m_FailedActions = 0;                  // actions that the dialog refused

    // Whether every queue has been used up.
    bool IsDone() const { return m_Actions.empty() && m_Answers.empty() && m_Choices.empty(); }

    void OperateDialog(DialogWindow& dialog) override;
    int AnswerMessageBox(const char* text, const char* caption, unsigned type) override;
    bool ChooseSaveFile(SaveFileQuestion& question) override;

private:
    struct Choice
    {
        bool accept;
        std::string path;
    };
    std::deque<std::function<bool(DialogWindow&)>> m_Actions;
    std::deque<int> m_Answers;
    std::deque<Choice> m_Choices;
};
