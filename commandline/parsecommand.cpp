#include "commandline/parsecommand.h"

#include "commandline/helptext.h"

#include <getopt.h>

static ParsedCommand WrongUsage(const std::string& sentence)
{
    return {nullptr, STATUS_USAGE, std::string(), sentence + (sentence.ends_with('.') ? "" : ".") + " Try --help."};
}

namespace
{

// One parse: `getopt_long` goes through the words in their order.
class CommandParser
{
public:
    CommandParser(const Command& command, std::vector<std::string>& words)
        : m_List(command.m_Options.List()), m_bOne(command.m_Name.empty())
    {
        static char programName[] = "";
        m_Arguments.push_back(programName);
        for (std::string& word : words)
            m_Arguments.push_back(word.data());
        m_Arguments.push_back(nullptr);
        for (size_t i = 0; i < m_List.size(); ++i)
            Register(i);
        m_Long.push_back({"help", no_argument, nullptr, 'h'});
        if (m_bOne)
            m_Long.push_back({"version", no_argument, nullptr, VERSION});
        m_Long.push_back({nullptr, 0, nullptr, 0});
        m_Short += 'h';
        m_nGiven.resize(m_List.size());
    }

    bool AsksForHelp() const { return m_bHelp; }
    bool AsksForVersion() const { return m_bVersion; }

    // Returns what is wrong, or an empty text.
    std::string Parse()
    {
        optind = 0;
        opterr = 0;
        std::string problem;
        const int nArguments = static_cast<int>(m_Arguments.size()) - 1;
        while (problem.empty() && !IsQuestion())
        {
            const int first = optind > 0 ? optind : 1;
            const int code = getopt_long(nArguments, m_Arguments.data(), m_Short.c_str(), m_Long.data(), nullptr);
            if (code == -1)
                break;
            if (code == 'h')
                m_bHelp = true;
            else if (code == VERSION)
                m_bVersion = true;
            else if (code == IN_ORDER)
                problem = TakeWord(optarg);
            else if (code == ':')
                problem = std::string(m_Arguments[static_cast<size_t>(optind) - 1]) + " lacks its value";
            else if (code == '?')
                problem = "There is no option " + std::string(m_Arguments[static_cast<size_t>(first)]);
            else
                problem = TakeOption(IndexOf(code));
        }
        while (problem.empty() && !IsQuestion() && optind < nArguments) // behind "--"
            problem = TakeWord(m_Arguments[static_cast<size_t>(optind++)]);
        return problem.empty() && !IsQuestion() ? FindMissing() : problem;
    }

private:
    static constexpr int IN_ORDER = 1;       // what getopt_long returns for a word that is no option
    static constexpr int VERSION = 2;        // no letter either
    static constexpr int FIRST_LONG = 0x100; // codes of options, beyond any letter

    bool IsQuestion() const { return m_bHelp || m_bVersion; }

    void Register(size_t i)
    {
        if (m_List[i].m_bPositional)
            return;
        const bool bValue = m_List[i].NumValues() > 0;
        for (const std::string& name : m_List[i].NameList())
        {
            if (name.starts_with("--"))
            {
                m_LongNames.push_back(name.substr(2));
                m_Long.push_back(
                    {nullptr, bValue ? required_argument : no_argument, nullptr, FIRST_LONG + static_cast<int>(i)});
                continue;
            }
            m_Short += name.substr(1) + (bValue ? ":" : "");
            m_Letters.push_back({name[1], i});
        }
        // The names have moved.
        for (size_t k = 0; k < m_LongNames.size(); ++k)
            m_Long[k].name = m_LongNames[k].c_str();
    }

    size_t IndexOf(int code) const
    {
        for (const auto& [letter, index] : m_Letters)
        {
            if (letter == code)
                return index;
        }
        return static_cast<size_t>(code - FIRST_LONG);
    }

    bool IsOptionName(const std::string& word) const
    {
        for (const CommandOption& option : m_List)
        {
            for (const std::string& name : option.NameList())
            {
                if (name == word && !option.m_bPositional)
                    return true;
            }
        }
        return word == "--help" || (m_bOne && word == "--version");
    }

