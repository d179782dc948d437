// A program's commands as data.
#pragma once

#include "commandline/commandoption.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

// Exit statuses of every program.
constexpr int STATUS_RIGHT = 0;
constexpr int STATUS_FAILED = 1; // the file isn't right, or the job couldn't be done
constexpr int STATUS_USAGE = 2;  // the command line makes no sense

struct CommandExample
{
    std::string m_Line; // as it is typed, the program's name first
    std::string m_Help; // what it does, as a sentence
};

struct Command
{
    std::string m_Name;    // empty for a program that is one command
    std::string m_Summary; // one line, without a full stop
    std::string m_Details; // further paragraphs of the help, each with a line break at its end; may be empty
    CommandOptions m_Options;
    std::vector<CommandExample> m_Examples;
    // What is wrong with options that are right one by one, as a sentence without a full stop; empty if nothing is.
    std::function<std::string()> m_Check = [] { return std::string(); };
    // Prints the result to `out` and sentences about failures to `err`, and returns the exit status.
    std::function<int(std::ostream& out, std::ostream& err)> m_Run;
};

struct Program
{
    std::string m_Name;
    std::string m_Version;
    std::string m_Summary; // one line, without a full stop
    std::vector<Command> m_Commands;
};
