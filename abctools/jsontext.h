// What commands print as JSON.
#pragma once

#include "abctools/displaytext.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

// A list of texts that may hold any bytes.
nlohmann::ordered_json TextList(const std::vector<std::string>& texts);

// A document in the one style of all commands, with a line break at its end.
std::string JsonText(const nlohmann::ordered_json& document);
