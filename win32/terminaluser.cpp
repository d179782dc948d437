#include "win32/terminaluser.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

// What a terminal can show: control characters, which could move the cursor or recolour the screen, become '?'.
static std::string Shown(const std::string& text)
{
    std::string shown = text;
    std::replace_if(
        shown.begin(), shown.end(), [](unsigned char c) { return c != '\n' && std::iscntrl(c) != 0; }, '?');
    return shown;
}

// A control's text without the mark of its mnemonic; a doubled '&' stands for one.
static std::string Label(const DialogControlState& control)
{
    std::string label;
    for (size_t i = 0; i < control.text.size(); i++)
    {
        if (control.text[i] == '&' && ++i == control.text.size())
            break;
        label += control.text[i];
    }
    return Shown(label);
}

// The name of an edit field: the nearest static text that stands to its left on the same line.
static std::string FieldName(const DialogWindow& dialog, const DialogControlState& field)
{
    const DialogControlState* nearest = nullptr;
    for (const DialogControlState& control : dialog.GetControls())
    {
        const bool sameLine = control.y < field.y + field.height && field.y < control.y + control.height;
        if (control.className == "static" && sameLine && control.x < field.x && (!nearest || control.x > nearest->x))
            nearest = &control;
    }
    return nearest ? Label(*nearest) : "Text";
}

bool TerminalUser::ReadLine(std::string& line)
{
    line.clear();
    std::fflush(m_Out);
    int c = std::fgetc(m_In);
    if (c == EOF)
        return false;
    for (; c != EOF && c != '\n'; c = std::fgetc(m_In))
        line += static_cast<char>(c);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return true;
}

void TerminalUser::ShowDialog(const DialogWindow& dialog, std::vector<int>& numbered)
{
    numbered.clear();
    std::fprintf(m_Out, "\n%s\n", Shown(dialog.GetTitle()).c_str());
    for (const DialogControlState& control : dialog.GetControls())
    {
        if (!control.IsUsable() || control.id == IDOK || control.id == IDCANCEL ||
            !(control.IsEdit() || control.IsButton()))
            continue;
        numbered.push_back(control.id);
        std::fprintf(m_Out, "  %zu  ", numbered.size());
        if (control.IsEdit())
            std::fprintf(m_Out, "%s: %s\n", FieldName(dialog, control).c_str(), Shown(control.text).c_str());
        else if (control.IsCheckable())
            std::fprintf(m_Out, "[%c] %s\n", control.checked ? 'x' : ' ', Label(control).c_str());
        else
            std::fprintf(m_Out, "<%s>\n", Label(control).c_str());
    }
    std::fprintf(m_Out, "  o  OK\n  c  Cancel\n> ");
}

void TerminalUser::EditField(DialogWindow& dialog, const DialogControlState& control)
{
    std::fprintf(m_Out, "%s (an empty line keeps it, a single blank empties it): ", FieldName(dialog, control).c_str());
    std::string line;
    if (ReadLine(line) && !line.empty())
        dialog.Type(control.id, line == " " ? std::string() : line);
}

void TerminalUser::OperateDialog(DialogWindow& dialog)
{
    std::vector<int> numbered;
    std::string line;
    while (dialog.IsOpen())
    {
        ShowDialog(dialog, numbered);
        if (!ReadLine(line) || line == "c" || line == "C")
        {
            dialog.Close();
            return;
        }
        if (line == "o" || line == "O")
        {
            dialog.Press(IDOK);
            continue;
        }
        const unsigned long number = std::strtoul(line.c_str(), nullptr, 10);
        if (number < 1 || number > numbered.size())
        {
            std::fprintf(m_Out, "Type a number from 1 to %zu, o or c.\n", numbered.size());
            continue;
        }
        const DialogControlState* control = dialog.FindControl(numbered[number - 1]);
        if (control->IsEdit())
            EditField(dialog, *control);
        else
            dialog.Press(control->id);
    }
}

int TerminalUser::AnswerMessageBox(const char* text, const char* caption, unsigned type)
{
    std::fprintf(m_Out, "%s: %s", Shown(caption).c_str(), Shown(text).c_str());
    if (type != MB_YESNO)
    {
        std::fprintf(m_Out, "\n");
        std::fflush(m_Out);
        return IDOK;
    }
    std::string line;
    while (true)
    {
        std::fprintf(m_Out, " [y/n] ");
        if (!ReadLine(line))
        {
            std::fprintf(m_Out, "\n");
            return IDNO;
        }
        const char first = line.empty() ? ' ' : line[0];
        if (first == 'y' || first == 'Y')
            return IDYES;
        if (first == 'n' || first == 'N')
            return IDNO;
        std::fprintf(m_Out, "Type y or n.");
    }
}

bool TerminalUser::ChooseSaveFile(SaveFileQuestion& question)
{
    std::fprintf(m_Out, "\n%s\n", Shown(question.title).c_str());
    for (const auto& [name, pattern] : question.filters)
        std::fprintf(m_Out, "  %s\n", Shown(name).c_str());
    std::string line;
    while (true)
    {
        std::fprintf(m_Out, "File name [%s], - to cancel: ", Shown(question.startingName).c_str());
        if (!ReadLine(line) || line == "-")
            return false;
        question.chosen = line.empty() ? question.startingName : line;
        const std::string problem = SaveFileProblem(question);
        if (problem.empty())
            return true;
        std::fprintf(m_Out, "%s\n", Shown(problem).c_str());
    }
}
