#include "commandline/manpage.h"

#include "commandline/helptext.h"

// Text of ours as troff has it: no line of it is a request, and a hyphen is one that can be copied.
static std::string Roff(const std::string& text)
{
    std::string roff;
    for (const char c : text)
    {
        if (c == '\\')
            roff += "\\e";
        else if (c == '-')
            roff += "\\-";
        else if ((c == '.' || c == '\'') && (roff.empty() || roff.back() == '\n'))
            roff += std::string("\\&") + c;
        else
            roff += c;
    }
    return roff;
}

static std::string Upper(std::string text)
{
    for (char& c : text)
    {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

static std::string OptionsText(const Command& command)
{
    std::string text;
    for (const CommandOption& option : command.m_Options.List())
        text += ".TP\n.B " + Roff(OptionTitle(option)) + "\n" + Roff(option.m_Help) + ".\n";
    return text;
}

static std::string DetailsText(const Command& command)
{
    std::string text;
    size_t first = 0;
    while (first < command.m_Details.size())
    {
        const size_t last = std::min(command.m_Details.find('\n', first), command.m_Details.size());
        text += ".PP\n" + Roff(command.m_Details.substr(first, last - first)) + "\n";
        first = last + 1;
    }
    return text;
}

std::string ManPage(const Program& program)
{
    // A program that is one command has no list of them.
    const bool bOne = program.m_Commands.size() == 1 && program.m_Commands[0].m_Name.empty();
    std::string text = ".TH " + Roff(Upper(program.m_Name)) + " 1 \"\" \"" +
                       Roff(program.m_Name + " " + program.m_Version) + "\"\n.SH NAME\n" + Roff(program.m_Name) +
                       " \\- " + Roff(program.m_Summary) + "\n.SH SYNOPSIS\n.B ";
    if (bOne)
        text += Roff(UsageLine(program, program.m_Commands[0])) + "\n.SH DESCRIPTION\n" +
                Roff(program.m_Commands[0].m_Summary) + ".\n" + DetailsText(program.m_Commands[0]) + ".SH OPTIONS\n" +
                OptionsText(program.m_Commands[0]);
    else
    {
        text += Roff(program.m_Name) + "\n.I COMMAND\n.RI [ options ]\n.SH DESCRIPTION\n" + Roff(program.m_Summary) +
                ". Options and files may stand in any order; \\-\\- ends the options.\n.SH COMMANDS\n";
        for (const Command& command : program.m_Commands)
            text += ".SS " + Roff(UsageLine(program, command)) + "\n" + Roff(command.m_Summary) + ".\n" +
                    DetailsText(command) + OptionsText(command);
    }
    text += ".SH EXIT STATUS\n0 for success, 1 if the file isn't right or the job couldn't be done, 2 for wrong "
            "usage.\n.SH EXAMPLES\n";
    for (const Command& command : program.m_Commands)
    {
        for (const CommandExample& example : command.m_Examples)
            text += ".TP\n.B " + Roff(example.m_Line) + "\n" + Roff(example.m_Help) + "\n";
    }
    return text;
}
