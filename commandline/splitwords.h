#pragma once

#include <string>
#include <vector>

// Words parted by white space. Between quotes, '...' or "...", and behind a backslash (not between single quotes) a
// character stands for itself. A '#' at the start of a word makes the rest of its line a comment. False if a quote
// isn't closed.
bool SplitWords(const std::string& text, std::vector<std::string>& words);
