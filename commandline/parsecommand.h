#pragma once

#include "commandline/command.h"

// What came of a command line. Without a command to run, the caller prints `m_Output` to stdout and "error: " and
// `m_Problem` to stderr, and ends with `m_Status`.
struct ParsedCommand
{
    const Command* m_pCommand = nullptr; // its options have been taken
    int m_Status = STATUS_RIGHT;
    std::string m_Output;
    std::string m_Problem; // a sentence with its full stop and a hint; may hold any bytes that were typed
};

// Takes the words behind the program's name. Options and other words may stand in any order; "--" ends the options.
// Every command knows -h and --help, the program --version as well.
ParsedCommand ParseCommand(const Program& program, std::vector<std::string> words);
