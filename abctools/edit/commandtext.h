// A model's command string as text. ";" and line breaks part commands, and "%" takes the next character as it is.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class Model;

// The text with a further command, or several, at its end.
std::string AddCommand(const std::string& text, const std::string& command);

// The text without the commands whose first word is the keyword, in any case. pnRemoved counts them.
std::string RemoveCommands(const std::string& text, const std::string& keyword, uint32_t* pnRemoved);

// What in the model's command string does nothing, or something else than it says: unknown keywords, wrong numbers of
// values, values that are no numbers, names that the model doesn't have. Sentences without a full stop.
std::vector<std::string> FindCommandProblems(const Model& model);
