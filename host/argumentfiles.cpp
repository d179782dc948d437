#include "host/argumentfiles.h"

#include "commandline/splitwords.h"
#include "scene/readfile.h"

static constexpr int MAX_DEPTH = 16; // of files in files: more is one that is in itself

static bool Expand(const std::vector<std::string>& arguments, int depth, std::vector<std::string>& expanded,
                   std::string& error)
{
    for (size_t i = 0; i < arguments.size(); i++)
    {
        const std::string& argument = arguments[i];
        if (argument == "--")
        {
            expanded.insert(expanded.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
            return true;
        }
        if (argument.size() < 2 || argument[0] != '@')
        {
            expanded.push_back(argument);
            continue;
        }
        const std::string file = argument.substr(1);
        std::vector<unsigned char> bytes;
        std::vector<std::string> words;
        std::string reason;
        if (depth == MAX_DEPTH)
            error = "The argument file " + file + " is in itself.";
        else if (!ReadFileBytes(file, bytes, reason))
            error = std::string("The argument file ").append(file).append(" ").append(reason) + " (./" + argument +
                    " is a file of that name).";
        else if (!SplitWords(std::string(bytes.begin(), bytes.end()), words))
            error = "The argument file " + file + " ends between quotes.";
        if (!error.empty() || !Expand(words, depth + 1, expanded, error))
            return false;
    }
    return true;
}

bool ExpandArgumentFiles(std::vector<std::string>& arguments, std::string& error)
{
    std::vector<std::string> expanded;
    if (!Expand(arguments, 0, expanded, error))
        return false;
    arguments = std::move(expanded);
    return true;
}
