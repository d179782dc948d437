// The options of a command as data: they are parsed, and help, manual pages and completions are made, from one list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// What a shell offers for a value.
enum class ValueKind
{
    Text,
    File,
    Choice, // the words of the option's m_Choices
    Command // the name of a command of the program
};

struct CommandOption
{
    std::string m_Names;  // "-o,--output"; of a word without an option's name, what stands for it in the help: "FILE"
    std::string m_Values; // what stands for the values: "NAME", "NODE X Y Z", as many as words; empty: a switch
    std::string m_Help;   // without a full stop at the end
    ValueKind m_Kind = ValueKind::Text;
    std::vector<std::string> m_Choices;
    bool m_bPositional = false;
    bool m_bRequired = false;
    bool m_bRepeated = false; // may be given again; of words without a name, there may be any number
    // Called once for each time that the option is given, in the order of the command line, with as many values as
    // m_Values has words. Returns what is wrong with them, as a sentence without a full stop, or an empty text.
    std::function<std::string(const std::vector<std::string>& values)> m_Take;

    std::vector<std::string> NameList() const; // "-o", "--output"
    size_t NumValues() const;                  // 0 for a switch, 1 for a word without a name
};

// The options of one command, in the order of its help. Each function adds one and returns it, valid until the next is
// added, for what is special about it. What the references name has to live as long as the command can run.
class CommandOptions
{
public:
    // Words without a name, taken in the order in which they are added. One with any number comes last.
    CommandOption& AddFile(const char* pName, std::string& path, const char* pHelp);
    CommandOption& AddFiles(const char* pName, std::vector<std::string>& paths, const char* pHelp); // at least one
    CommandOption& AddWords(const char* pName, std::vector<std::string>& words, const char* pHelp); // also none

    CommandOption& AddFlag(const char* pNames, bool& bSet, const char* pHelp);
    CommandOption& AddText(const char* pNames, const char* pValue, std::string& text, const char* pHelp);
    CommandOption& AddText(const char* pNames, const char* pValue, std::optional<std::string>& text, const char* pHelp);
    CommandOption& AddTexts(const char* pNames, const char* pValue, std::vector<std::string>& texts,
                            const char* pHelp); // may be given again
    CommandOption& AddChoice(const char* pNames, std::string& text, std::vector<std::string> choices,
                             const char* pHelp);
    CommandOption& AddCount(const char* pNames, const char* pValue, std::optional<uint32_t>& count, const char* pHelp);
    CommandOption& AddCount(const char* pNames, const char* pValue, uint32_t& count, const char* pHelp);
    CommandOption& AddNumber(const char* pNames, const char* pValue, std::optional<double>& number,
                             const char* pHelp); // finite
    // Any number of values, taken by a function; may be given again.
    CommandOption& AddOperation(const char* pNames, const char* pValues,
                                std::function<std::string(const std::vector<std::string>&)> take, const char* pHelp);

    const std::vector<CommandOption>& List() const { return m_List; }

private:
    CommandOption& Add(const char* pNames, const char* pValues, const char* pHelp);

    std::vector<CommandOption> m_List;
};
