#include "commandline/helptext.h"

#include <algorithm>

static constexpr size_t WIDTH = 80;
static constexpr size_t HELP_COLUMN = 26;
static constexpr size_t NAME_COLUMN = 12;

// Words in lines of at most WIDTH columns, each with so many spaces ahead. Without a line break at the end.
static std::string Wrap(const std::string& text, size_t indent)
{
    std::string lines;
    size_t column = indent;
    size_t first = 0;
    while (first < text.size())
    {
        const size_t last = std::min(text.find(' ', first), text.size());
        const std::string word = text.substr(first, last - first);
        if (column > indent && column + 1 + word.size() > WIDTH)
        {
            lines += "\n" + std::string(indent, ' ');
            column = indent;
        }
        else if (column > indent)
        {
            lines += ' ';
            ++column;
        }
        lines += word;
        column += word.size();
        first = last + 1;
    }
    return lines;
}

// A title, and beside it or below it what it means.
static std::string Entry(const std::string& title, const std::string& help, size_t column)
{
    std::string text = "  " + title;
    if (text.size() + 2 > column)
        text += "\n" + std::string(column, ' ');
    else
        text.resize(column, ' ');
    return text + Wrap(help, column) + "\n";
}

std::string OptionTitle(const CommandOption& option)
{
    std::string title;
    for (const std::string& name : option.NameList())
        title += (title.empty() ? "" : ", ") + name;
    if (option.m_bPositional)
        return title + (option.m_bRepeated ? "..." : "");
    return title + (option.m_Values.empty() ? "" : " ") + option.m_Values;
}

std::string UsageLine(const Program& program, const Command& command)
{
    std::string line = program.m_Name;
    if (!command.m_Name.empty())
        line += " " + command.m_Name;
    bool bMore = false;
    for (const CommandOption& option : command.m_Options.List())
    {
        if (option.m_bPositional && !option.m_bRequired)
            line += " [" + OptionTitle(option) + "]";
        else if (option.m_bPositional)
            line += " " + OptionTitle(option);
        else if (option.m_bRequired)
            line += " " + option.NameList().back() + " " + option.m_Values;
        else
            bMore = true;
    }
    return line + (bMore ? " [options]" : "");
}

std::string ProgramHelp(const Program& program)
{
    std::string text = program.m_Summary + ".\n\nUsage: " + program.m_Name + " COMMAND ...\n\nCommands:\n";
    for (const Command& command : program.m_Commands)
        text += Entry(command.m_Name, command.m_Summary, NAME_COLUMN);
    text += "\nOptions:\n" + Entry("-h, --help", "Print this help, or behind a command its own", HELP_COLUMN) +
            Entry("--version", "Print the version", HELP_COLUMN);
    return text + "\nExit status: 0 for success, 1 if the file isn't right or the job couldn't be done, 2 for\n"
                  "wrong usage.\n";
}

std::string CommandHelp(const Program& program, const Command& command)
{
    std::string text =
        "Usage: " + Wrap(UsageLine(program, command), 7) + "\n\n" + Wrap(command.m_Summary + ".", 0) + "\n";
    size_t first = 0;
    while (first < command.m_Details.size())
    {
        const size_t last = std::min(command.m_Details.find('\n', first), command.m_Details.size());
        text += "\n" + Wrap(command.m_Details.substr(first, last - first), 0) + "\n";
        first = last + 1;
    }
    for (const bool bPositional : {true, false})
    {
        text += bPositional ? "\nArguments:\n" : "\nOptions:\n";
        for (const CommandOption& option : command.m_Options.List())
        {
            if (option.m_bPositional == bPositional)
                text += Entry(OptionTitle(option), option.m_Help, HELP_COLUMN);
        }
    }
    text += Entry("-h, --help", "Print this help", HELP_COLUMN);
    if (!command.m_Examples.empty())
        text += "\nExamples:\n";
    for (const CommandExample& example : command.m_Examples)
        text += "  " + example.m_Line + "\n      " + Wrap(example.m_Help, 6) + "\n";
    return text;
}
