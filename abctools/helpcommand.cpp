#include "abctools/commands.h"
#include "abctools/commandtable.h"
#include "abctools/jsontext.h"
#include "commandline/completion.h"
#include "commandline/helptext.h"
#include "commandline/manpage.h"

#include <nlohmann/json.hpp>

#include <memory>

using nlohmann::ordered_json;

namespace
{

struct HelpOptions
{
    std::vector<std::string> m_Commands; // one or none
    bool m_bMan = false;
    std::string m_Shell;
    bool m_bJson = false;
};

} // namespace

static ordered_json CommandJson(const Program& program, const Command& command)
{
    ordered_json json = {{"name", command.m_Name},
                         {"summary", command.m_Summary},
                         {"usage", UsageLine(program, command)},
                         {"options", ordered_json::array()},
                         {"examples", ordered_json::array()}};
    for (const CommandOption& option : command.m_Options.List())
        json["options"].push_back({{"names", option.NameList()},
                                   {"values", option.m_Values},
                                   {"required", option.m_bRequired},
                                   {"repeated", option.m_bRepeated},
                                   {"help", option.m_Help}});
    for (const CommandExample& example : command.m_Examples)
        json["examples"].push_back({{"line", example.m_Line}, {"help", example.m_Help}});
    return json;
}

static int RunHelp(const HelpOptions& options, std::ostream& out, std::ostream& err)
{
    const Program program = MakeAbctool();
    if (options.m_bMan)
        out << ManPage(program);
    else if (!options.m_Shell.empty())
        out << (options.m_Shell == "bash"  ? BashCompletion(program)
                : options.m_Shell == "zsh" ? ZshCompletion(program)
                                           : FishCompletion(program));
    else if (options.m_Commands.empty() && options.m_bJson)
    {
        ordered_json list = ordered_json::array();
        for (const Command& command : program.m_Commands)
            list.push_back(CommandJson(program, command));
        out << JsonText(list);
    }
    else if (options.m_Commands.empty())
        out << ProgramHelp(program);
    else
    {
        for (const Command& command : program.m_Commands)
        {
            if (command.m_Name != options.m_Commands[0])
                continue;
            out << (options.m_bJson ? JsonText(CommandJson(program, command)) : CommandHelp(program, command));
            return STATUS_RIGHT;
        }
        err << "error: There is no command " << TerminalText(options.m_Commands[0]) << ". Try --help.\n";
        return STATUS_USAGE;
    }
    return STATUS_RIGHT;
}

Command MakeHelpCommand()
{
    const auto pOptions = std::make_shared<HelpOptions>();
    Command command;
    command.m_Name = "help";
    command.m_Summary = "Tell the commands, or the options and examples of one";
    command.m_Options.AddWords("COMMAND", pOptions->m_Commands, "The command to tell about").m_Kind =
        ValueKind::Command;
    command.m_Options.AddFlag("--man", pOptions->m_bMan, "Print the manual page");
    command.m_Options.AddChoice("--completion", pOptions->m_Shell, {"bash", "zsh", "fish"},
                                "Print what makes a shell complete commands and options");
    command.m_Options.AddFlag("--json", pOptions->m_bJson, "Print JSON");
    command.m_Examples = {{"abctool help pose", "All about one command."},
                          {"source <(abctool help --completion bash)", "Completion in this shell, from here on."}};
    command.m_Check = [pOptions]
    { return std::string(pOptions->m_Commands.size() > 1 ? "help takes one command" : ""); };
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err) { return RunHelp(*pOptions, out, err); };
    return command;
}
