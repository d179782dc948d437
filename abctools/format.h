#pragma once

#include <string>

// printf into a string. Text out of a file goes in as an argument, never as the format.
__attribute__((format(printf, 1, 2))) std::string Format(const char* pFormat, ...);

// The shortest text that reads back to the same float.
std::string FloatText(float value);
