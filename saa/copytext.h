// Texts for a caller's buffer.
#pragma once

#include <string>

// Copies as much of `source` as `size` bytes hold, terminator included. The status to answer with.
int CopyText(const std::string& source, int size, char* text);
