#pragma once

#include <cstdint>
#include <string>

// printf into a string. Text out of a file goes in as an argument, never as the format.
__attribute__((format(printf, 1, 2))) std::string Format(const char* pFormat, ...);

// "1 vertex", "2 vertices"; without a plural of its own the word gets an s.
std::string Counted(uint64_t n, const char* pOne, const char* pMany = nullptr);

// The shortest text that reads back to the same float.
std::string FloatText(float value);
