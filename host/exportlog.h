// The log that the plug-in writes, read and joined by the host.
#pragma once

#include <string>
#include <vector>

// The texts behind "WARNING:" of the lines that begin with it. Empty if the log can't be read.
std::vector<std::string> ReadLogWarnings(const std::string& path);

// Adds the log of one clip to the joined one, which starts anew with the first; `staged` becomes `target` in it. A log
// that isn't there or can't be written is passed over, as the plug-in does.
void JoinLog(const std::string& part, const std::string& joined, bool first, const std::string& heading,
             const std::string& staged, const std::string& target);
