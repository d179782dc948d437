// Arguments of a command line that stand in files.
#pragma once

#include <string>
#include <vector>

// Puts the words of FILE in the place of each argument "@FILE", also of those that come out of such a file. Words are
// parted by white space; between quotes, '...' or "...", and behind a backslash a character stands for itself. A '#' at
// the start of a word makes the rest of its line a comment. What stands behind "--" is left as it is. False with a
// sentence in `error` if a file can't be read, is in itself, or ends between quotes.
bool ExpandArgumentFiles(std::vector<std::string>& arguments, std::string& error);
