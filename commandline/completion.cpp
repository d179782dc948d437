#include "commandline/completion.h"

#include <string_view>

// Text between single quotes of a shell; `pSpecial` are characters that take a backslash on top of that.
static std::string Quoted(const std::string& text, const char* pSpecial = "")
{
    std::string quoted = "'";
    for (const char c : text)
    {
        if (std::string_view(pSpecial).find(c) != std::string_view::npos)
            quoted += '\\';
        if (c == '\'')
            quoted += "'\\'";
        quoted += c;
    }
    return quoted + "'";
}

static std::string Joined(const std::vector<std::string>& words, const char* pSeparator)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : pSeparator) + word;
    return text;
}

static bool IsOne(const Program& program)
{
    return program.m_Commands.size() == 1 && program.m_Commands[0].m_Name.empty();
}

// As a name of a function: "abctool_pose".
static std::string FunctionName(const Program& program)
{
    return "_" + program.m_Name;
}

static std::string CommandNames(const Program& program)
{
    std::vector<std::string> names;
    for (const Command& command : program.m_Commands)
        names.push_back(command.m_Name);
    return Joined(names, " ");
}

// Whether the words without an option's name are names of commands.
static bool TakesCommands(const Command& command)
{
    for (const CommandOption& option : command.m_Options.List())
    {
        if (option.m_bPositional)
            return option.m_Kind == ValueKind::Command;
    }
    return false;
}

// The cases of one command in bash: what follows an option that takes a value, and else its options and files.
static std::string BashCommand(const Program& program, const Command& command, const std::string& indent)
{
    std::string names = "--help";
    std::string cases;
    for (const CommandOption& option : command.m_Options.List())
    {
        if (option.m_bPositional)
            continue;
        names += " " + Joined(option.NameList(), " ");
        if (option.NumValues() == 0)
            continue;
        const std::string words = option.m_Kind == ValueKind::Choice ? "-W " + Quoted(Joined(option.m_Choices, " "))
                                  : option.m_Kind == ValueKind::File ? "-f"
                                                                     : "-W ''";
        cases.append(indent).append("    ").append(Joined(option.NameList(), "|"));
        cases.append(") COMPREPLY=($(compgen ").append(words).append(" -- \"$word\")); return ;;\n");
    }
    std::string text;
    if (!cases.empty())
        text = indent + "case $previous in\n" + cases + indent + "esac\n";
    return text + indent + "[[ $word == -* ]] && COMPREPLY=($(compgen -W " + Quoted(names) +
           " -- \"$word\")) || COMPREPLY=($(compgen " +
           (TakesCommands(command) ? "-W " + Quoted(CommandNames(program)) : "-f") + " -- \"$word\"))\n";
}

std::string BashCompletion(const Program& program)
{
    std::string text = FunctionName(program) + "()\n{\n    local word=${COMP_WORDS[COMP_CWORD]}\n" +
                       "    local previous=${COMP_WORDS[COMP_CWORD-1]}\n    COMPREPLY=()\n";
    if (IsOne(program))
        text += BashCommand(program, program.m_Commands[0], "    ");
    else
    {
        const std::string names = "--help --version " + CommandNames(program);
        std::string cases;
        for (const Command& command : program.m_Commands)
        {
            cases += "    " + command.m_Name + ")\n" + BashCommand(program, command, "        ") + "        ;;\n";
        }
        text += "    if [[ $COMP_CWORD == 1 ]]; then\n        COMPREPLY=($(compgen -W " + Quoted(names) +
                " -- \"$word\"))\n        return\n    fi\n    case ${COMP_WORDS[1]} in\n" + cases + "    esac\n";
    }
    return text + "}\ncomplete -o filenames -F " + FunctionName(program) + " " + program.m_Name + "\n";
}

// The arguments of zsh's _arguments for one command.
static std::string ZshCommand(const Program& program, const Command& command, const std::string& indent)
{
    std::string text = indent + "_arguments -s '--help[Print this help]'";
    for (const CommandOption& option : command.m_Options.List())
    {
        std::string action = option.m_Kind == ValueKind::File ? "_files" : " ";
        if (option.m_Kind == ValueKind::Choice)
            action = "(" + Joined(option.m_Choices, " ") + ")";
        else if (option.m_Kind == ValueKind::Command)
            action = "(" + CommandNames(program) + ")";
        text += " \\\n" + indent + "    ";
        if (option.m_bPositional)
        {
            text += Quoted((option.m_bRepeated ? "*:" : ":") + option.m_Names + ":" + action);
            continue;
        }
        std::string values;
        for (size_t i = 0; i < option.NumValues(); ++i)
            values +=
                ":" + Quoted(option.m_Values, ":").substr(1, Quoted(option.m_Values, ":").size() - 2) + ":" + action;
        const std::vector<std::string> names = option.NameList();
        const std::string help = Quoted(option.m_Help, "[]:\\");
        const std::string tail = "[" + help.substr(1, help.size() - 2) + "]" + values + "'";
        if (option.m_bRepeated)
            text += "'*'";
        else if (names.size() > 1)
            text += "'(" + Joined(names, " ") + ")'";
        text += names.size() > 1 ? "{" + Joined(names, ",") + "}'" + tail : "'" + names[0] + tail;
    }
    return text + "\n";
}

std::string ZshCompletion(const Program& program)
{
    std::string text = "#compdef " + program.m_Name + "\n\n";
    if (IsOne(program))
        return text + ZshCommand(program, program.m_Commands[0], "");
    text += "local -a commands\ncommands=(\n";
    std::string cases;
    for (const Command& command : program.m_Commands)
    {
        text += "    " + Quoted(command.m_Name + ":" + command.m_Summary) + "\n";
        cases += "    " + command.m_Name + ")\n" + ZshCommand(program, command, "        ") + "        ;;\n";
    }
    return text + ")\nif (( CURRENT == 2 )); then\n    _describe command commands\n    return\nfi\nshift words\n" +
           "(( CURRENT-- ))\ncase $words[1] in\n" + cases + "esac\n";
}

std::string FishCompletion(const Program& program)
{
    const std::string start = "complete -c " + program.m_Name;
    std::string text = start + " -s h -l help -d 'Print this help'\n";
    text += start + (IsOne(program) ? "" : " -n __fish_use_subcommand") + " -l version -d 'Print the version'\n";
    for (const Command& command : program.m_Commands)
    {
        std::string condition;
        if (!command.m_Name.empty())
        {
            text += start + " -n __fish_use_subcommand -f -a " + command.m_Name + " -d " +
                    Quoted(command.m_Summary, "\\") + "\n";
            // The first word alone counts: another one may well be called as a command.
            condition = " -n 'set -l words (commandline -opc); test \"$words[2]\" = " + command.m_Name + "'";
        }
        if (TakesCommands(command))
            text += start + condition + " -f -a " + Quoted(CommandNames(program)) + "\n";
        for (const CommandOption& option : command.m_Options.List())
        {
            if (option.m_bPositional)
                continue;
            text += start + condition;
            for (const std::string& name : option.NameList())
                text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (option.NumValues() > 0)
                text += option.m_Kind == ValueKind::File ? " -r -F" : " -x";
            if (option.m_Kind == ValueKind::Choice)
                text += " -a " + Quoted(Joined(option.m_Choices, " "));
            text += " -d " + Quoted(option.m_Help, "\\") + "\n";
        }
    }
    return text;
}
