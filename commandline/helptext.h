// Help for a terminal, 80 columns wide.
#pragma once

#include "commandline/command.h"

#include <string>

// The commands, a line for each.
std::string ProgramHelp(const Program& program);

// Usage, what the command does, its options and its examples.
std::string CommandHelp(const Program& program, const Command& command);

// "abctool pose FILE --anim NAME [options]": what has to be given, and whether there is more.
std::string UsageLine(const Program& program, const Command& command);

// How an option begins in the help: "-o, --output FILE".
std::string OptionTitle(const CommandOption& option);
