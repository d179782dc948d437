// Shows, checks and changes model files: abctool COMMAND ...

#include "abctools/commandtable.h"
#include "abctools/displaytext.h"
#include "abctools/runcommand.h"
#include "commandline/parsecommand.h"

#include <csignal>
#include <iostream>

static int Run(int argc, char** argv)
{
    const Program program = MakeAbctool();
    const std::vector<std::string> words(argv + 1, argv + argc);
    const ParsedCommand parsed = ParseCommand(program, words);
    if (parsed.m_pCommand)
        return RunCommand(*parsed.m_pCommand, AsksForJson(words), std::cout, std::cerr);
    std::cout << parsed.m_Output;
    if (!parsed.m_Problem.empty())
        std::cerr << "error: " << TerminalText(parsed.m_Problem) << '\n';
    return parsed.m_Status;
}

int main(int argc, char** argv)
{
    std::signal(SIGXFSZ, SIG_IGN); // a file that grows too large is a write that fails
    try
    {
        const int status = Run(argc, argv);
        // A full disk shows here at the latest.
        if (std::cout.flush())
            return status;
        std::cerr << "error: The output can't be written.\n";
    }
    catch (const std::exception& error)
    {
        std::cerr << "error: " << error.what() << '\n';
    }
    catch (...)
    {
        std::cerr << "error: unknown error\n";
    }
    return STATUS_FAILED;
}
