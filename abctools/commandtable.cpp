#include "abctools/commandtable.h"

#include "abctools/commands.h"

// The commands in the order of the help. A new one is
//   - a file NAMEcommand.cpp with its run function and, at its end, MakeNAMECommand: its name, its summary, its options
//     (commandline/commandoption.h has all kinds of them; what they are read into lives in a structure that m_Run holds
//     by a shared pointer), examples, a check of options that don't go together, and m_Run, which calls the run
//     function,
//   - a line in commands.h,
//   - a row here,
//   - a chapter in docs/abctool.md.
// Parsing, --help, completions and manual pages follow by themselves.
// clang-format off
static Command (*const COMMANDS[])() = {
    MakeInfoCommand,
    MakeCheckCommand,
    MakeCopyCommand,
    MakePoseCommand,
    MakeDiffCommand,
    MakeConvertCommand,
    MakeViewCommand,
    MakePictureCommand,
    MakeEditCommand,
    MakeAppendCommand,
    MakeHelpCommand,
};
// clang-format on

Program MakeAbctool()
{
    Program program;
    program.m_Name = "abctool";
    program.m_Version = ZOLT_VERSION;
    program.m_Summary = "Shows, checks and changes model files (.abc)";
    for (Command (*const pMake)() : COMMANDS)
        program.m_Commands.push_back(pMake());
    return program;
}
