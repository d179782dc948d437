// The user in front of the plug-in's dialog when the exporter is run from a command line.
#pragma once

#include "win32/dialoguser.h"

#include <functional>
#include <optional>
#include <string>

class Console;

// What that user types, ticks and answers.
struct CommandLineAnswers
{
    std::string file;                    // absolute; empty: what the dialog offers, made absolute
    std::optional<std::string> animName; // none: what the dialog offers
    std::optional<bool> debug;           // none: as the dialog offers it
    bool append = false;                 // Yes to the append question
    bool overwrite = false;              // alone: Force Overwrite; with append: Yes to the overwrite question
    // Why the target must not be written, as a sentence; empty, or no function: it may be.
    std::function<std::string(const std::string& target)> objection;
    // Which file the plug-in writes in place of the target; none: the target itself. An empty path cancels.
    std::function<std::string(const std::string& target)> stage;
    // Whether the plug-in writes over what is at the staged path without a question, whatever the target is.
    std::function<bool()> stageIsNew;
};

// Force Overwrite is never taken over from the dialog: it is ticked only if overwriting was asked for and appending
// wasn't. Without either the questions go to the terminal; if there is none the answer is No, and the console says
// which switch was missing. A name that is too long for an animation is cut, with a warning. Message boxes become
// errors on the console, with the target's name in place of that of a staged file.
class CommandLineUser : public DialogUser
{
public:
    // The terminal may be null. Nothing is owned.
    CommandLineUser(CommandLineAnswers answers, Console& console, DialogUser* terminal)
        : m_Answers(std::move(answers)), m_Console(console), m_Terminal(terminal)
    {
    }

    void OperateDialog(DialogWindow& dialog) override;
    int AnswerMessageBox(const char* text, const char* caption, unsigned type) override;
    bool ChooseSaveFile(SaveFileQuestion& question) override;

    // `decided` is told what a question about an existing file has come to: whether the animation is going to be added
    // to that file. Without a question the file is new.
    void TellDecision(std::function<void(bool appends)> decided) { m_Decided = std::move(decided); }

    // For what goes on without the dialog, after one that ended with OK: an animation of that name is made.
    void SetAnimName(const std::string& name) { m_AnimName = name; }

    // What the dialog ended with.
    bool PressedOk() const { return m_PressedOk; }
    const std::string& GetTarget() const { return m_Target; } // absolute
    const std::string& GetStaged() const { return m_Staged; } // what the plug-in writes in its place
    // Whether the plug-in has said that the model's nodes aren't those of the scene.
    bool SawDifference() const { return m_SawDifference; }
    const std::string& GetAnimName() const { return m_AnimName; } // as typed or offered

private:
    bool ChooseTarget(const std::string& offered);
    void ChooseAnimName(DialogWindow& dialog);
    int AnswerQuestion(const std::string& text, const char* caption, unsigned type);

    CommandLineAnswers m_Answers;
    Console& m_Console;
    DialogUser* m_Terminal;
    std::string m_Target;
    std::string m_Staged;
    std::string m_AnimName;
    std::function<void(bool appends)> m_Decided;
    bool m_PressedOk = false;
    bool m_SawDifference = false;
};

// The name, cut to MAX_ANIM_NAME bytes of whole UTF-8 characters, with a warning if that takes something off.
std::string FitAnimName(const std::string& name, Console& console);

// The text with every `from` replaced by `to`.
std::string ReplaceAll(std::string text, const std::string& from, const std::string& to);
