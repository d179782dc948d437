// The user's folders, after the XDG base directory rules.
#pragma once

#include <string>

// The folder that an environment variable names, else the one below $HOME. A variable that isn't an absolute path is
// ignored. Empty when there is neither.
std::string UserFolder(const char* variable, const char* belowHome);

// Creates a folder and what is missing above it, for the user alone (mode 0700). False when it isn't there afterwards.
bool MakeFolders(const std::string& folder);
