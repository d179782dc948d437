// Checks of a caller's arguments, and answers into them. All return the status to answer with.
#pragma once

#include <cstddef>
#include <string>

// For a list of `n` things that the caller has `count` places for at `out` (null only for none).
int CheckList(std::size_t n, int count, const void* out);

// For `count` handles, at most `n`, that the caller hands in, and as many places for answers.
int CheckHandles(std::size_t n, int count, const void* handles, const void* out);

int StoreInt(int value, int* out);
int StoreCount(std::size_t n, int* count);

// Copies as much of `source` as `size` bytes hold, terminator included.
int StoreText(const std::string& source, int size, char* text);
