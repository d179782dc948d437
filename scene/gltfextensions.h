// What the extensions of a glTF document mean to a reader of shapes and motion.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// A sentence about each extension that isn't read here and may change nodes, meshes, skins, animations or the data
// behind them, or without which, the document says, it can't be read.
std::vector<std::string> DescribeUnreadExtensions(const nlohmann::json& document);

// The object of one extension; null if `object` doesn't have it.
const nlohmann::json* FindExtension(const nlohmann::json& object, const char* name);
