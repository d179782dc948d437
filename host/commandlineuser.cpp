#include "host/commandlineuser.h"

#include "host/console.h"
#include "host/exportoptions.h"
#include "tools/model/kelpexport/exportdialog.h"

#include <filesystem>
#include <system_error>

// The plug-in's Yes/No questions: the first as it is, the second behind the file's name.
static const char APPEND_QUESTION[] = "Filename exists - append current animation to this file?";
static const char OVERWRITE_QUESTION[] = " is an invalid model file, overwrite?";
// Behind the file's name, when an animation can't be added to it.
static const char DIFFERENCE[] = " is different.";

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to)
{
    if (from.empty())
        return text;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

static bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Decides which file is written. What the dialog offers may be relative, to a folder that nobody remembers: the name
// is taken from here, and stored as it was taken.
bool CommandLineUser::ChooseTarget(const std::string& offered)
{
    m_Target = m_Answers.file;
    if (m_Target.empty() && !offered.empty())
    {
        std::error_code error;
        m_Target = std::filesystem::absolute(offered, error).string();
    }
    if (m_Target.empty())
        m_Console.Error("No file is named to write to; name one with -o.");
    else if (m_Target.size() > MAX_DIALOG_TEXT)
        m_Console.Error("The path of the output file is longer than 511 characters: " + m_Target);
    else if (const std::string objection = m_Answers.objection ? m_Answers.objection(m_Target) : ""; !objection.empty())
        m_Console.Error(objection);
    else
        m_Staged = m_Answers.stage ? m_Answers.stage(m_Target) : m_Target;
    return !m_Staged.empty();
}

std::string FitAnimName(const std::string& name, Console& console)
{
    if (name.size() <= MAX_ANIM_NAME)
        return name;
    size_t size = MAX_ANIM_NAME;
    while (size > MAX_ANIM_NAME - 4 && (static_cast<unsigned char>(name[size]) & 0xC0U) == 0x80U)
        size--;
    console.Warning("The animation name is longer than 250 bytes and was cut: " + name);
    return name.substr(0, size);
}

void CommandLineUser::ChooseAnimName(DialogWindow& dialog)
{
    const std::string wanted = m_Answers.animName ? *m_Answers.animName : dialog.GetText(IDC_ANIMNAME);
    m_AnimName = FitAnimName(wanted, m_Console);
    if (m_Answers.animName || m_AnimName != wanted)
        dialog.Type(IDC_ANIMNAME, m_AnimName);
    m_AnimName = dialog.GetText(IDC_ANIMNAME);
}

void CommandLineUser::OperateDialog(DialogWindow& dialog)
{
    if (!ChooseTarget(dialog.GetText(IDC_FILENAME)))
    {
        dialog.Close();
        return;
    }
    dialog.Type(IDC_FILENAME, m_Staged);
    ChooseAnimName(dialog);
    if (m_Answers.debug)
        dialog.SetCheck(IDC_DEBUGMODE, *m_Answers.debug);
    const bool isNew = m_Answers.stageIsNew && m_Answers.stageIsNew();
    dialog.SetCheck(IDC_FORCEOVERWRITE, isNew || (m_Answers.overwrite && !m_Answers.append));
    m_PressedOk = dialog.Press(IDOK);
}

int CommandLineUser::AnswerQuestion(const std::string& text, const char* caption, unsigned type)
{
    const bool asksAppend = text == APPEND_QUESTION;
    const bool asksOverwrite = EndsWith(text, OVERWRITE_QUESTION);
    if (asksAppend && m_Answers.append)
        return IDYES;
    if (asksOverwrite && m_Answers.append && m_Answers.overwrite)
        return IDYES;
    if (m_Terminal && !m_Answers.append && !m_Answers.overwrite)
    {
        // The question doesn't name the file.
        asksAppend ? m_Console.Show(m_Target) : m_Console.ClearBar();
        const int answer = m_Terminal->AnswerMessageBox(text.c_str(), caption, type);
        if (asksAppend && answer != IDYES)
            m_Console.Say(m_Target + " stays as it is; --overwrite replaces it.");
        return answer;
    }
    if (asksAppend)
        m_Console.Error(m_Target + " exists: --append adds the animation to it, --overwrite replaces it.");
    else if (asksOverwrite)
        m_Console.Error(m_Target + " is an invalid model file: --append --overwrite replaces it.");
    else
        m_Console.Error("Answered No: " + text);
    return IDNO;
}

int CommandLineUser::AnswerMessageBox(const char* text, const char* caption, unsigned type)
{
    const std::string shown = ReplaceAll(text, m_Staged, m_Target);
    if ((type & MB_YESNO) == MB_YESNO)
    {
        const int answer = AnswerQuestion(shown, caption, type);
        if (m_Decided && answer == IDYES)
            m_Decided(shown == APPEND_QUESTION);
        return answer;
    }
    m_SawDifference = m_SawDifference || EndsWith(shown, DIFFERENCE);
    m_Console.Error(shown);
    return IDOK;
}

// Never opened from here: the name is typed.
bool CommandLineUser::ChooseSaveFile(SaveFileQuestion&)
{
    return false;
}
