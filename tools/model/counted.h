// Counts and names in sentences.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// "1 node", "2 nodes", "2 meshes", "2 vertices".
std::string Counted(std::size_t count, const char* thing);

// So many names stand in a sentence.
constexpr std::size_t MAX_LISTED = 8;

// "a, b, c"; of more than `limit` names the first ones and "...".
std::string ListNames(const std::vector<std::string>& names, std::size_t limit = MAX_LISTED);

// "2 nodes (a, b)".
std::string CountedNames(const std::vector<std::string>& names, const char* thing, std::size_t limit = MAX_LISTED);