    std::string Take(size_t i, const std::vector<std::string>& values)
    {
        const CommandOption& option = m_List[i];
        const std::string name = option.NameList().back();
        if (++m_nGiven[i] > 1 && !option.m_bRepeated && option.NumValues() > 0)
            return name + " is given twice";
        const std::string problem = option.m_Take(values);
        return problem.empty() ? problem : name + " " + problem;
    }

    std::string TakeOption(size_t i)
    {
        std::vector<std::string> values;
        const size_t nValues = m_List[i].NumValues();
        if (nValues > 0)
        {
            // With "--name=value" the value may look like anything.
            const bool bOwnWord = optarg == m_Arguments[static_cast<size_t>(optind) - 1];
            values.emplace_back(optarg);
            while (values.size() < nValues && m_Arguments[static_cast<size_t>(optind)])
                values.emplace_back(m_Arguments[static_cast<size_t>(optind++)]);
            for (size_t k = bOwnWord ? 0 : 1; k < values.size(); ++k)
            {
                if (IsOptionName(values[k]))
                    return m_List[i].NameList().back() + " lacks a value ahead of " + values[k];
            }
            if (values.size() < nValues)
                return m_List[i].NameList().back() + " needs " + m_List[i].m_Values;
        }
        return Take(i, values);
    }

    std::string TakeWord(const std::string& word)
    {
        for (size_t i = 0; i < m_List.size(); ++i)
        {
            if (m_List[i].m_bPositional && (m_nGiven[i] == 0 || m_List[i].m_bRepeated))
                return Take(i, {word});
        }
        return "There is a word too many: " + word;
    }

    std::string FindMissing() const
    {
        for (size_t i = 0; i < m_List.size(); ++i)
        {
            if (m_List[i].m_bRequired && m_nGiven[i] == 0)
                return m_List[i].NameList().back() + " is required";
        }
        return std::string();
    }

    const std::vector<CommandOption>& m_List;
    std::vector<char*> m_Arguments; // with a null pointer at the end
    std::string m_Short = "-:";     // words come in their order, and a missing value is told apart
    std::vector<std::string> m_LongNames;
    std::vector<option> m_Long;
    std::vector<std::pair<int, size_t>> m_Letters;
    std::vector<size_t> m_nGiven;
    bool m_bOne;
    bool m_bHelp = false;
    bool m_bVersion = false;
};

} // namespace

static std::string VersionLine(const Program& program)
{
    return program.m_Name + " " + program.m_Version + "\n";
}

static const Command* FindCommand(const Program& program, std::vector<std::string>& words, ParsedCommand& parsed)
{
    if (program.m_Commands.size() == 1 && program.m_Commands[0].m_Name.empty())
        return &program.m_Commands[0];
    if (words.empty())
        parsed = WrongUsage("A command is needed");
    else if (words[0] == "--help" || words[0] == "-h")
        parsed.m_Output = ProgramHelp(program);
    else if (words[0] == "--version")
        parsed.m_Output = VersionLine(program);
    else
    {
        for (const Command& command : program.m_Commands)
        {
            if (command.m_Name == words[0])
            {
                words.erase(words.begin());
                return &command;
            }
        }
        parsed =
            WrongUsage("There is no " + std::string(words[0].starts_with('-') ? "option " : "command ") + words[0]);
    }
    return nullptr;
}

ParsedCommand ParseCommand(const Program& program, std::vector<std::string> words)
{
    ParsedCommand parsed;
    const Command* pCommand = FindCommand(program, words, parsed);
    if (!pCommand)
        return parsed;
    CommandParser parser(*pCommand, words);
    std::string problem = parser.Parse();
    if (parser.AsksForHelp())
        parsed.m_Output = CommandHelp(program, *pCommand);
    else if (parser.AsksForVersion())
        parsed.m_Output = VersionLine(program);
    else if (problem.empty())
        problem = pCommand->m_Check();
    if (!problem.empty())
        return WrongUsage(problem);
    parsed.m_pCommand = parsed.m_Output.empty() ? pCommand : nullptr;
    return parsed;
}
